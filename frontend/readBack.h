/// @file
/// The comparison of a medium with what was to be put on it.
#ifndef VELACREATE_READBACK_H
#define VELACREATE_READBACK_H

#include "pathRules.h"
#include "tools.h"

#include <string>
#include <vector>

namespace velacreate {

/// Compares files byte for byte with their copies. A copy lies under the file's path, except that a directory
/// is copied under its last name.
/// @return the files whose copy is missing or different, those within directories one by one
/// @throw Interrupted after an interrupt
std::vector<std::string> differingFiles(const fs::path& directory, const std::vector<std::string>& files,
                                        const fs::path& medium);

/// A read-only mount in a place of its own, undone at the end.
class ReadOnlyMount {
public:
    /// @param options  further mount options, each with a comma in front
    /// @throw std::runtime_error when it cannot be mounted
    ReadOnlyMount(const std::string& source, const std::string& options);
    ~ReadOnlyMount();
    ReadOnlyMount(const ReadOnlyMount&) = delete;
    ReadOnlyMount& operator=(const ReadOnlyMount&) = delete;

    const fs::path& path() const;

private:
    TemporaryDirectory m_place;
};

} // namespace velacreate

#endif
