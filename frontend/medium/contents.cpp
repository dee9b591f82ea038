#include "medium/contents.h"

#include "inputs/limits.h"
#include "inputs/names.h"
#include "support/failure.h"
#include "trust/mediumList.h"

#include <mediaRules.h>

#include <algorithm>

namespace velacreate {
namespace {
/// Which files reach a medium of one kind.
class Way {
public:
    explicit Way(const Kind& kind) : m_kind(kind) {}

    /// Whether a file never reaches the medium, or is removed from it again.
    bool loses(const Tree& tree, const std::string& place) const {
        const std::string top = topOf(place);
        if (!m_kind.besideArchive.empty() && top.front() == '.') { // "*" does not match it
            return true;
        }
        const bool isDirectory = tree.at(top).isDirectory;
        return std::any_of(m_kind.removals.begin(), m_kind.removals.end(), [&](const auto& removal) {
            return isNamed(top, removal.name) && (removal.isRecursive || !isDirectory);
        });
    }

    void removeFrom(Tree& tree) const {
        const Tree before = tree;
        for (const auto& [place, part] : before) {
            if (loses(before, place)) {
                tree.erase(place);
            }
        }
    }

private:
    /// FAT finds a file by its name in any case. The names that are removed are ASCII.
    bool isNamed(const std::string& top, const char* name) const {
        return m_kind.isFat ? inCapitals(top) == inCapitals(name) : top == name;
    }

    const Kind& m_kind;
};

Tree bootTree(const ToolPackage& package) {
    Tree tree;
    for (const auto& [name, entry] : package.entries()) {
        if (isBootFile(name)) {
            tree[name.substr(name.find('/') + 1)] = {name, entry.size, entry.isDirectory};
        }
    }
    return tree;
}

Tree updateTree(const UpdateFiles& updates) {
    Tree tree;
    for (const auto& [place, entry] : updates.entries()) {
        tree[place] = {place, entry.size, entry.isDirectory};
    }
    return tree;
}

const char* kindText(const Part& part) {
    return part.isDirectory ? "directory" : "file";
}

/// Copies the update files over the boot files.
void overlay(Contents& contents, const Tree& updates) {
    for (const auto& [place, part] : updates) {
        const auto [known, isNew] = contents.tree.try_emplace(place, part);
        if (isNew) {
            continue;
        }
        if (known->second.isDirectory != part.isDirectory) {
            throw Refusal(std::string("the update ") + kindText(part) + " " + quote(place) +
                          " stands where the tool package has a " + kindText(known->second));
        }
        if (!part.isDirectory) {
            known->second = part;
            contents.replaced.push_back(place);
        }
    }
}

void requireArrival(const Way& way, const Tree& updates) {
    for (const auto& [place, part] : updates) {
        if (way.loses(updates, place)) {
            const bool isHidden = topOf(place).front() == '.';
            throw Refusal("update file " + quote(place) +
                          (isHidden
                               ? " begins with a dot, which keeps it out of the archive; rename it"
                               : " has the name of a boot file, which keeps it off this medium; rename it"));
        }
    }
}

void requireFreeNames(const Tree& tree) {
    for (const auto& [place, part] : tree) {
        refuseIf(isListName(place), (isBootFile(part.source) ? "boot file " : "update file ") +
                                        quote(part.source) +
                                        " has a name that is kept for the medium's list of sums; rename it");
    }
}

/// GNU and BusyBox read a backslash in such a list in different ways.
void requireListable(const std::string& place) {
    refuseIf(place.find('\\') != std::string::npos,
             quote(place) + " holds a backslash, which a list of sums cannot carry; rename it");
}

void addList(Contents& contents, const WantedList& list) {
    Tree& tree = contents.listed();
    std::uint64_t size = contents.besideArchive.empty() ? 0 : sizeOfLine(VelaCreation::NETBOOT_ARCHIVE);
    for (const auto& [place, part] : tree) {
        if (!part.isDirectory) {
            requireListable(place);
            size += sizeOfLine(place);
        }
    }
    tree[MEDIUM_LIST] = {MEDIUM_LIST, size, false};
    if (list.signatureSize != 0) {
        tree[MEDIUM_SIGNATURE] = {MEDIUM_SIGNATURE, list.signatureSize, false};
    }
}

std::vector<std::string> placesOf(const Tree& tree) {
    std::vector<std::string> places;
    for (const auto& [place, part] : tree) {
        places.push_back(place);
    }
    return places;
}

void addBesideArchive(Contents& contents, const std::vector<const char*>& names, const Tree& boot) {
    for (const char* name : names) {
        if (boot.count(name) == 0) {
            contents.missing.emplace_back(name);
        }
    }
    for (const auto& [place, part] : boot) {
        if (std::find(names.begin(), names.end(), topOf(place)) != names.end()) {
            contents.besideArchive.emplace(place, part);
        }
    }
}
} // namespace

std::uint64_t sizeOf(const Tree& tree) {
    return sizeOfAll(tree);
}

Sums sumsByPlace(const Tree& tree, const Sums& sums) {
    Sums byPlace;
    for (const auto& [place, part] : tree) {
        if (!part.isDirectory && !isListName(place)) {
            byPlace.emplace(place, sums.at(part.source));
        }
    }
    return byPlace;
}

std::uint64_t Contents::size() const {
    return sumOf(sizeOf(tree), sizeOf(besideArchive));
}

bool Contents::haveList() const {
    return listed().count(MEDIUM_LIST) != 0;
}

Contents contentsOf(MediumKind medium, const ToolPackage& package, const UpdateFiles& updates,
                    const WantedList& list) {
    const Kind& kind = kindOf(medium);
    const Way way(kind);
    const Tree boot = bootTree(package);
    const Tree chosen = updateTree(updates);
    requireFreeNames(boot);
    requireFreeNames(chosen);
    Contents contents;
    contents.tree = boot;
    if (kind.isFat) {
        requireFatNames(placesOf(boot));
    }
    if (kind.updatesComeLast) {
        way.removeFrom(contents.tree);
        overlay(contents, chosen);
    } else {
        requireArrival(way, chosen);
        overlay(contents, chosen);
        way.removeFrom(contents.tree);
    }
    addBesideArchive(contents, kind.besideArchive, boot);
    if (list.isWanted) {
        addList(contents, list);
    }
    if (kind.isFat) {
        requireFatNames(placesOf(contents.tree));
    }
    if (kind.isPlainJoliet) {
        requireJolietNames(placesOf(contents.tree));
    }
    return contents;
}

} // namespace velacreate
