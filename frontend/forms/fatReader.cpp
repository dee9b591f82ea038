#include "forms/fatReader.h"

#include "forms/fatDirectory.h"
#include "forms/fatTable.h"
#include "forms/fields.h"
#include "inputs/names.h"
#include "support/beneath.h"
#include "support/failure.h"
#include "support/texts.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace velacreate {
namespace {
constexpr std::size_t LONGEST_PLACE = 1024;  ///< in messages about files that stay
constexpr std::size_t MOST_WAITING = 100000; ///< directories that were found, but not yet read

std::uint64_t offsetIn(const std::vector<ByteRange>& ranges, std::uint64_t offset) {
    auto range = ranges.begin();
    for (; offset >= range->size; ++range) {
        offset -= range->size;
    }
    return range->offset + offset;
}

class FatReader {
public:
    FatReader(const Examination& examination, const Tree& expected, OtherFiles others)
        : m_examination(examination), m_others(others) {
        for (const auto& [place, part] : expected) {
            m_expected.emplace(inCapitals(place), Expected{place, part});
        }
    }

    KeyFindings examine(const FatPlace& place) {
        const auto layout = examineFatBootSector(m_examination, place, m_findings.notes);
        if (!layout) {
            return m_findings;
        }
        FatTable table(m_examination, *layout);
        m_layout = &*layout;
        m_table = &table;
        if (table.read(m_findings.notes)) {
            readDirectories();
            compareFiles();
            reportRest();
            noteTraces();
            const auto end = place.range.offset + place.range.size;
            reportVariation(m_examination, Variation::freeSpace, {layout->end(), end - layout->end()});
        }
        return m_findings;
    }

private:
    struct Expected {
        std::string place;
        const Part& part;
        bool isFound = false;
    };

    struct Directory {
        std::string place; ///< empty for the top
        std::vector<ByteRange> ranges;
        std::uint32_t cluster = 0; ///< 0 for the top, also of FAT 32
        std::uint32_t parent = 0;
        bool isKept = false;
    };

    struct File {
        std::string place;
        const Part& part;
        std::vector<ByteRange> ranges;
    };

    void fault(const std::string& line) { m_examination.differences.addForm(line); }

    void readDirectories() {
        Directory top;
        if (m_layout->isFat32()) {
            const auto chain = m_table->take(FIRST_CLUSTER);
            if (!chain.fault.empty()) {
                fault("the top directory " + chain.fault);
                return;
            }
            top.ranges = chain.ranges;
        } else {
            top.ranges = {{m_layout->rootOffset(), m_layout->rootSize()}};
        }
        readDirectory(top);
        while (!m_directories.empty()) { // by their place on the medium, which is read in order
            const auto next = m_directories.extract(m_directories.begin());
            readDirectory(next.mapped());
        }
    }

    void readDirectory(const Directory& directory) {
        const auto name =
            directory.place.empty() ? "the top directory" : "the directory " + quote(directory.place);
        std::vector<unsigned char> bytes;
        for (const auto& range : directory.ranges) {
            if (range.size > LARGEST_FAT_DIRECTORY - bytes.size()) {
                fault(name + " is too large");
                m_isWhole = false;
                return;
            }
            bytes.resize(bytes.size() + range.size);
            m_examination.medium.read(range.offset, &bytes[bytes.size() - range.size], range.size);
        }
        FatDirectoryReports reports;
        reports.fault = [&](std::size_t entry, const std::string& problem) {
            fault(name + ", entry " + std::to_string(entry) + ": " + problem);
        };
        if (m_examination.variation) {
            reports.variation = [&](Variation variation, std::size_t offset, std::size_t size) {
                reportVariation(m_examination, variation, {offsetIn(directory.ranges, offset), size});
            };
        }
        const bool isTop = directory.place.empty();
        const FatDirectoryForm form = {isTop,
                                       m_layout->hasLabel,
                                       m_layout->isFat32(),
                                       directory.isKept ? OtherFiles::any : m_others,
                                       directory.cluster,
                                       directory.parent};
        const auto entries = readFatDirectory(bytes, form, reports);
        const auto traces = tracesAmong(entries, isTop);
        std::set<std::string> names;
        for (const auto& entry : entries) {
            const bool mayStay =
                directory.isKept || m_others == OtherFiles::any || traces.count(entry.name) != 0;
            useEntry(directory, entry, mayStay, names);
        }
    }

    /// @return the names of what other systems have left in a directory
    std::set<std::string> tracesAmong(const std::vector<FatEntry>& entries, bool isTop) const {
        std::set<std::string> names;
        std::set<std::string> traces;
        if (m_others == OtherFiles::tracesOfSystems) {
            for (const auto& entry : entries) {
                names.insert(entry.name);
            }
        }
        for (const auto& name : names) {
            const auto owner = ownerOfAttributes(name);
            if (isTraceOfSystem(name, isTop) && (owner.empty() || names.count(owner) != 0)) {
                traces.insert(name);
            }
        }
        return traces;
    }

    /// @param mayStay  whether it may be there if it is not expected
    /// @param names    of the directory's entries, long and short ones
    void useEntry(const Directory& directory, const FatEntry& entry, bool mayStay,
                  std::set<std::string>& names) {
        const auto place = pathBelow(directory.place, entry.name);
        const auto name = inCapitals(entry.name);
        const bool isComplete = name.find('?') == std::string::npos; // without letters of a code page
        const bool isNewName = !isComplete || names.insert(name).second;
        const bool isNewShortName = name == entry.shortName || names.insert(entry.shortName).second;
        if (!isNewName || !isNewShortName) {
            m_examination.differences.addTwice(place);
        }
        auto chain = takeChain(place, entry);
        const auto known = directory.isKept ? m_expected.end() : m_expected.find(inCapitals(place));
        if (known == m_expected.end()) {
            useUnexpected(directory, place, entry, mayStay, chain);
            return;
        }
        const auto& part = known->second.part;
        known->second.isFound = true;
        if (entry.isDirectory != part.isDirectory) {
            m_examination.differences.addDiffering(known->second.place, part);
            m_isWhole = m_isWhole && !entry.isDirectory;
        } else if (entry.isDirectory) {
            enterLater(directory, place, entry, chain, false);
        } else if (entry.size != part.size) {
            m_examination.differences.addDiffering(known->second.place, part);
        } else if (chain.fault.empty()) {
            reportSlack(entry, chain);
            m_files.emplace(entry.cluster, File{known->second.place, part, std::move(chain.ranges)});
        }
    }

    void useUnexpected(const Directory& directory, const std::string& place, const FatEntry& entry,
                       bool mayStay, const FatChain& chain) {
        if (!mayStay) {
            m_examination.differences.addUnexpected(place);
            m_isWhole = m_isWhole && !entry.isDirectory;
            return;
        }
        if (m_others == OtherFiles::tracesOfSystems && !directory.isKept) {
            m_traces.push_back(place);
        }
        if (entry.isDirectory) {
            enterLater(directory, place, entry, chain, true);
        } else {
            ++m_findings.kept.files;
            m_findings.kept.bytes += entry.size;
            for (const auto& range : chain.ranges) {
                reportVariation(m_examination, Variation::keptFile, range);
            }
        }
    }

    FatChain takeChain(const std::string& place, const FatEntry& entry) {
        auto chain = m_table->take(entry.cluster);
        const auto clusterSize = m_layout->clusterSize();
        const auto needed = (entry.size + clusterSize - 1) / clusterSize;
        if (chain.fault.empty() && entry.isDirectory && chain.clusters == 0) {
            chain.fault = "has no clusters";
        } else if (chain.fault.empty() && !entry.isDirectory && chain.clusters != needed) {
            chain.fault =
                "has " + std::to_string(chain.clusters) + " clusters, but needs " + std::to_string(needed);
        }
        if (!chain.fault.empty()) {
            fault(quote(place) + " " + chain.fault);
            m_isWhole = false;
        }
        return chain;
    }

    void enterLater(const Directory& directory, const std::string& place, const FatEntry& entry,
                    const FatChain& chain, bool isKept) {
        if (m_directories.size() == MOST_WAITING) {
            fault("there are too many directories");
            m_isWhole = false;
        } else if (chain.fault.empty()) {
            const bool isLong = isKept && place.size() > LONGEST_PLACE;
            m_directories.emplace(entry.cluster, Directory{isLong ? ".../" + entry.name : place, chain.ranges,
                                                           entry.cluster, directory.cluster, isKept});
        }
    }

    void reportSlack(const FatEntry& entry, const FatChain& chain) {
        const auto slack = chain.clusters * m_layout->clusterSize() - entry.size;
        if (slack > 0) {
            const auto& last = chain.ranges.back();
            reportVariation(m_examination, Variation::freeSpace, {last.offset + last.size - slack, slack});
        }
    }

    void compareFiles() {
        for (auto& [cluster, file] : m_files) {
            auto left = file.part.size;
            for (auto& range : file.ranges) {
                range.size = std::min(range.size, left);
                left -= range.size;
            }
            compareContent(m_examination, file.place, file.part, file.ranges);
        }
    }

    /// Nobody should be able to hide something there unnoticed.
    void noteTraces() {
        constexpr std::size_t mostNames = 10;
        if (m_traces.empty()) {
            return;
        }
        std::string names;
        for (std::size_t trace = 0; trace < std::min(m_traces.size(), mostNames); ++trace) {
            names += (trace == 0 ? "" : ", ") + quote(m_traces[trace]);
        }
        if (m_traces.size() > mostNames) {
            names += " and " + std::to_string(m_traces.size() - mostNames) + " more";
        }
        auto& kept = m_findings.kept;
        m_findings.notes.push_back("other systems have left " + names + ": " + counted(kept.files, "file") +
                                   " with " + sizeText(kept.bytes) + ", which were not compared");
        kept = {};
    }

    void reportRest() {
        for (const auto& [name, expected] : m_expected) {
            if (!expected.isFound) {
                m_examination.differences.addMissing(expected.place, expected.part);
            }
        }
        if (m_isWhole) { // else some may belong to what could not be read
            m_table->reportUntaken();
        }
        m_table->forEachFreeRange(
            [&](const ByteRange& range) { reportVariation(m_examination, Variation::freeSpace, range); });
    }

    const Examination& m_examination;
    OtherFiles m_others;
    /// By their places with a to z in capitals. The kernel writes all other letters as they are.
    std::map<std::string, Expected> m_expected;
    const FatLayout* m_layout = nullptr;
    FatTable* m_table = nullptr;
    std::map<std::uint32_t, Directory> m_directories; ///< to be read, by their first clusters
    std::multimap<std::uint32_t, File> m_files;       ///< to be compared, by their first clusters
    bool m_isWhole = true;                            ///< whether all directories were read
    std::vector<std::string> m_traces;                ///< places
    KeyFindings m_findings;
};
} // namespace

KeyFindings examineFat(const Examination& examination, const Tree& expected, const FatPlace& place,
                       OtherFiles others) {
    return FatReader(examination, expected, others).examine(place);
}

} // namespace velacreate
