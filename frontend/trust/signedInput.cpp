#include "trust/signedInput.h"

#include "inputs/limits.h"
#include "support/failure.h"

#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr const char* ENDING = ".minisig";

/// Some file systems, such as FAT and NFS, have no files without a name. There it has one for a moment.
Descriptor unnamedFileIn(const NamedDirectory& place) {
    Descriptor file(openat(place.number(), ".", O_TMPFILE | O_RDWR | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file.isOpen()) {
        auto path = place.pathOf(".velacreate-XXXXXX");
        file = Descriptor(mkostemp(path.data(), O_CLOEXEC));
        if (file.isOpen()) {
            unlink(path.c_str());
        }
    }
    check(file.isOpen()).orRefuse("no file can be made in " + quote(place.path));
    return file;
}
} // namespace

std::optional<SignatureFile> signatureBeside(const std::string& path) {
    const auto name = path + ENDING;
    const Descriptor file(open(name.c_str(), TO_READ | O_CLOEXEC));
    if (!file.isOpen() && errno == ENOENT) {
        return std::nullopt;
    }
    check(file.isOpen()).orRefuse(quote(name));
    refuseOtherThanFile(file, quote(name));
    SignatureFile signature{std::string(LARGEST_SIGNATURE, '\0'), file.status()};
    const auto size = readAt(file.number(), signature.content.data(), signature.content.size(), 0);
    check(size >= 0).orRefuse(quote(name));
    signature.content.resize(static_cast<std::size_t>(size));
    return signature;
}

GoodSignature requireSigned(const Descriptor& content, const std::optional<SignatureFile>& signature,
                            const std::string& path, const std::string& what, const PublicKeys& keys) {
    refuseIf(!signature, what + " is not signed: there is no " + quote(path + ENDING));
    try {
        return keys.requireGood(content, signature->content);
    } catch (const Untrusted& untrusted) {
        throw Refusal(what + ": " + untrusted.what());
    }
}

Descriptor privateCopyOf(const Descriptor& file, const std::string& what, const NamedDirectory& place) {
    requireSpace(place, sizeOf(file));
    auto copy = unnamedFileIn(place);
    copyContent(file, copy, what, [](std::uint64_t /*bytes*/) {});
    return copy;
}

std::string signedText(const std::string& what, const GoodSignature& signature) {
    return "The key " + quote(signature.key) + " has signed " + what + ": " + signature.comment;
}

} // namespace velacreate
