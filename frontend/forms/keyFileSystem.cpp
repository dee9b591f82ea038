#include "forms/fatBootSector.h"
#include "forms/fatDirectory.h"
#include "forms/foundFiles.h"
#include "support/beneath.h"

#include <deque>
#include <utility>

namespace velacreate {
namespace {
FatLayout layoutAt(const Examination& key, std::optional<ByteRange> place, std::vector<std::string>& notes) {
    if (!place) {
        key.differences.addForm("there is no fourth partition");
        return {};
    }
    return examineFatBootSector(key, {*place, false, true}, notes).value_or(FatLayout());
}
} // namespace

KeyFileSystem::KeyFileSystem(const Examination& key, std::optional<ByteRange> place)
    : m_key(key), m_layout(layoutAt(key, place, m_notes)), m_table(key, m_layout),
      m_isSound(m_layout.clusters != 0 && m_table.read(m_notes)) {}

void KeyFileSystem::visit(const VisitFound& visit) {
    std::deque<Directory> directories;
    const auto enterLater = [&](Directory directory) { directories.push_back(std::move(directory)); };
    enterLater({"", m_layout.isFat32()
                        ? m_table.take(FIRST_CLUSTER).ranges
                        : std::vector<ByteRange>{{m_layout.rootOffset(), m_layout.rootSize()}}});
    visit({"", true, 0, directories.front().ranges});
    while (!directories.empty()) {
        visitEntries(directories.front(), visit, enterLater);
        directories.pop_front();
    }
}

void KeyFileSystem::visitEntries(const Directory& directory, const VisitFound& visit,
                                 const std::function<void(Directory)>& enterLater) {
    std::vector<unsigned char> bytes;
    for (const auto& range : directory.ranges) {
        if (range.size > LARGEST_FAT_DIRECTORY - bytes.size()) {
            return;
        }
        bytes.resize(bytes.size() + range.size);
        m_key.medium.read(range.offset, &bytes[bytes.size() - range.size], range.size);
    }
    if (bytes.empty()) {
        return;
    }
    const FatDirectoryReports nobody = {[](std::size_t /*entry*/, const std::string& /*problem*/) {}, {}};
    FatDirectoryForm form;
    form.isTop = directory.place.empty();
    form.hasLabel = m_layout.hasLabel;
    form.isFat32 = m_layout.isFat32();
    form.others = OtherFiles::any;
    for (const auto& entry : readFatDirectory(bytes, form, nobody)) {
        const auto ranges = m_table.take(entry.cluster).ranges;
        const auto place = pathBelow(directory.place, entry.name);
        if (visit({place, entry.isDirectory, entry.size, ranges}) && entry.isDirectory) {
            enterLater({place, ranges});
        }
    }
}

} // namespace velacreate
