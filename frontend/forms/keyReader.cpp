#include "forms/keyReader.h"

#include "forms/fatDefaults.h"
#include "forms/fields.h"
#include "forms/foreignMarks.h"

namespace velacreate {

KeyFindings examineKey(const Examination& examination, const Tree& expected, const KeyForm& form) {
    const auto partition = examineKeyRecord(examination, form);
    if (!partition) {
        return {};
    }
    const FatPlace place = {*partition, !form.isImage, form.isImage};
    refuseForeignMarks(examination, *partition, partition->offset + SECTOR_SIZE);
    const auto end = partition->offset + partition->size;
    reportVariation(examination, Variation::freeSpace, {end, examination.medium.size() - end});
    auto findings = examineFat(examination, expected, place, form.others);
    if (form.others == OtherFiles::tracesOfSystems) {
        if (const auto note = noteOfDiskSignature(examination.medium); !note.empty()) {
            findings.notes.push_back(note);
        }
    }
    return findings;
}

void refuseLeftovers(const Examination& examination, const ByteRange& partition) {
    const auto layout = defaultFatLayout(partition.size / SECTOR_SIZE, partition.size);
    refuseForeignMarks(examination, partition, partition.offset + layout.dataOffset());
}

} // namespace velacreate
