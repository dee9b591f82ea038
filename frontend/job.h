/// @file
/// What the making of an image, a key and a network-boot package have in common.
#ifndef VELACREATE_JOB_H
#define VELACREATE_JOB_H

#include "commands.h"
#include "consoleLogger.h"
#include "pathRules.h"
#include "report.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velacreate {

/// Runs one step of a job.
/// @return what the step returned, EXIT_INTERRUPTED after an interrupt, EXIT_DIFFERENT after an exception
int attempt(ConsoleLogger& logger, const std::function<int()>& step);

/// A job whose inputs have been checked.
class Job {
public:
    /// @param neverArrive  patterns of the names that the workflow leaves out of, or removes from, the
    /// medium's top
    Job(const JobChoices& choices, const std::vector<std::string>& neverArrive);

    /// Refuses an output that the job would take for its own, remove or read as an input.
    void requireSafeOutput(const fs::path& output) const;

    /// To be opened last of all checks: it makes the log file.
    ConsoleLogger openLogger() const;

    /// Says what will be made, and enters the working directory. Nothing is refused from here on.
    Report begin(const std::string& product) const;

    /// Compares all update files with their copies on a medium, and logs each that differs.
    /// @return 0 or EXIT_DIFFERENT
    int compareWith(const fs::path& medium, ConsoleLogger& logger) const;

    /// Removes what the job left in the working directory.
    void cleanUp(VelaCreation::BootableMedia& builder) const;

    const fs::path& directory() const;
    const fs::path& package() const;

    /// The update files, relative to the directory.
    const std::vector<std::string>& files() const;

    bool mayReplace() const;
    bool wantsReadBack() const;

private:
    void checkUpdateFile(const std::string& given, const std::vector<std::string>& neverArrive);
    void checkNamesInTheWay() const;
    void requireSurvival(const fs::path& path) const;

    JobChoices m_choices;
    fs::path m_directory;
    fs::path m_package;
    fs::path m_log;
    std::vector<std::string> m_packageNames; ///< at the package's top level
    std::vector<std::string> m_files;
    std::map<std::string, std::string> m_places; ///< on the medium, and the update file for each
    std::vector<std::string> m_leftovers;        ///< of the package's, beyond what the library removes
};

} // namespace velacreate

#endif
