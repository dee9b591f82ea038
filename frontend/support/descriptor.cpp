#include "support/descriptor.h"

#include "support/failure.h"
#include "support/trustedPath.h"

#include <keepErrno.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <linux/openat2.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr std::size_t KERNEL_CHUNK = 8 << 20; ///< between two reports of progress

bool isSameTime(const timespec& one, const timespec& other) {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};

bool isInterrupted(ssize_t count) {
    return count < 0 && errno == EINTR;
}

/// Whether errno says that the kernel cannot copy between these files.
bool needsBuffer() {
    return errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP || errno == EPERM;
}

struct Copy {
    int from;
    const Descriptor& to;
    const std::string& name;
    const Advance& advance;
    std::uint64_t left;

    void advanceBy(ssize_t count) {
        if (count == 0) {
            throw Failure(quote(name) + " became shorter while it was copied");
        }
        left -= static_cast<std::uint64_t>(count);
        advance(static_cast<std::uint64_t>(count));
    }
};

void copyByBuffer(Copy& copy) {
    std::vector<char> buffer(std::min<std::uint64_t>(copy.left, BUFFER_SIZE));
    while (copy.left > 0) {
        const ssize_t count =
            read(copy.from, buffer.data(), std::min<std::uint64_t>(copy.left, buffer.size()));
        if (isInterrupted(count)) {
            continue;
        }
        if (count < 0) {
            throw Failure(SystemError().about("reading " + quote(copy.name)));
        }
        writeAll(copy.to, buffer.data(), static_cast<std::size_t>(count), copy.name);
        copy.advanceBy(count);
    }
}

/// Returns early when the rest needs a buffer. Both files are then at the position that was reached.
void copyByKernel(Copy& copy) {
    while (copy.left > 0) {
        const ssize_t count = copy_file_range(copy.from, nullptr, copy.to.number(), nullptr,
                                              std::min<std::uint64_t>(copy.left, KERNEL_CHUNK), 0);
        if (isInterrupted(count)) {
            continue;
        }
        if (count < 0 && needsBuffer()) {
            return;
        }
        if (count < 0) {
            throw Failure(SystemError().about("copying " + quote(copy.name)));
        }
        copy.advanceBy(count);
    }
}
} // namespace

Descriptor::Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(m_number, other.m_number);
    return *this;
}

Descriptor::~Descriptor() {
    if (isOpen()) {
        const VelaCreation::KeepErrno errorOfEarlierCall;
        close(m_number);
    }
}

int Descriptor::release() {
    return std::exchange(m_number, -1);
}

struct stat Descriptor::status() const {
    struct stat result {};
    check(fstat(m_number, &result) == 0).orFail("an open file");
    return result;
}

std::string Descriptor::path() const {
    return "/proc/self/fd/" + std::to_string(m_number);
}

namespace {
/// A file may have a lease, which its holder may give up when asked. There is a millisecond between trials.
constexpr int TRIALS = 1000;

Descriptor openResolved(int directory, const std::string& path, int flags, unsigned mode,
                        std::uint64_t resolve) {
    open_how how{};
    how.flags = static_cast<std::uint64_t>(flags) | O_CLOEXEC;
    how.mode = mode;
    how.resolve = resolve;
    for (int trial = 1;; ++trial) {
        const auto number = syscall(SYS_openat2, directory, path.c_str(), &how, sizeof how);
        // The kernel also says EAGAIN when a directory was moved during the look-up.
        if (number >= 0 || (errno != EAGAIN && errno != EINTR) || trial == TRIALS) {
            return Descriptor(static_cast<int>(number));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

constexpr std::uint64_t BENEATH = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
} // namespace

std::string absolutePath(const std::string& path) {
    std::error_code error;
    auto absolute = std::filesystem::canonical(path, error).string();
    if (error) {
        throw Refusal(quote(path) + ": " + error.message());
    }
    return absolute;
}

std::string futurePath(const std::string& path) {
    std::error_code error;
    return std::filesystem::weakly_canonical(std::filesystem::absolute(path, error), error);
}

Descriptor openChosen(const std::string& path, int flags, mode_t type) {
    Descriptor file(open(path.c_str(), flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    check(file.isOpen()).orRefuse(quote(path));
    if ((file.status().st_mode & S_IFMT) != type) {
        throw Refusal(quote(path) + " is not a " + (type == S_IFDIR ? "directory" : "file"));
    }
    return file;
}

void refuseOtherThanFile(const Descriptor& opened, const std::string& what) {
    if (!opened.isOpen() && errno == ELOOP) {
        throw Refusal(what + " is a link");
    }
    if (opened.isOpen() && !S_ISREG(opened.status().st_mode)) {
        throw Refusal(what + " is not a file");
    }
}

Descriptor openBeneath(int directory, const std::string& path, int flags, unsigned mode) {
    return openResolved(directory, path, flags, mode, BENEATH);
}

Descriptor openWithin(int directory, const std::string& path, int flags, unsigned mode) {
    return openResolved(directory, path, flags, mode, BENEATH | RESOLVE_NO_XDEV);
}

namespace {
/// @param creation  O_CREAT or 0
/// @return closed when the file is missing and is not to be made
Descriptor openedToAdd(const std::string& what, const std::string& path, int creation) {
    constexpr mode_t READABLE = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
    const auto directory = openTrustedDirectoryOf(path, what);
    const auto name = std::filesystem::path(path).filename();
    Descriptor file(openat(directory.number(), name.empty() ? "." : name.c_str(),
                           O_WRONLY | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | creation,
                           READABLE));
    if (!file.isOpen() && errno == ENOENT && creation == 0) {
        return file;
    }
    if (!file.isOpen()) {
        throw Refusal(errno == ELOOP   ? what + " is a link"
                      : errno == ENXIO ? what + " is no file" // a FIFO that nobody reads
                                       : SystemError().about(what));
    }
    const mode_t mode = file.status().st_mode;
    if (!S_ISREG(mode) && !S_ISCHR(mode)) {
        throw Refusal(what + " is no file");
    }
    return file;
}
} // namespace

Descriptor openToAdd(const std::string& kind, const std::string& path) {
    return openedToAdd(kind + " " + quote(path), path, O_CREAT);
}

void requireAddable(const std::string& kind, const std::string& path) {
    const std::string what = kind + " " + quote(path);
    if (!openedToAdd(what, path, 0).isOpen()) {
        const auto parent = std::filesystem::absolute(path).parent_path();
        check(faccessat(AT_FDCWD, parent.c_str(), W_OK | X_OK, AT_EACCESS) == 0).orRefuse(what);
    }
}

ssize_t readAt(int file, void* data, std::size_t size, std::uint64_t offset) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count =
            pread(file, static_cast<char*>(data) + done, size - done, static_cast<off_t>(offset + done));
        if (count < 0 && errno != EINTR) {
            return -1;
        }
        if (count == 0) {
            break;
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return static_cast<ssize_t>(done);
}

std::uint64_t sizeOf(const Descriptor& medium) {
    const auto about = medium.status();
    std::uint64_t size = 0;
    if (S_ISBLK(about.st_mode)) {
        check(ioctl(medium.number(), BLKGETSIZE64, &size) == 0).orFail("the size of the medium");
        return size;
    }
    return S_ISREG(about.st_mode) ? static_cast<std::uint64_t>(about.st_size) : 0;
}

Descriptor openUncached(const Descriptor& disk) {
    Descriptor again(open(disk.path().c_str(), O_RDONLY | O_DIRECT | O_CLOEXEC));
    check(again.isOpen()).orFail("the disk cannot be opened again");
    return again;
}

bool writeText(const Descriptor& to, const std::string& text) {
    const auto count = write(to.number(), text.data(), text.size());
    if (count >= 0 && count != static_cast<ssize_t>(text.size())) {
        errno = ENOSPC;
    }
    return count == static_cast<ssize_t>(text.size());
}

void writeAll(const Descriptor& to, const char* data, std::size_t size, const std::string& name) {
    while (size > 0) {
        const ssize_t count = write(to.number(), data, size);
        if (isInterrupted(count)) {
            continue;
        }
        if (count < 0) {
            throw Failure(SystemError().about("writing " + quote(name)));
        }
        data += count;
        size -= static_cast<std::size_t>(count);
    }
}

bool isSameFile(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool isUnchanged(const struct stat& found, const struct stat& now) {
    return isSameFile(found, now) && found.st_mode == now.st_mode && found.st_size == now.st_size &&
           isSameTime(found.st_mtim, now.st_mtim) && isSameTime(found.st_ctim, now.st_ctim);
}

void forEachEntry(int directory, const std::function<void(const std::string& name)>& use) {
    Descriptor again = openBeneath(directory, ".", O_RDONLY | O_DIRECTORY);
    const std::unique_ptr<DIR, DirectoryCloser> entries(again.isOpen() ? fdopendir(again.number()) : nullptr);
    check(entries != nullptr).orFail("reading a directory");
    again.release();
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(entries.get());
        if (entry == nullptr) {
            break;
        }
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            use(std::string(name));
        }
    }
    check(errno == 0).orFail("reading a directory");
}

void copyContent(const Descriptor& from, const Descriptor& to, const std::string& name,
                 const Advance& advance) {
    Copy copy{from.number(), to, name, advance, static_cast<std::uint64_t>(from.status().st_size)};
    if (ioctl(to.number(), FICLONE, from.number()) == 0) {
        advance(copy.left);
        return;
    }
    copyByKernel(copy);
    copyByBuffer(copy);
}

} // namespace velacreate
