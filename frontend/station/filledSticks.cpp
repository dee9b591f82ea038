#include "station/filledSticks.h"

#include "keys/keysToFill.h"
#include "medium/comparison.h"
#include "support/failure.h"

namespace velacreate {

std::string FilledSticks::announcement() const {
    return m_choices.erase ? "Everything on it is lost, and it becomes a key."
                           : "A key is formatted if need be, and filled; a blank stick becomes a key. Any "
                             "other stick is refused.";
}

std::map<std::string, Gauge> FilledSticks::gauges(const Disk& disk) const {
    return gaugesOf(disk, m_call.inputs.contents.size());
}

bool FilledSticks::isRight(const Key& stick, Reporter& reporter) const {
    const auto disk = openUncached(stick.lock->descriptor());
    return compareToFirstDifference(m_unpacked.directory(), m_call.inputs, {disk, stick.about.size},
                                    reporter) == 0;
}

UsbChoices FilledSticks::choicesFor(const Key& stick) const {
    auto choices = m_choices;
    if (!choices.erase) {
        try {
            requireFillable(stick, choices, m_call.inputs);
        } catch (const Refusal&) {
            if (!isBlank(stick.lock->descriptor())) {
                throw;
            }
            choices.erase = true;
        }
    }
    if (choices.erase) {
        requireErasable(stick, m_call.inputs);
    }
    return choices;
}

int FilledSticks::make(const Key& stick, const Descriptor& jobDirectory, Reporter& reporter) const {
    const auto choices = choicesFor(stick);
    const KeyJobs jobs = {m_call, choices, false};
    return fillKey({jobs, m_staged.directory(), jobDirectory, {stick.lock->descriptor(), stick.disk}},
                   reporter);
}

void FilledSticks::refreshFiles() const {
    m_staged.refresh();
    m_unpacked.refresh();
}

} // namespace velacreate
