// A medium of any bytes must be judged quickly and in bounded memory, and must not be called right unless all
// expected content was compared and other readers find the same. A memory file has no errors of reading, so
// any exception is a fault.
#include "readerFuzz.h"

#include "support/failure.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iostream>
#include <string_view>
#include <unordered_set>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

using namespace velacreate;
namespace fs = std::filesystem;

namespace {

void require(bool isTrue, const char* what) {
    if (!isTrue) {
        std::cerr << what << "\n";
        std::abort();
    }
}

/// The files that the seeds were made of, in "expected".
struct Expected {
    Expected() {
        for (const auto& entry : fs::recursive_directory_iterator(path)) {
            const auto place = fs::relative(entry.path(), path).string();
            const auto length = entry.is_directory() ? 0 : entry.file_size();
            tree[place] = {place, length, entry.is_directory()};
            size += length;
        }
    }

    std::string path = fs::absolute("expected").string();
    Tree tree;
    std::uint64_t size = 0;
    Descriptor directory{open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

class Medium {
public:
    Medium(const std::uint8_t* data, std::size_t size) : m_bytes(reinterpret_cast<const char*>(data), size) {
        writeAll(m_file, m_bytes.data(), size, "the medium");
    }

    void examine(const Expected& expected) {
        std::uint64_t compared = 0;
        const Advance advance = [&](std::uint64_t bytes) { compared += bytes; };
        auto invariable = m_bytes;
        const ReportVariation variation = [&](Variation, const ByteRange& range) {
            invariable.replace(range.offset, range.size, range.size, '\0');
        };
        SourceFiles sources(expected.directory.number());
        Differences differences;
        MediumBytes medium(m_file, m_bytes.size());
        const auto start = std::clock(); // of the processor: other programs may be busy
        examineMedium({medium, sources, differences, advance, variation}, expected.tree);
        require(std::clock() - start < CLOCKS_PER_SEC, "the examination took more than a second");
        if (!differences.lines().empty()) {
            return;
        }
        require(compared == expected.size, "called right, but not all content was compared");
        static std::unordered_set<std::size_t> confirmed;
        if (confirmed.insert(std::hash<std::string>()(invariable)).second) {
            const auto command = "chmod -R u+rwX unpacked 2>/dev/null; rm -rf unpacked; " +
                                 unpackingCommand(m_file.path()) +
                                 " && chmod -R u+rwX unpacked && diff -r expected unpacked";
            require(std::system(command.c_str()) == 0, // NOLINT(cert-env33-c): all names are known
                    "called right, but another reader finds a difference");
        }
    }

private:
    std::string m_bytes;
    Descriptor m_file{memfd_create("medium", 0)}; // other readers open it
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Expected EXPECTED;
    Medium(data, size).examine(EXPECTED);
    return 0;
}
