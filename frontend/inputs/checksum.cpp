#include "inputs/checksum.h"

#include "support/failure.h"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <vector>

#include <openssl/evp.h>

namespace velacreate {
namespace {
constexpr const char* DIGITS = "0123456789abcdef";
constexpr std::size_t SUM_DIGITS = 64;

void require(bool done) {
    if (!done) {
        throw Failure("a SHA-256 sum cannot be worked out here");
    }
}

class Sha256 {
public:
    Sha256() { require(m_sum && EVP_DigestInit_ex(m_sum.get(), EVP_sha256(), nullptr) == 1); }

    void add(const char* data, std::size_t size) { require(EVP_DigestUpdate(m_sum.get(), data, size) == 1); }

    std::string inHexadecimal() {
        std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
        unsigned size = 0;
        require(EVP_DigestFinal_ex(m_sum.get(), bytes.data(), &size) == 1);
        std::string text;
        for (unsigned i = 0; i < size; ++i) {
            text += DIGITS[bytes.at(i) >> 4U];
            text += DIGITS[bytes.at(i) & 0xfU];
        }
        return text;
    }

private:
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> m_sum{EVP_MD_CTX_new(), EVP_MD_CTX_free};
};

/// @return how many bytes were added: fewer at the end of the file
std::uint64_t addBeginning(Sha256& sum, const Descriptor& file, std::uint64_t size, const Advance& advance) {
    std::vector<char> buffer(BLOCK_SIZE);
    std::uint64_t done = 0;
    while (done < size) {
        const auto wanted = std::min<std::uint64_t>(buffer.size(), size - done);
        const auto count = readAt(file.number(), buffer.data(), wanted, done);
        check(count >= 0).orFail("reading a file for its sum");
        if (count == 0) {
            break;
        }
        sum.add(buffer.data(), static_cast<std::size_t>(count));
        done += static_cast<std::uint64_t>(count);
        advance(static_cast<std::uint64_t>(count));
    }
    return done;
}
} // namespace

std::string sha256Of(const Descriptor& file, const Advance& advance) {
    Sha256 sum;
    addBeginning(sum, file, std::numeric_limits<std::uint64_t>::max(), advance);
    return sum.inHexadecimal();
}

std::string sha256OfBeginning(const Descriptor& file, std::uint64_t size) {
    Sha256 sum;
    if (addBeginning(sum, file, size, [](std::uint64_t /*bytes*/) {}) != size) {
        throw Failure("a file is shorter than before");
    }
    return sum.inHexadecimal();
}

std::string sha256Of(const std::string& text) {
    Sha256 sum;
    sum.add(text.data(), text.size());
    return sum.inHexadecimal();
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
    return sum.find_first_not_of(DIGITS) == std::string::npos && line == checksumLine(sum, name);
}

} // namespace velacreate
