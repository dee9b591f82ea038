#include "disks/stacks.h"

#include "disks/sysfs.h"
#include "support/failure.h"

#include <cerrno>
#include <filesystem>
#include <functional>
#include <memory>

#include <libmount/libmount.h>
#include <sys/sysmacros.h>

namespace velacreate {

namespace fs = std::filesystem;

namespace {
constexpr const char* MOUNTS = "/proc/self/mountinfo";
constexpr const char* SWAPS = "/proc/swaps";

using Names = std::set<std::string>;
using Table = std::unique_ptr<libmnt_table, decltype(&mnt_unref_table)>;

Table readMounts() {
    Table mounts(mnt_new_table_from_file(MOUNTS), mnt_unref_table);
    check(mounts != nullptr).orRefuse(MOUNTS);
    return mounts;
}

/// A kernel without swap space has no such list.
Table readSwaps() {
    Table swaps(mnt_new_table(), mnt_unref_table);
    const int result = swaps ? mnt_table_parse_swaps(swaps.get(), SWAPS) : -ENOMEM;
    if (result != 0 && result != -ENOENT) {
        errno = -result;
        throw Refusal(SystemError().about(SWAPS));
    }
    return swaps;
}

void forEachLine(const Table& table, const std::function<void(libmnt_fs*)>& use) {
    const std::unique_ptr<libmnt_iter, decltype(&mnt_free_iter)> lines(mnt_new_iter(MNT_ITER_FORWARD),
                                                                       mnt_free_iter);
    libmnt_fs* line = nullptr;
    while (mnt_table_next_fs(table.get(), lines.get(), &line) == 0) {
        use(line);
    }
}

std::string textOf(const char* text) {
    return text == nullptr ? "" : text;
}

/// Finds the whole devices below a device, a file or a file system.
class Stack {
public:
    explicit Stack(const Table& mounts) : m_mounts(mounts) {}

    const Names& names() const { return m_names; }

    void addDevice(const fs::path& directory) {
        if (fs::exists(directory / "partition")) {
            addDevice(directory.parent_path());
            return;
        }
        if (!m_names.insert(directory.filename()).second) {
            return;
        }
        for (const auto& slave : entriesOf(directory / "slaves")) {
            addDevice(slave);
        }
        if (const auto file = attribute(directory / "loop/backing_file"); !file.empty()) {
            addFile(file);
        }
    }

    /// Looks the path up among the mounts, because the file may have been deleted.
    void addFile(const std::string& path) {
        if (const auto device = blockDevice(path); device != 0) {
            addDevice(deviceDirectory(device));
        } else if (auto* place = mountAbove(path)) {
            addFileSystem(place);
        }
    }

    void addFileSystem(libmnt_fs* mounted) {
        const auto device = mnt_fs_get_devno(mounted);
        const auto source = textOf(mnt_fs_get_source(mounted));
        if (major(device) != 0) {
            addDevice(deviceDirectory(device));
        } else if (source.rfind('/', 0) == 0 && blockDevice(source) != 0) {
            addMembers(deviceDirectory(blockDevice(source)));
        }
    }

private:
    libmnt_fs* mountAbove(fs::path path) const {
        libmnt_fs* found = nullptr;
        while ((found = mnt_table_find_target(m_mounts.get(), path.c_str(), MNT_ITER_BACKWARD)) == nullptr &&
               path.has_relative_path()) {
            path = path.parent_path();
        }
        return found;
    }

    /// btrfs names only one of its devices as its source.
    void addMembers(const fs::path& member) {
        addDevice(member);
        for (const auto& fileSystem : entriesOf("/sys/fs/btrfs")) {
            if (fs::exists(fileSystem / "devices" / member.filename())) {
                for (const auto& other : entriesOf(fileSystem / "devices")) {
                    addDevice(other);
                }
            }
        }
    }

    const Table& m_mounts;
    Names m_names;
};
} // namespace

std::vector<InUse> mountsInUse() {
    const auto mounts = readMounts();
    std::vector<InUse> all;
    forEachLine(mounts, [&](libmnt_fs* line) {
        Stack stack(mounts);
        stack.addFileSystem(line);
        all.push_back({textOf(mnt_fs_get_target(line)), mnt_fs_get_devno(line), stack.names()});
    });
    return all;
}

std::vector<InUse> swapInUse() {
    const auto mounts = readMounts();
    std::vector<InUse> all;
    forEachLine(readSwaps(), [&](libmnt_fs* line) {
        Stack stack(mounts);
        const auto place = textOf(mnt_fs_get_source(line));
        stack.addFile(place);
        all.push_back({place, 0, stack.names()});
    });
    return all;
}

std::set<std::string> disksBelow(const std::vector<std::string>& paths) {
    const auto mounts = readMounts();
    Stack stack(mounts);
    for (const auto& path : paths) {
        stack.addFile(path);
    }
    return stack.names();
}

} // namespace velacreate
