/// @file
/// The programs that velacreate itself needs, run without a shell, and its scratch directories.
#ifndef VELACREATE_TOOLS_H
#define VELACREATE_TOOLS_H

#include "pathRules.h"

#include <initializer_list>
#include <string>
#include <vector>

namespace velacreate {

struct ToolResult {
    int status;         ///< its exit status; 127 when it could not be started
    std::string output; ///< what it wrote to standard output; its standard error is dropped
};

ToolResult runTool(const std::vector<std::string>& command);

/// Refuses to go on without root's rights.
void requireRoot();

/// Refuses to go on when one of the programs is not on the search path.
void requireTools(std::initializer_list<const char*> names);

/// The folder of the launchers "xorriso" and "cdrecord", and whether it is velacreate's own: what another
/// one's launchers run is up to them.
struct Toolkit {
    fs::path folder;
    bool isOwn;
};

/// @return the folder that VELACREATE_TOOLKIT names, else the one that belongs to this executable
Toolkit findToolkit();

/// A new directory, removed with everything in it at the end.
class TemporaryDirectory {
public:
    explicit TemporaryDirectory(const fs::path& parent);
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const fs::path& path() const;

private:
    fs::path m_path;
};

} // namespace velacreate

#endif
