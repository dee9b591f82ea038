#include "network/servedImage.h"

#include "forms/isoMedium.h"
#include "forms/mediumBytes.h"
#include "medium/isoImage.h"
#include "support/failure.h"

#include <utility>

namespace velacreate {

void requireReadable(const struct stat& about, const std::string& what) {
    if ((about.st_mode & S_IROTH) == 0) {
        throw Refusal(what +
                      " cannot be read by everybody, which the server needs; \"chmod a+r\" makes it so");
    }
}

namespace {
/// By its boot record and the entries of its boot catalog (El Torito).
bool hasEfiLoader(MediumBytes& image) {
    constexpr std::uint64_t BOOT_RECORD = offsetOf(17);
    constexpr std::size_t CATALOG_ADDRESS = 71;
    constexpr std::size_t ENTRY = 32;
    constexpr unsigned char EFI = 0xef;
    std::string block(ISO_BLOCK, '\0');
    image.read(BOOT_RECORD, block.data(), block.size());
    const auto catalog = offsetOf(numberIn(block, CATALOG_ADDRESS));
    if (block.compare(1, 5, "CD001") != 0 || block.front() != '\0' || catalog + ISO_BLOCK > image.size()) {
        return false;
    }
    image.read(catalog, block.data(), block.size());
    for (std::size_t at = 0; at < block.size(); at += ENTRY) {
        const auto kind = static_cast<unsigned char>(block[at]);
        const bool namesPlatform = kind == 0x01 || kind == 0x90 || kind == 0x91;
        if (namesPlatform && static_cast<unsigned char>(block[at + 1]) == EFI) {
            return true;
        }
    }
    return false;
}
} // namespace

ServedImage::ServedImage(std::string path)
    : m_path(std::move(path)), m_file(openChosen(m_path, O_RDONLY, S_IFREG)), m_found(m_file.status()) {
    requireWholeIsoImage(m_file, m_path);
    MediumBytes bytes(m_file, size());
    refuseIf(!hasEfiLoader(bytes), text() + " has no EFI loader, and machines that fetch it start from that");
    requireReadable(m_found, text());
}

std::string ServedImage::text() const {
    return "the image " + quote(m_path);
}

void ServedImage::requireUnchanged() const {
    if (const auto what = change(); !what.empty()) {
        throw Failure(what + " before all of it was copied");
    }
}

std::string ServedImage::change() const {
    struct stat now {};
    if (stat(m_path.c_str(), &now) != 0) {
        return "it was moved or removed";
    }
    return !isSameFile(now, m_found) ? "it was replaced" : isUnchanged(m_found, now) ? "" : "it was changed";
}

} // namespace velacreate
