#include "forms/keyReader.h"

#include "forms/foreignMarks.h"

namespace velacreate {

KeyFindings examineKey(const Examination& examination, const Tree& expected, const KeyForm& form) {
    const auto partition = examineKeyRecord(examination, form);
    if (!partition) {
        return {};
    }
    const FatPlace place = {*partition, !form.isImage, form.isImage};
    refuseForeignMarks(examination, partition->offset);
    const auto end = partition->offset + partition->size;
    reportVariation(examination, Variation::freeSpace, {end, examination.medium.size() - end});
    return examineFat(examination, expected, place, form.mayKeepFiles);
}

} // namespace velacreate
