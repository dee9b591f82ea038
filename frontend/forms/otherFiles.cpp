#include "forms/otherFiles.h"

#include "forms/fields.h"
#include "inputs/names.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <sstream>

namespace velacreate {
namespace {
constexpr std::array NAMES = {
    "SYSTEM VOLUME INFORMATION", // Windows
    "FOUND.000",                 // Windows, after chkdsk
    ".TRASHES",                  // macOS
    ".FSEVENTSD",                // macOS
    ".SPOTLIGHT-V100",           // macOS
};
constexpr const char* TRASH_OF_USER = ".TRASH-"; ///< Linux; the user's number follows
constexpr const char* ATTRIBUTES_OF = "._";      ///< macOS; the name of a file or directory beside it follows

bool beginsWith(const std::string& name, const std::string& beginning) {
    return name.size() > beginning.size() && name.compare(0, beginning.size(), beginning) == 0;
}
} // namespace

bool isTraceOfSystem(const std::string& name, bool isTop) {
    const auto capitals = inCapitals(name);
    const bool isKnown = std::find(NAMES.begin(), NAMES.end(), capitals) != NAMES.end();
    return (isTop && (isKnown || beginsWith(capitals, TRASH_OF_USER))) || !ownerOfAttributes(name).empty();
}

std::string ownerOfAttributes(const std::string& name) {
    return beginsWith(name, ATTRIBUTES_OF) ? name.substr(std::string(ATTRIBUTES_OF).size()) : "";
}

std::string noteOfDiskSignature(MediumBytes& key) {
    std::array<unsigned char, DISK_SIGNATURE_SIZE> signature{};
    key.read(DISK_SIGNATURE_FIELD, signature.data(), signature.size());
    const auto number = littleEndian(signature.data(), signature.size());
    std::ostringstream note;
    note << "the disk signature is not compared; it is 0x" << std::hex << std::setfill('0') << std::setw(8)
         << number;
    return number == 0 ? "" : note.str();
}

} // namespace velacreate
