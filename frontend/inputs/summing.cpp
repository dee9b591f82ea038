#include "inputs/summing.h"

#include "support/failure.h"

#include <utility>
#include <vector>

#include <sys/mman.h>

namespace velacreate {
namespace {
constexpr std::size_t MOST_PIECES = 64;       // each may hold a file open
constexpr std::uint64_t ALIGNMENT = 64 << 10; // a multiple of any page

/// A part of a file in memory. Without a copy of it, the sum takes four fifths of the time. Some file systems
/// map no files.
class Mapping {
public:
    Mapping(const Descriptor& file, std::uint64_t offset, std::uint64_t size)
        : m_size(size), m_mapped(mmap(nullptr, size, PROT_READ, MAP_SHARED | MAP_POPULATE, file.number(),
                                      static_cast<off_t>(offset))) {
        if (m_mapped == MAP_FAILED) {
            m_copy.resize(size);
            check(readAt(file.number(), m_copy.data(), size, offset) == static_cast<ssize_t>(size))
                .orFail("reading a file for its sum");
        }
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    ~Mapping() {
        if (m_mapped != MAP_FAILED) {
            munmap(m_mapped, m_size);
        }
    }

    const char* bytes() const {
        return m_mapped != MAP_FAILED ? static_cast<const char*>(m_mapped) : m_copy.data();
    }

private:
    std::uint64_t m_size;
    void* m_mapped;
    std::vector<char> m_copy;
};
} // namespace

Summing::Summing() : m_thread([this] { work(); }) {}

Summing::~Summing() {
    join();
}

void Summing::add(const std::shared_ptr<Descriptor>& file, std::uint64_t size) {
    if (size != 0) {
        put({file, size, ""});
    }
}

void Summing::end(const std::string& place) {
    put({nullptr, 0, place});
}

Sums Summing::sums() {
    join();
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
    return std::move(m_sums);
}

void Summing::put(Piece piece) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [&] { return m_pieces.size() < MOST_PIECES; });
    m_pieces.push_back(std::move(piece));
    m_changed.notify_all();
}

Summing::Piece Summing::take() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [&] { return !m_pieces.empty(); });
    auto piece = std::move(m_pieces.front());
    m_pieces.pop_front();
    m_changed.notify_all();
    return piece;
}

/// The last piece is nothing.
void Summing::join() {
    if (m_thread.joinable()) {
        put({});
        m_thread.join();
    }
}

void Summing::work() {
    for (auto piece = take(); piece.file || !piece.place.empty(); piece = take()) {
        try {
            sumUp(piece);
        } catch (...) {
            m_failure = std::current_exception();
        }
    }
}

void Summing::sumUp(const Piece& piece) {
    if (!piece.file) {
        m_sums.emplace(piece.place, m_sum.digits());
        m_sum = Sha256();
        m_offset = 0;
        return;
    }
    const auto start = m_offset / ALIGNMENT * ALIGNMENT;
    const auto before = m_offset - start;
    const Mapping mapping(*piece.file, start, before + piece.size);
    m_sum.add(mapping.bytes() + before, piece.size);
    m_offset += piece.size;
}

} // namespace velacreate
