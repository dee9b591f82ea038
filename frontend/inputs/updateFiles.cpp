#include "inputs/updateFiles.h"

#include "inputs/chosenPaths.h"
#include "inputs/limits.h"
#include "inputs/names.h"
#include "inputs/packageReader.h"
#include "inputs/summing.h"
#include "inputs/toolPackage.h"
#include "support/beneath.h"
#include "support/failure.h"
#include "support/texts.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>

#include <fcntl.h>

namespace velacreate {
namespace {
std::string named(const std::string& source) {
    return "update file " + quote(source);
}

Descriptor openedDirectory(const std::string& path) {
    Descriptor directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    check(directory.isOpen()).orRefuse("the directory " + quote(path));
    return directory;
}

void requireNoControl(const std::string& name, const std::string& source) {
    if (holdsControlCharacter(name)) {
        throw Refusal(named(source) + " has a control character in its name; rename it");
    }
}

void requirePlace(const std::string& place, const std::string& source) {
    const std::string top = topOf(place);
    requireNoControl(place, source);
    if (top.front() == '-') {
        throw Refusal(named(source) + " has a name that programs would take for an option; rename it");
    }
    if (isJobName(top)) {
        throw Refusal(named(source) + " has a name that the job uses itself; rename it");
    }
    if (const std::size_t at = top.find_first_of(UNSAFE_IN_COMMANDS); at != std::string::npos) {
        throw Refusal(named(source) + " holds the character " + top[at] + "; rename it");
    }
}

/// xorriso takes no longer paths, the stack of genisoimage holds no deeper trees, and both hold a directory
/// open at each level.
void requireDepth(const std::string& place) {
    constexpr std::size_t LONGEST_PATH = 4000;
    constexpr std::ptrdiff_t MOST_PARTS = 500;
    if (place.size() > LONGEST_PATH || std::count(place.begin(), place.end(), '/') >= MOST_PARTS) {
        throw Refusal("the update files below " + quote(topOf(place)) +
                      " lie too deep: a path has more than " + std::to_string(MOST_PARTS) + " parts or " +
                      std::to_string(LONGEST_PATH) + " bytes");
    }
}

using Entries = std::map<std::string, UpdateFiles::Entry>;

class Search {
public:
    /// @param where   the directory, for messages
    /// @param refuse  called with each file and directory; refuses it, if need be
    /// @param whole   gets all directories that are copied with their content
    Search(int directory, std::string where, std::function<void(const struct stat&)> refuse, Entries& entries,
           std::vector<struct stat>& whole)
        : m_directory(directory), m_where(std::move(where)), m_refuse(std::move(refuse)), m_tree(directory),
          m_entries(entries), m_whole(whole) {}

    void add(const std::string& chosen) {
        const struct stat found = kindOf(chosen);
        const std::string place = S_ISDIR(found.st_mode) ? partsOf(chosen).back() : chosen;
        requirePlace(place, chosen);
        requireDepth(place);
        addAncestors(place, chosen);
        addEntry(chosen, place, found);
        while (!m_pending.empty()) {
            const auto [source, below] = m_pending.back();
            m_pending.pop_back();
            addContent(source, below);
        }
    }

private:
    struct Pending {
        std::string source;
        std::string place;
    };

    /// @return the status of an entry; links are not followed
    struct stat kindOf(const std::string& source) {
        const Descriptor entry = m_tree.open(source, O_PATH | O_NOFOLLOW);
        if (!entry.isOpen()) {
            refuseClosed(source);
        }
        const struct stat found = entry.status();
        if (S_ISLNK(found.st_mode)) {
            throw Refusal(named(source) + " is a link; name the file itself, or put it there");
        }
        if (!S_ISREG(found.st_mode) && !S_ISDIR(found.st_mode)) {
            throw Refusal(named(source) + " is neither a file nor a directory");
        }
        m_refuse(found);
        return found;
    }

    [[noreturn]] void refuseClosed(const std::string& source) const {
        if (errno == ELOOP) {
            throw Refusal(named(source) + " lies behind a link");
        }
        const bool isMissing = errno == ENOENT || errno == ENOTDIR;
        throw Refusal(SystemError().about(named(source) + (isMissing ? " is not in " + quote(m_where) : "")));
    }

    /// Adds the directories above a chosen file.
    void addAncestors(const std::string& place, const std::string& source) {
        for (const std::string& ancestor : ancestorsOf(place)) {
            const auto known = m_entries.find(ancestor);
            if (known == m_entries.end()) {
                m_entries[ancestor] = {ancestor, 0, true, kindOf(ancestor)};
            } else if (!known->second.isDirectory) {
                throw Refusal(named(known->second.source) + " stands where " + quote(source) +
                              " needs a directory");
            }
        }
    }

    void addEntry(const std::string& source, const std::string& place, const struct stat& found) {
        const bool isDirectory = S_ISDIR(found.st_mode);
        const std::uint64_t size = isDirectory ? 0 : static_cast<std::uint64_t>(found.st_size);
        const auto [known, isNew] =
            m_entries.try_emplace(place, UpdateFiles::Entry{source, size, isDirectory, found});
        if (!isNew) {
            requireTheSame(known->second, source, isDirectory);
        }
        if (isDirectory) {
            m_whole.push_back(found);
            m_pending.push_back({source, place});
        } else if (isNew) {
            requireReadable(source, found);
        }
    }

    static void requireTheSame(const UpdateFiles::Entry& known, const std::string& source, bool isDirectory) {
        if (known.isDirectory != isDirectory || (!isDirectory && known.source != source)) {
            throw Refusal("the update files " + quote(known.source) + " and " + quote(source) +
                          " have one place on the medium");
        }
    }

    void requireReadable(const std::string& source, const struct stat& found) {
        const Descriptor file = m_tree.open(source, TO_READ);
        check(file.isOpen()).orRefuse(named(source) + " cannot be read");
        if (!isUnchanged(found, file.status())) {
            throw Refusal(named(source) + " is being changed");
        }
        if (found.st_size == 0) {
            requireEmpty(file, source);
        }
    }

    /// The kernel gives most files below /proc no size.
    static void requireEmpty(const Descriptor& file, const std::string& source) {
        char first = 0;
        const auto count = readAt(file.number(), &first, 1, 0);
        check(count >= 0).orRefuse(named(source) + " cannot be read");
        refuseIf(count != 0, named(source) + " has content, but no size; copy it to a disk first");
    }

    void addContent(const std::string& source, const std::string& place) {
        const Descriptor directory = openBeneath(m_directory, source, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
        check(directory.isOpen()).orRefuse(named(source) + " cannot be read");
        forEachEntry(directory.number(), [&](const std::string& name) {
            const std::string inner = source + "/" + name;
            requireNoControl(name, inner);
            requireDepth(pathBelow(place, name));
            addEntry(inner, pathBelow(place, name), kindOf(inner));
        });
    }

    int m_directory;
    std::string m_where;
    std::function<void(const struct stat&)> m_refuse;
    Beneath m_tree;
    Entries& m_entries;
    std::vector<struct stat>& m_whole;
    std::vector<Pending> m_pending;
};

/// Names all that are missing at once. A single one is found by the search, which tells the reason.
void requirePresent(int directory, const std::string& where, const std::vector<std::string>& sources) {
    Beneath tree(directory);
    std::vector<std::string> missing;
    for (const std::string& source : sources) {
        if (!tree.open(source, O_PATH | O_NOFOLLOW).isOpen() && (errno == ENOENT || errno == ENOTDIR)) {
            missing.push_back(source);
        }
    }
    refuseIf(missing.size() > 1, std::to_string(missing.size()) + " update files are not in " + quote(where) +
                                     ": " + namesText(missing));
}
} // namespace

UpdateFiles::UpdateFiles(const std::string& directory, const std::vector<std::string>& chosen,
                         const ToolPackage& package)
    : m_directory(openedDirectory(directory)) {
    const ChosenPaths paths(directory, m_directory);
    m_isEverything = paths.areEverything(chosen);
    const auto refusePackage = [&](const struct stat& found) {
        refuseIf(m_isEverything && package.isFile(found),
                 packageText(package.path()) + " is among the update files" + advice());
    };
    Search search(m_directory.number(), directory, refusePackage, m_entries, m_whole);
    if (m_isEverything) {
        m_whole.push_back(m_directory.status());
        forEachEntry(m_directory.number(), [&](const std::string& name) { search.add(name); });
        return;
    }
    std::vector<std::string> sources;
    std::transform(chosen.begin(), chosen.end(), std::back_inserter(sources),
                   [&](const std::string& path) { return paths.below(path); });
    requirePresent(m_directory.number(), directory, sources);
    for (const std::string& source : sources) {
        search.add(source);
    }
}

const char* UpdateFiles::advice() const {
    return m_isEverything ? "; give the update files a directory of their own" : "";
}

std::vector<std::string> UpdateFiles::topLevel() const {
    std::vector<std::string> names;
    for (const auto& [place, entry] : m_entries) {
        if (place.find('/') == std::string::npos) {
            names.push_back(place);
        }
    }
    return names;
}

std::size_t UpdateFiles::fileCount() const {
    const auto isFile = [](const auto& item) { return !item.second.isDirectory; };
    return static_cast<std::size_t>(std::count_if(m_entries.begin(), m_entries.end(), isFile));
}

std::uint64_t UpdateFiles::totalSize() const {
    return sizeOfAll(m_entries);
}

bool UpdateFiles::contain(const struct stat& other) const {
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [&](const auto& item) { return isSameFile(item.second.found, other); });
}

bool UpdateFiles::hold(const struct stat& directory) const {
    return std::any_of(m_whole.begin(), m_whole.end(),
                       [&](const auto& one) { return isSameFile(one, directory); });
}

namespace {
void copyFile(Beneath& from, Beneath& to, const std::string& place, const UpdateFiles::Entry& entry,
              const Advance& advance, Summing* summing) {
    const Descriptor source = from.open(entry.source, TO_READ);
    check(source.isOpen()).orFail(named(entry.source) + " cannot be read any more");
    const auto requireUnchanged = [&] {
        if (!isUnchanged(entry.found, source.status())) {
            throw Failure(named(entry.source) + " was changed after it had been checked");
        }
    };
    requireUnchanged();
    const bool isProgram = (entry.found.st_mode & S_IXUSR) != 0;
    const auto copy =
        std::make_shared<Descriptor>(to.open(place, O_RDWR | O_CREAT | O_EXCL, isProgram ? 0755 : 0644));
    check(copy->isOpen()).orFail("the copy of " + named(entry.source));
    copyContent(source, *copy, entry.source, [&](std::uint64_t bytes) {
        advance(bytes);
        if (summing != nullptr) {
            summing->add(copy, bytes);
        }
    });
    if (summing != nullptr) {
        summing->end(place);
    }
    requireUnchanged();
    const struct timespec times[] = {entry.found.st_mtim, entry.found.st_mtim};
    check(futimens(copy->number(), times) == 0).orFail("the time of " + named(entry.source));
}
} // namespace

void UpdateFiles::copyTo(int directory, const Advance& advance, Sums* sums) const {
    Beneath from(m_directory.number());
    Beneath to(directory);
    std::optional<Summing> summing;
    if (sums != nullptr) {
        summing.emplace();
    }
    for (const auto& [place, entry] : m_entries) {
        if (!entry.isDirectory) {
            copyFile(from, to, place, entry, advance, summing ? &*summing : nullptr);
        } else {
            check(to.makeDirectory(place, 0755)).orFail("the copy of " + named(entry.source));
        }
    }
    if (summing) {
        *sums = summing->sums();
    }
}

} // namespace velacreate
