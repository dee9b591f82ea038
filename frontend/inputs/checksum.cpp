#include "inputs/checksum.h"

#include "support/failure.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include <openssl/evp.h>

namespace velacreate {
namespace {
constexpr const char* DIGITS = "0123456789abcdef";

void require(bool done) {
    if (!done) {
        throw Failure("a SHA-256 sum cannot be worked out here");
    }
}

std::string hexadecimal(const unsigned char* bytes, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        text += DIGITS[bytes[i] >> 4U];
        text += DIGITS[bytes[i] & 0xfU];
    }
    return text;
}
} // namespace

Sha256::Sha256() : m_context(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
    require(m_context && EVP_DigestInit_ex(m_context.get(), EVP_sha256(), nullptr) == 1);
}

void Sha256::add(const void* data, std::size_t size) {
    require(EVP_DigestUpdate(m_context.get(), data, size) == 1);
}

std::string Sha256::digits() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned size = 0;
    require(EVP_DigestFinal_ex(m_context.get(), bytes.data(), &size) == 1);
    return hexadecimal(bytes.data(), size);
}

std::string sha256Of(const Descriptor& file, const Advance& advance) {
    return sha256Of(file, 0, std::numeric_limits<std::uint64_t>::max(), advance);
}

std::string sha256Of(const Descriptor& file, std::uint64_t offset, std::uint64_t size,
                     const Advance& advance) {
    Sha256 sum;
    std::vector<char> buffer(BUFFER_SIZE);
    while (size > 0) {
        const auto count =
            readAt(file.number(), buffer.data(), std::min<std::uint64_t>(size, buffer.size()), offset);
        check(count >= 0).orFail("reading a file for its sum");
        if (count == 0) {
            break;
        }
        const auto done = static_cast<std::size_t>(count);
        sum.add(buffer.data(), done);
        offset += done;
        size -= done;
        advance(done);
    }
    return sum.digits();
}

std::string sha256Of(const std::string& text) {
    Sha256 sum;
    sum.add(text.data(), text.size());
    return sum.digits();
}

bool isSum(const std::string& text) {
    return text.size() == SUM_DIGITS && text.find_first_not_of(DIGITS) == std::string::npos;
}

std::string checksumLine(const std::string& sum, const std::string& name) {
    std::string escaped;
    for (const char character : name) {
        switch (character) {
        case '\\':
            escaped += "\\\\";
            break;
        case '\n':
            escaped += "\\n";
            break;
        case '\r':
            escaped += "\\r";
            break;
        default:
            escaped += character;
        }
    }
    return (escaped == name ? "" : "\\") + sum + "  " + escaped + "\n";
}

bool isChecksumOf(const Descriptor& file, const std::string& name) {
    const std::string sample(SUM_DIGITS, '0');
    const auto expected = checksumLine(sample, name);
    std::string line(expected.size() + 1, ' '); // one more, to see a longer file
    const auto size = readAt(file.number(), line.data(), line.size(), 0);
    if (size != static_cast<ssize_t>(expected.size())) {
        return false;
    }
    line.pop_back();
    const auto start = expected.find(sample);
    const auto sum = line.substr(start, SUM_DIGITS);
    return isSum(sum) && line == checksumLine(sum, name);
}

} // namespace velacreate
