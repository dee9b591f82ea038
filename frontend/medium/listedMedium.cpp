#include "medium/listedMedium.h"

#include "forms/foundFiles.h"
#include "inputs/limits.h"
#include "inputs/names.h"
#include "job/confinement.h"
#include "medium/reporting.h"
#include "support/beneath.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/texts.h"
#include "trust/description.h"

#include <mediaRules.h>

#include <algorithm>
#include <cerrno>
#include <map>

#include <sys/mman.h>

namespace velacreate {
namespace {
constexpr std::uint64_t LARGEST_LIST = 32 << 20;     // of some 300000 files
constexpr std::uint64_t MOST_DIRECTORIES = 64 << 20; ///< bytes of all their paths
constexpr std::size_t LONGEST_DIRECTORY = 4096;

bool isDirectory(const ReadMedium& medium) {
    return S_ISDIR(medium.file.status().st_mode);
}

/// Visits what a medium claims to hold.
void visitMedium(const Kind& kind, const ReadMedium& medium, Differences& differences,
                 const VisitFound& visit) {
    if (isDirectory(medium)) {
        visitTree(medium.file.number(), [&](const Descriptor& parent, const std::string& path,
                                            const std::string& name) {
            struct stat about {};
            const bool isThere = fstatat(parent.number(), name.c_str(), &about, AT_SYMLINK_NOFOLLOW) == 0;
            if (!isThere || (!S_ISDIR(about.st_mode) && !S_ISREG(about.st_mode))) {
                return false; // the comparison tells
            }
            const bool isInner = S_ISDIR(about.st_mode);
            const auto size = isInner ? 0 : static_cast<std::uint64_t>(about.st_size);
            return visit({pathBelow(path, name), isInner, size, {}}) && isInner;
        });
        return;
    }
    MediumBytes bytes(medium.file, medium.size);
    SourceSums sums;
    const Advance nothingIsCompared = [](std::uint64_t /*bytes*/) {};
    const ReportVariation noReport;
    const Examination examination = {bytes, sums, differences, nothingIsCompared, noReport};
    if (!kind.isFat) {
        visitIso(examination, visit);
        return;
    }
    KeyFileSystem files(examination, fileSystemIn(medium.file));
    if (files.isSound()) {
        files.visit(visit);
    }
}

/// Copies a file out of a medium.
void copyOut(const ReadMedium& medium, const FoundFile& file, const Descriptor& to) {
    if (isDirectory(medium)) {
        const auto what = quote(file.place);
        const auto opened = openBeneath(medium.file.number(), file.place, TO_READ);
        refuseOtherThanFile(opened, what);
        check(opened.isOpen()).orFail(what);
        copyContent(opened, to, file.place, [](std::uint64_t /*bytes*/) {});
        return;
    }
    MediumBytes content(medium.file, medium.size);
    auto left = file.size;
    for (const auto& range : file.ranges) {
        for (std::uint64_t done = 0; done < range.size && left > 0;) {
            const auto bytes = content.view(range.offset + done, std::min(range.size - done, left));
            prolong();
            writeAll(to, reinterpret_cast<const char*>(bytes.data), bytes.size, file.place);
            done += bytes.size;
            left -= bytes.size;
        }
    }
}

/// A file in memory, which a confined process can write.
class Copy {
public:
    Copy() : m_file(memfd_create("copy", MFD_CLOEXEC)) {
        check(m_file.isOpen()).orFail("a file for the list of sums");
    }

    const Descriptor& file() const { return m_file; }

    std::string text() const {
        std::string text(sizeOf(m_file), '\0');
        check(readAt(m_file.number(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()))
            .orFail("reading the list of sums");
        return text;
    }

private:
    Descriptor m_file;
};

struct ListCopies {
    Copy list;
    Copy signature;
};

/// In a confined process: copies the list and its signature, which are at the top of the medium.
void copyListFiles(const Kind& kind, const ReadMedium& medium, bool isSigned, const ListCopies& copies) {
    bool hasList = false;
    bool hasSignature = false;
    Differences differences;
    visitMedium(kind, medium, differences, [&](const FoundFile& found) {
        const auto copy = [&](const char* what, std::uint64_t most, const Copy& to) {
            if (found.size > most) {
                throw Untrusted(what + (" has " + sizeText(found.size)) + ", and at most " + sizeText(most) +
                                " are read");
            }
            copyOut(medium, found, to.file());
            return true;
        };
        if (!found.isDirectory && found.place == MEDIUM_LIST) {
            hasList = copy("its list of sums", LARGEST_LIST, copies.list);
        } else if (!found.isDirectory && found.place == MEDIUM_SIGNATURE) {
            hasSignature = copy("its signature", LARGEST_SIGNATURE, copies.signature);
        }
        return false;
    });
    if (!hasList) {
        const auto reason = differences.count() == 0 ? "" : ": " + differences.lines().front();
        throw Untrusted("it has no list of sums, " + quote(MEDIUM_LIST) + reason);
    }
    if (isSigned && !hasSignature) {
        throw Untrusted("its list of sums is not signed: there is no " + quote(MEDIUM_SIGNATURE));
    }
}

/// Shows who has signed a medium, and as what.
/// @return the sums of the boot code; empty for a comment that was written by hand, and for a medium that is
/// no key
/// @throw Untrusted when it was signed as another kind of medium
std::vector<std::string> signedBootCodes(const GoodSignature& signature, const Kind& kind,
                                         const Reporter& reporter) {
    const auto description = descriptionIn(signature.comment);
    const auto key = "signed with " + quote(signature.key);
    if (!description) {
        reporter.note(key + ", with the comment " + quote(signature.comment));
        return {};
    }
    const auto& [word, made, package, bootCodes, title] = *description;
    reporter.note(key + " as " + (title.empty() ? "" : quote(title) + ", ") + printable(word) + ", made at " +
                  universalTimeText(made));
    reporter.note("made from the tool package with the sum " + printable(package));
    if (word != kind.word) {
        throw Untrusted("it was signed as another kind of medium, " + quote(word));
    }
    return bootCodes;
}

/// Adds what a list does not tell, as it is found on the medium: the sizes of files, and directories without
/// files.
void complete(Tree& tree, const Kind& kind, const ReadMedium& medium) {
    const auto nameOf = [&](const std::string& place) { return kind.isFat ? inCapitals(place) : place; };
    std::map<std::string, Part*> known;
    for (auto& [place, part] : tree) {
        known.emplace(nameOf(place), &part);
    }
    Differences found; // the reader finds them again
    visitMedium(kind, medium, found, [&](const FoundFile& file) {
        prolong();
        if (file.place.empty()) {
            return true;
        }
        const auto listed = known.find(nameOf(file.place));
        if (listed != known.end()) {
            listed->second->size = file.size;
            return listed->second->isDirectory;
        }
        const auto slash = file.place.rfind('/');
        const bool isTop = slash == std::string::npos;
        if (!file.isDirectory || (medium.others == OtherFiles::tracesOfSystems &&
                                  isTraceOfSystem(file.place.substr(isTop ? 0 : slash + 1), isTop))) {
            return false;
        }
        tree.emplace(file.place, Part{"", 0, true});
        return file.place.size() < LONGEST_DIRECTORY;
    });
}
} // namespace

Tree treeOf(const Sums& sums, const ListFiles& files, const Kind& kind) {
    const auto part = [](const std::string& sum) { return Part{"", 0, false, sum}; };
    Tree tree;
    std::uint64_t sizeOfDirectories = 0;
    std::vector<std::string> places;
    for (const auto& [place, sum] : sums) {
        tree.emplace(place, part(sum));
        for (const auto& directory : ancestorsOf(place)) {
            const bool isNew = tree.emplace(directory, Part{"", 0, true}).second;
            sizeOfDirectories += isNew ? directory.size() : 0;
        }
        if (sizeOfDirectories > MOST_DIRECTORIES) {
            throw Untrusted("its list of sums names too many directories");
        }
    }
    if (tree.empty()) {
        throw Untrusted("its list of sums is empty");
    }
    tree.emplace(MEDIUM_LIST, part(sha256Of(files.list)));
    if (!files.signature.empty()) {
        tree.emplace(MEDIUM_SIGNATURE, part(sha256Of(files.signature)));
    }
    for (const auto& [place, any] : tree) {
        places.push_back(place);
    }
    try {
        if (kind.isFat) {
            requireFatNames(places);
        }
    } catch (const Refusal& refusal) {
        throw Untrusted(std::string("its list of sums is not that of a key: ") + refusal.what());
    }
    return tree;
}

Contents withListAsOn(const ReadMedium& medium, const Kind& kind, Contents contents,
                      const Descriptor& jobDirectory, Reporter& reporter) {
    const ListCopies found;
    const auto copy = [&] {
        try {
            copyListFiles(kind, medium, false, found);
        } catch (const Untrusted&) { // no list that can be read is no list
        }
        return 0;
    };
    if ((isDirectory(medium) ? copy() : runConfined(jobDirectory, copy, reporter)) != 0 ||
        found.list.text().empty()) {
        return contents;
    }
    auto& tree = contents.listed();
    reporter.stage("Summing up the files", sizeOf(tree));
    Sums sums;
    const auto add = [&](const std::string& place, int directory, const std::string& path) {
        const auto file = openBeneath(directory, path, TO_READ);
        if (file.isOpen() && S_ISREG(file.status().st_mode)) { // else the comparison tells
            sums[place] = sha256Of(file, [&](std::uint64_t bytes) { reporter.advance(bytes); });
        }
    };
    for (const auto& [place, part] : tree) {
        if (!part.isDirectory) {
            add(place, jobDirectory.number(), part.source);
        }
    }
    if (isDirectory(medium)) {
        add(VelaCreation::NETBOOT_ARCHIVE, medium.file.number(), VelaCreation::NETBOOT_ARCHIVE);
    }
    const auto list = mediumListOf(sums);
    tree[MEDIUM_LIST] = {"", list.size(), false, sha256Of(list)};
    if (const auto signature = found.signature.text(); !signature.empty()) {
        tree[MEDIUM_SIGNATURE] = {"", signature.size(), false, sha256Of(signature)};
        reporter.note("the list of sums on it is signed, which was not checked; verify --trust does that");
    }
    return contents;
}

int compareWithList(const Kind& kind, const ReadMedium& medium, const std::optional<PublicKeys>& trusted,
                    const Descriptor& visible, Reporter& reporter) {
    const auto run = [&](const std::function<int()>& work) {
        return isDirectory(medium) ? work() : runConfined(visible, work, reporter);
    };
    reporter.stage("Reading the list of sums");
    const ListCopies copies;
    const int status = run([&] {
        copyListFiles(kind, medium, trusted.has_value(), copies);
        return 0;
    });
    if (status != 0) {
        return status;
    }
    const ListFiles files = {copies.list.text(), copies.signature.text()};
    KeyHead head;
    if (trusted) {
        const auto signature = trusted->requireGood(copies.list.file(), files.signature);
        head.bootCodes = signedBootCodes(signature, kind, reporter);
        if (kind.isFat && head.bootCodes.empty()) { // the boot code could be anybody's
            throw Untrusted("its signature has no sum of a key's boot code");
        }
    } else if (kind.isFat) {
        reporter.addition(BOOT_CODE_NOT_COMPARED);
    }
    Contents contents;
    contents.tree = treeOf(sumsIn(files.list), files, kind);
    SourceSums sources;
    const Comparison comparison = {sources, head, contents, medium, advanceIn(reporter)};
    return run([&] {
        complete(contents.tree, kind, medium);
        reporter.stage(STAGE_READING_BACK, sizeOf(contents.tree));
        Findings findings;
        if (isDirectory(medium)) {
            compareDirectory(comparison, contents.tree, {}, findings.differences);
        } else {
            kind.compare(comparison, findings)(findings);
        }
        return reportAll(findings, JobKind::checking, reporter);
    });
}

} // namespace velacreate
