/// @file
/// Open files, and safe ways to open files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include <sys/stat.h>

namespace velacreate {

/// Called with the bytes that have been done.
using Advance = std::function<void(std::uint64_t bytes)>;

/// The size of buffers. Two of them fit into a processor's cache.
constexpr std::size_t BLOCK_SIZE = 128 << 10;

/// Owns an open file descriptor, or none.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();

    int number() const { return m_number; }
    bool isOpen() const { return m_number >= 0; }
    /// Gives the number away; the caller closes it.
    int release();
    /// @throw Failure
    struct stat status() const;

    /// A path to the open file, for calls that take only a path.
    std::string path() const;

private:
    int m_number;
};

/// An open directory, and its path for messages.
struct NamedDirectory {
    std::string path;
    Descriptor directory;

    int number() const { return directory.number(); }
};

/// @return the absolute path of an existing file
/// @throw Refusal
std::string absolutePath(const std::string& path);

/// Opens what is below a directory. A path that leads out of it or over a link is not opened. O_CLOEXEC is
/// added.
/// @return closed, with errno set, when it cannot be opened
Descriptor openBeneath(int directory, const std::string& path, int flags, unsigned mode = 0);

/// The same, but what is mounted below the directory is not opened either.
Descriptor openWithin(int directory, const std::string& path, int flags, unsigned mode = 0);

/// Opens a file to add to its end, and makes it when it is missing. Only files and devices are opened, over
/// no link.
/// @param kind  for the message, such as "the log file"
/// @throw Refusal
Descriptor openToAdd(const std::string& kind, const std::string& path);

/// As pread(), but repeats until all is read. Fewer bytes are the end of the file.
ssize_t readAt(int file, void* data, std::size_t size, std::uint64_t offset);

/// Writes all bytes.
/// @param name  of the file, for the message
/// @throw Failure
void writeAll(const Descriptor& to, const char* data, std::size_t size, const std::string& name);

/// Whether both are the same file, by device and number.
bool isSameFile(const struct stat& one, const struct stat& other);

/// Whether a file is the one that was found before, and has not been written to or changed otherwise since.
bool isUnchanged(const struct stat& found, const struct stat& now);

/// Calls a function with the name of each entry of a directory but "." and "..", in no order. The descriptor
/// itself is not read from.
/// @throw Failure
void forEachEntry(int directory, const std::function<void(const std::string& name)>& use);

/// Copies a file's content into a new file, both just opened; cloned where the file system can, and no more
/// than it has at the start, also when the file grows meanwhile. Tells of the bytes as they come.
/// @throw Failure, with the name in its text
void copyContent(const Descriptor& from, const Descriptor& to, const std::string& name,
                 const Advance& advance);

} // namespace velacreate
