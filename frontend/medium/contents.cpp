#include "medium/contents.h"

#include "inputs/limits.h"
#include "inputs/names.h"
#include "medium/netbootFiles.h"
#include "support/failure.h"
#include "support/sizes.h"

#include <algorithm>
#include <cstring>

namespace velacreate {

namespace {

constexpr const char* BOOT = "boot/";

enum class Form { file, any };

/// A name at the top level that does not stay, as a file only or with all that is in it.
struct Removal {
    const char* name;
    Form form;
};
using Removals = std::vector<Removal>;

Removals removalsOf(Medium medium) {
    switch (medium) {
    case Medium::image: // the ISO tool writes its own boot.catalog in the place of any
        return {{"pxelinux.cfg", Form::any}, {"pxelinux.0", Form::file}, {"boot.catalog", Form::any}};
    case Medium::powerPcImage:
        return {{"pxelinux.cfg", Form::any}, {"pxelinux.0", Form::file}};
    case Medium::key:
        return {{"pxelinux.cfg", Form::any},
                {"pxelinux.0", Form::file},
                {"boot.catalog", Form::file},
                {"isolinux.bin", Form::file}};
    case Medium::netbootDirectory:
        break;
    }
    return {{"pxelinux.cfg", Form::any},   {"img2a", Form::file},        {"img3a", Form::file},
            {"pxelinux.0", Form::file},    {"isolinux.bin", Form::file}, {"img1a.cfg", Form::file},
            {"ksrootfs", Form::file},      {"bsb1.lss", Form::file},     {"bsb.msg", Form::file},
            {"splash.xpm.gz", Form::file}, {"unicode.pf2", Form::file},  {"efibootimg", Form::file},
            {"boot", Form::file},          {"EFI", Form::file}};
}

/// What becomes of files on their way to one kind of medium.
class Way {
public:
    explicit Way(Medium medium) : m_medium(medium), m_removals(removalsOf(medium)) {}

    /// Whether what stands at a place is removed again, or never gets there.
    bool loses(const Tree& tree, const std::string& place) const {
        const std::string top = topOf(place);
        if (m_medium == Medium::netbootDirectory && top.front() == '.') { // which "*" leaves out
            return true;
        }
        const bool isDirectory = tree.at(top).isDirectory;
        return std::any_of(m_removals.begin(), m_removals.end(), [&](const Removal& removal) {
            return isNamed(top, removal.name) && (removal.form == Form::any || !isDirectory);
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
    /// A key's file system finds a file by its name in capitals, too.
    bool isNamed(const std::string& top, const char* name) const {
        return m_medium == Medium::key ? inCapitals(top) == inCapitals(name) : top == name;
    }

    Medium m_medium;
    Removals m_removals;
};

/// All that "boot/*" names: no names at its top that begin with a dot.
Tree bootTree(const ToolPackage& package) {
    Tree tree;
    for (const auto& [name, entry] : package.entries()) {
        const std::string place = name.substr(name.find('/') + 1);
        if (name.compare(0, std::strlen(BOOT), BOOT) == 0 && place.front() != '.') {
            tree[place] = {name, entry.size, entry.isDirectory};
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
                               ? " begins with a dot, which leaves it out of a package; rename it"
                               : " has the name of a boot file, which keeps it off this medium; rename it"));
        }
    }
}

void requireFat(const Tree& tree) {
    std::vector<std::string> places;
    for (const auto& [place, part] : tree) {
        places.push_back(place);
    }
    requireFatNames(places);
}

/// The boot files that a machine fetches one by one.
void addBesideArchive(Contents& contents, const Tree& boot) {
    for (const char* name : NETBOOT_BOOT_FILES) {
        if (boot.count(name) == 0) {
            contents.missing.emplace_back(name);
        }
    }
    for (const auto& [place, part] : boot) {
        if (std::find(NETBOOT_BOOT_FILES.begin(), NETBOOT_BOOT_FILES.end(), topOf(place)) !=
            NETBOOT_BOOT_FILES.end()) {
            contents.besideArchive.emplace(place, part);
        }
    }
}

} // namespace

std::uint64_t Contents::size() const {
    std::uint64_t total = 0;
    for (const Tree* part : {&tree, &besideArchive}) {
        for (const auto& [place, file] : *part) {
            total = sumOf(total, file.size);
        }
    }
    return total;
}

Contents contentsOf(Medium medium, const ToolPackage& package, const UpdateFiles& updates) {
    const Way way(medium);
    const Tree boot = bootTree(package);
    const Tree chosen = updateTree(updates);
    Contents contents;
    contents.medium = medium;
    contents.tree = boot;
    if (medium == Medium::key) { // where the update files come after the removing
        requireFat(boot);
        way.removeFrom(contents.tree);
        overlay(contents, chosen);
        requireFat(contents.tree);
        return contents;
    }
    requireArrival(way, chosen);
    overlay(contents, chosen);
    way.removeFrom(contents.tree);
    if (medium == Medium::netbootDirectory) {
        addBesideArchive(contents, boot);
    } else if (medium == Medium::image) {
        contents.added = {"boot.catalog"};
    }
    return contents;
}

} // namespace velacreate
