#include "job.h"

#include "exitStatus.h"
#include "interrupt.h"
#include "readBack.h"
#include "tools.h"

#include <algorithm>
#include <fnmatch.h>
#include <iostream>
#include <set>
#include <sstream>
#include <unistd.h>

namespace velacreate {

using VelaCreation::BootableMedia;

namespace {

/// What every job may make, overwrite or remove in its working directory.
std::vector<std::string> libraryNames() {
    return {BootableMedia::BOOT_FILE,
            BootableMedia::ISO_DIR_NAME,
            BootableMedia::MINIUNZ_TOOL_NAME,
            BootableMedia::IMAGE_1,
            BootableMedia::IMAGE_2,
            BootableMedia::IMAGE_4,
            BootableMedia::IMAGE_8,
            BootableMedia::TEMP_FILE,
            BootableMedia::MKISOFS_TOOL_NAME,
            BootableMedia::CDRECORD_NAME,
            BootableMedia::CYGWINZ_DLL_NAME,
            BootableMedia::CYGWIN1_DLL_NAME,
            BootableMedia::CYGICONV_DLL_NAME,
            BootableMedia::CYGGCC_DLL_NAME,
            BootableMedia::CLONE_TOOL_NAME,
            BootableMedia::ZIP_TOOL_NAME,
            "stdout.txt"};
}

bool contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::vector<std::string> topLevelNames(const fs::path& package) {
    const auto listing = runTool({"unzip", "-Z1", package});
    constexpr int READ_WITH_WARNINGS = 1;
    if (listing.status > READ_WITH_WARNINGS) {
        throw Refusal(shown(package) + " is not a readable zip archive");
    }
    std::set<std::string> names;
    std::istringstream entries(listing.output);
    for (std::string entry; std::getline(entries, entry);) {
        names.insert(*fs::path(entry).relative_path().lexically_normal().begin());
    }
    names.erase(".");
    return {names.begin(), names.end()};
}

void requireCopyable(const fs::path& path) {
    const auto status = fs::symlink_status(path);
    if (!fs::is_regular_file(status) && !fs::is_directory(status)) {
        throw Refusal("update file " + shown(path) + " is neither a file nor a directory");
    }
    if (access(path.c_str(), R_OK) != 0) {
        throw Refusal("update file " + shown(path) + " cannot be read");
    }
    if (fs::is_directory(status)) {
        for (const auto& entry : fs::directory_iterator(path)) {
            requireCopyable(entry);
        }
    }
}

} // namespace

int attempt(ConsoleLogger& logger, const std::function<int()>& step) {
    int status = EXIT_INTERRUPTED;
    try {
        status = step();
    } catch (const Interrupted&) {
        // Told apart below, where an interrupt without a message after it is noticed, too.
    } catch (const std::exception& failure) {
        status = EXIT_DIFFERENT;
        logger.stopAtMessages(false);
        logger.logMessage(0, failure.what());
    }
    logger.stopAtMessages(false);
    return isInterrupted() ? EXIT_INTERRUPTED : status;
}

Job::Job(const JobChoices& choices, const std::vector<std::string>& neverArrive)
    : m_choices(choices), m_directory(existing(choices.directory)), m_package(existing(choices.package)) {
    if (!fs::is_directory(m_directory)) {
        throw Refusal(shown(m_directory) + " is not a directory");
    }
    if (m_directory == m_directory.root_path()) {
        throw Refusal("a job in '/' would remove /boot");
    }
    if (!fs::is_regular_file(m_package)) {
        throw Refusal("the tool package " + shown(m_package) + " is not a file");
    }
    requireWord(m_package);
    m_packageNames = topLevelNames(m_package);

    for (const auto& entry : fs::directory_iterator(m_directory)) {
        if (entry.path().filename().string().front() == '-') {
            throw Refusal(shown(entry.path()) + " has a name that programs would take for an option");
        }
    }
    for (const auto& file : choices.files) {
        checkUpdateFile(file, neverArrive);
    }
    checkNamesInTheWay();
    for (const auto& name : m_packageNames) {
        if (isWord(name) && !isTaken(m_directory / name)) {
            m_leftovers.push_back(name);
        }
    }
    requireSurvival(m_package);
    if (!choices.log.empty()) {
        const auto log = inExistingDirectory(choices.log);
        requireSafeOutput(log);
        m_log = log;
    }
}

void Job::checkUpdateFile(const std::string& given, const std::vector<std::string>& neverArrive) {
    const fs::path asGiven(given);
    auto file = asGiven.lexically_normal();
    if (!file.has_filename()) {
        file = file.parent_path();
    }
    if (file.empty() || file == "." || file.is_absolute() ||
        std::find(asGiven.begin(), asGiven.end(), "..") != asGiven.end()) {
        throw Refusal("update file " + shown(given) + " is not named by its path below " +
                      shown(m_directory));
    }
    const auto path = m_directory / file;
    if (!isTaken(path)) {
        throw Refusal("update file " + shown(given) + " does not exist in " + shown(m_directory));
    }
    requireCopyable(path);
    const bool isDirectory = fs::is_directory(path);
    requireQuotable(file);
    if (!isDirectory) {
        requireWord(file.parent_path());
    }
    if (contains(libraryNames(), *file.begin())) {
        throw Refusal("update file " + shown(given) + " has a name that the job uses itself");
    }
    if (fs::equivalent(path, m_package)) {
        throw Refusal("update file " + shown(given) + " is the tool package");
    }

    const auto place = isDirectory ? file.filename() : file;
    if (place.string().front() == '-') {
        throw Refusal("update file " + shown(given) + " has a name that programs would take for an option");
    }
    const auto isOfTopName = [&](const std::string& pattern) {
        return fnmatch(pattern.c_str(), place.begin()->c_str(), 0) == 0;
    };
    if (std::any_of(neverArrive.begin(), neverArrive.end(), isOfTopName)) {
        throw Refusal("update file " + shown(given) + " has a name that is kept off this medium");
    }
    const auto [known, isNew] = m_places.try_emplace(place, file);
    if (!isNew && known->second != file) {
        throw Refusal("update files " + shown(known->second) + " and " + shown(given) +
                      " have one place on the medium");
    }
    if (isNew) {
        m_files.push_back(file);
    }
}

void Job::checkNamesInTheWay() const {
    if (m_choices.force) {
        return;
    }
    std::set<std::string> inTheWay;
    for (const auto& names : {libraryNames(), m_packageNames}) {
        for (const auto& name : names) {
            if (isTaken(m_directory / name)) {
                inTheWay.insert(shown(name));
            }
        }
    }
    if (inTheWay.empty()) {
        return;
    }
    std::string list;
    for (const auto& name : inTheWay) {
        list += (list.empty() ? "" : ", ") + name;
    }
    throw Refusal("the job would overwrite or remove " + list + " in " + shown(m_directory) +
                  " (--force lets it)");
}

void Job::requireSurvival(const fs::path& path) const {
    for (const auto& names : {libraryNames(), m_packageNames}) {
        for (const auto& name : names) {
            if (isWithin(path, m_directory / name)) {
                throw Refusal(shown(path) + " would lie among the job's own files");
            }
        }
    }
}

void Job::requireSafeOutput(const fs::path& output) const {
    requireSurvival(output);
    if (output == m_package) {
        throw Refusal(shown(output) + " is the tool package");
    }
    for (const auto& file : m_files) {
        if (isWithin(output, fs::canonical(m_directory / file))) {
            throw Refusal(shown(output) + " is, or lies in, the update file " + shown(file));
        }
    }
    if (isWithin(m_log, output)) {
        throw Refusal(shown(output) + " is, or holds, the log file");
    }
}

ConsoleLogger Job::openLogger() const {
    return {m_choices.verbose, m_log};
}

Report Job::begin(const std::string& product) const {
    fs::current_path(m_directory);
    watchForInterrupt();
    std::cout << "Making " << product << " from " << m_package.string() << " and " << m_files.size()
              << (m_files.size() == 1 ? " update file" : " update files") << std::endl;
    return {};
}

int Job::compareWith(const fs::path& medium, ConsoleLogger& logger) const {
    const auto differences = differingFiles(m_directory, m_files, medium);
    for (const auto& file : differences) {
        logger.logMessage(0, "Update file " + file + " differs on the medium");
    }
    return differences.empty() ? 0 : EXIT_DIFFERENT;
}

void Job::cleanUp(BootableMedia& builder) const {
    if (!m_choices.keep) {
        builder.removeTempFilesAndDirs(m_leftovers);
    }
}

const fs::path& Job::directory() const {
    return m_directory;
}

const fs::path& Job::package() const {
    return m_package;
}

const std::vector<std::string>& Job::files() const {
    return m_files;
}

bool Job::mayReplace() const {
    return m_choices.force;
}

bool Job::wantsReadBack() const {
    return m_choices.verify;
}

} // namespace velacreate
