/// @file
/// Open files, and safe ways to open files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

namespace velacreate {

/// Called with the number of bytes that were processed since the last call.
using Advance = std::function<void(std::uint64_t bytes)>;

/// Called with bytes, in order.
using UseBytes = std::function<void(const void* data, std::size_t size)>;

/// The size of buffers. Two of them fit into a processor core's cache.
constexpr std::size_t BUFFER_SIZE = 128 << 10;

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
    std::string pathOf(const std::string& entry) const { return (path == "/" ? "" : path) + "/" + entry; }
};

/// @return the absolute path of an existing file
/// @throw Refusal
std::string absolutePath(const std::string& path);

/// @return the same for a file that may not exist yet
std::string futurePath(const std::string& path);

/// Opens a file or directory that the user has named. Does not wait for a FIFO's writer.
/// @param type  S_IFREG or S_IFDIR
/// @throw Refusal when it cannot be opened, or is of another type
Descriptor openChosen(const std::string& path, int flags, mode_t type);

/// For files that may have been replaced by others. Does not wait for a FIFO's writer.
constexpr int TO_READ = O_RDONLY | O_NONBLOCK | O_NOCTTY;

/// To be called with a file that was just opened from a directory that others may change.
/// @param what  for the message; built before the file was opened, since errno is read
/// @throw Refusal when the path is no file, or led to a link; not when it could not be opened otherwise
void refuseOtherThanFile(const Descriptor& opened, const std::string& what);

/// Opens a path below a directory, but none that leads out of it or through a link. Adds O_CLOEXEC.
/// @return closed, with errno set, when it cannot be opened
Descriptor openBeneath(int directory, const std::string& path, int flags, unsigned mode = 0);

/// The same, but does not cross mount points either.
Descriptor openWithin(int directory, const std::string& path, int flags, unsigned mode = 0);

/// Opens a regular file or a character device for appending, and creates a missing file. Follows no link at
/// the end of the path, nor one on the way that others could have put there.
/// @param kind  for the message, such as "the log file"
/// @throw Refusal when it cannot be opened, is such a link, or is anything else
Descriptor openToAdd(const std::string& kind, const std::string& path);

/// Refuses what openToAdd() would refuse. Makes no file.
/// @throw Refusal
void requireAddable(const std::string& kind, const std::string& path);

/// Like pread(), but repeats until all bytes are read. Fewer bytes mean the end of the file.
ssize_t readAt(int file, void* data, std::size_t size, std::uint64_t offset);

/// @return the size of an open file or disk; 0 for anything else
/// @throw Failure
std::uint64_t sizeOf(const Descriptor& medium);

/// Opens a disk again, to read it past the cache.
/// @throw Failure
Descriptor openUncached(const Descriptor& disk);

/// Writes a text with one call, so that no other writer's text comes in between.
/// @return false, with errno set, when not all of it could be written
bool writeText(const Descriptor& to, const std::string& text);

/// Writes all bytes.
/// @param name  of the file, for the message
/// @throw Failure
void writeAll(const Descriptor& to, const char* data, std::size_t size, const std::string& name);

/// Whether both are the same file, by device and number.
bool isSameFile(const struct stat& one, const struct stat& other);

/// Whether a file is the same as before and has not been changed since.
bool isUnchanged(const struct stat& found, const struct stat& now);

/// Calls a function with each entry's name except "." and "..", in any order. Keeps the descriptor's offset.
/// @throw Failure
void forEachEntry(int directory, const std::function<void(const std::string& name)>& use);

/// Copies a file's content into a new file, both just opened. Clones it if the file system can. Copies no
/// more than the file's size at the start, even if the file grows meanwhile.
/// @throw Failure, with the name in its text
void copyContent(const Descriptor& from, const Descriptor& to, const std::string& name,
                 const Advance& advance);

} // namespace velacreate
