#include "readBack.h"

#include "interrupt.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/mount.h>

namespace velacreate {

namespace {

bool haveSameBytes(const fs::path& one, const fs::path& other) {
    std::error_code error;
    if (!fs::is_regular_file(other, error) || fs::file_size(one) != fs::file_size(other)) {
        return false;
    }
    std::ifstream first(one, std::ios::binary);
    std::ifstream second(other, std::ios::binary);
    constexpr std::size_t BLOCK = 1U << 20U;
    std::string a(BLOCK, '\0');
    std::string b(BLOCK, '\0');
    for (auto left = fs::file_size(one); left > 0;) {
        if (isInterrupted()) {
            throw Interrupted();
        }
        const auto count = std::min<std::uintmax_t>(left, BLOCK);
        if (!first.read(a.data(), static_cast<std::streamsize>(count)) ||
            !second.read(b.data(), static_cast<std::streamsize>(count)) ||
            !std::equal(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(count), b.begin())) {
            return false;
        }
        left -= count;
    }
    return true;
}

} // namespace

std::vector<std::string> differingFiles(const fs::path& directory, const std::vector<std::string>& files,
                                        const fs::path& medium) {
    std::vector<std::string> differing;
    const auto compare = [&](const fs::path& file, const fs::path& copy) {
        if (!haveSameBytes(directory / file, medium / copy)) {
            differing.push_back(file);
        }
    };
    for (const auto& file : files) {
        const auto path = directory / file;
        if (!fs::is_directory(path)) {
            compare(file, file);
            continue;
        }
        for (const auto& entry : fs::recursive_directory_iterator(path)) {
            const auto below = entry.path().lexically_relative(path);
            if (entry.is_regular_file()) {
                compare(file / below, fs::path(file).filename() / below);
            }
        }
    }
    return differing;
}

ReadOnlyMount::ReadOnlyMount(const std::string& source, const std::string& options)
    : m_place(fs::temp_directory_path()) {
    if (runTool({"mount", "-o", "ro" + options, source, m_place.path()}).status != 0) {
        throw std::runtime_error(source + " cannot be mounted to be read back");
    }
}

ReadOnlyMount::~ReadOnlyMount() {
    umount2(m_place.path().c_str(), MNT_DETACH);
}

const fs::path& ReadOnlyMount::path() const {
    return m_place.path();
}

} // namespace velacreate
