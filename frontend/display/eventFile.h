/// @file
/// The file that events are appended to.
#pragma once

#include "support/descriptor.h"

#include <string>

namespace velacreate {

constexpr std::size_t LONGEST_EVENT = 4096; ///< with its line feed; a pipe takes it whole or not at all

/// A file, a device, a FIFO, or what the caller has opened as the descriptor of a path such as "/dev/fd/3".
/// Writing to it never waits.
class EventFile {
public:
    /// Makes no file yet.
    /// @throw Refusal as openToAdd(), and for a descriptor that cannot be written to
    explicit EventFile(std::string path);

    /// Appends a line. If the file was moved away, a new one is made.
    /// @return false when nothing was written
    bool write(const std::string& line);

private:
    bool isReady();
    bool leadsToFile() const;
    std::size_t put(const std::string& text) const;
    bool takeBack(std::size_t size) const;

    std::string m_path;
    Descriptor m_file;
    bool m_isCallers = false; ///< a descriptor of the caller
    mode_t m_type = 0;
    std::string m_rest; ///< of a line that a terminal or a socket has not yet taken
};

} // namespace velacreate
