#include "inputs/checksum.h"

#include "support/failure.h"

#include <array>
#include <memory>
#include <vector>

#include <openssl/evp.h>
namespace velacreate {
namespace {
void require(bool done) {
    if (!done) {
        throw Failure("a SHA-256 sum cannot be worked out here");
    }
}

std::string hexadecimal(const unsigned char* bytes, std::size_t size) {
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        text += digits[bytes[i] >> 4U];
        text += digits[bytes[i] & 0xfU];
    }
    return text;
}
} // namespace

std::string sha256Of(const Descriptor& file, const Advance& advance) {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> sum(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    require(sum && EVP_DigestInit_ex(sum.get(), EVP_sha256(), nullptr) == 1);
    std::vector<char> buffer(BLOCK_SIZE);
    std::uint64_t offset = 0;
    for (;;) {
        const auto count = readAt(file.number(), buffer.data(), buffer.size(), offset);
        check(count >= 0).orFail("reading a file for its sum");
        if (count == 0) {
            break;
        }
        const auto size = static_cast<std::size_t>(count);
        require(EVP_DigestUpdate(sum.get(), buffer.data(), size) == 1);
        offset += size;
        advance(size);
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned size = 0;
    require(EVP_DigestFinal_ex(sum.get(), bytes.data(), &size) == 1);
    return hexadecimal(bytes.data(), size);
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

} // namespace velacreate
