#include "inputs/names.h"

#include "support/utf8.h"

#include <mediaRules.h>

#include <algorithm>

namespace velacreate {

using VelaCreation::BootableMedia;

bool isJobName(const std::string& name) {
    static const auto WORKING_NAMES = VelaCreation::workingNames();
    return name == PACKAGE_NAME || name == LIBRARY_FOLDER ||
           std::find(WORKING_NAMES.begin(), WORKING_NAMES.end(), name) != WORKING_NAMES.end();
}

bool isCloneImage(const std::string& name) {
    static const auto IMAGES = VelaCreation::cloneImages();
    return std::any_of(IMAGES.begin(), IMAGES.end(), [&](const auto& image) { return image.name == name; });
}

bool isBootFile(const std::string& name) {
    const auto parts = partsOf(name);
    return parts.size() > 1 && parts[0] == BootableMedia::BOOT_FILE && parts[1].front() != '.';
}

std::vector<std::string> partsOf(const std::string& path) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t slash = path.find('/'); slash != std::string::npos; slash = path.find('/', start)) {
        parts.push_back(path.substr(start, slash - start));
        start = slash + 1;
    }
    parts.push_back(path.substr(start));
    return parts;
}

std::string topOf(const std::string& path) {
    return path.substr(0, path.find('/'));
}

std::vector<std::string> ancestorsOf(const std::string& path) {
    std::vector<std::string> ancestors;
    for (std::size_t slash = path.find('/'); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        ancestors.push_back(path.substr(0, slash));
    }
    return ancestors;
}

std::string inCapitals(std::string text) {
    for (char& letter : text) {
        if (letter >= 'a' && letter <= 'z') {
            letter = static_cast<char>(letter - 'a' + 'A');
        }
    }
    return text;
}

bool holdsControlCharacter(const std::string& text) {
    if (const auto characters = decoded(text)) {
        return std::any_of(characters->begin(), characters->end(), isControl);
    }
    return std::any_of(text.begin(), text.end(),
                       [](unsigned char byte) { return byte < 0x80 && isControl(byte); });
}

} // namespace velacreate
