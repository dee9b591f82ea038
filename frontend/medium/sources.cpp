#include "medium/sources.h"

#include "support/failure.h"

#include <algorithm>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

void SourceFiles::enter(const Part& part) {
    m_hasSum = !part.sum.empty();
    if (m_hasSum) {
        m_sums.enter(part);
        return;
    }
    m_name = part.source;
    m_file = m_workplace.open(part.source, TO_READ);
    if (!m_file.isOpen()) {
        throw Failure(SystemError().about("the source " + quote(m_name)));
    }
    const struct stat found = m_file.status();
    if (!S_ISREG(found.st_mode) || static_cast<std::uint64_t>(found.st_size) != part.size) {
        throw Failure("the source " + quote(m_name) + " is no longer what it was");
    }
}

bool SourceFiles::hold(std::uint64_t offset, const void* data, std::size_t size) {
    if (m_hasSum) {
        return m_sums.hold(offset, data, size);
    }
    m_buffer.resize(BUFFER_SIZE);
    for (std::size_t done = 0; done < size;) {
        const std::size_t wanted = std::min(size - done, BUFFER_SIZE);
        const ssize_t count = readAt(m_file.number(), m_buffer.data(), wanted, offset + done);
        if (count < 0) {
            throw Failure(SystemError().about("reading the source " + quote(m_name)));
        }
        if (static_cast<std::size_t>(count) < wanted ||
            std::memcmp(m_buffer.data(), static_cast<const char*>(data) + done, wanted) != 0) {
            return false;
        }
        done += wanted;
    }
    return true;
}

bool SourceFiles::isRight() {
    return !m_hasSum || m_sums.isRight(); // of a file, all bytes were
}

void SourceSums::enter(const Part& part) {
    m_sum = Sha256();
    m_expected = part.sum;
}

bool SourceSums::hold(std::uint64_t /*offset*/, const void* data, std::size_t size) {
    m_sum.add(data, size);
    return true;
}

bool SourceSums::isRight() {
    return m_sum.digits() == m_expected;
}

} // namespace velacreate
