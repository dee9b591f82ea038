/// @file
/// What is kept and said of keys.
#ifndef VELACREATE_KEYRESULTS_H
#define VELACREATE_KEYRESULTS_H

#include "commands/keys.h"
#include "commands/report.h"
#include "display/summary.h"

#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// The outcomes of all keys of a call, which must outlive this.
class KeyResults {
public:
    KeyResults(const std::vector<Key>& keys, const UsbChoices& choices, Report& report, Console& console)
        : m_keys(keys), m_choices(choices), m_report(report), m_console(console), m_settled(keys.size()) {}

    /// The sums that go into the record.
    UpdateSums sums;

    /// As soon as a key's job has ended: keeps the record, and powers the key down when the user wants it.
    void settle(std::size_t key, const Outcome& outcome);

    /// Settles what is left, and says it all: of one key alone in a line, of several in a table.
    /// @param ofTaken  the outcomes of those that were begun, or were to be, in order
    /// @return the exit status: 0 when all were made, else that of the first that was not
    int conclude(const std::vector<Outcome>& ofTaken);

private:
    struct Settled {
        Outcome outcome;
        std::string addition; ///< what became of the powering down, behind what is said of the key
    };

    int concludeSeveral() const;
    std::string powerDownText(const Key& key, const Outcome& outcome) const;
    void keepRecord(const Key& key, const Outcome& outcome) const;
    void showFailures(const Key& key, const Outcome& outcome) const;

    const std::vector<Key>& m_keys;
    const UsbChoices& m_choices;
    Report& m_report;
    Console& m_console;
    std::vector<std::optional<Settled>> m_settled;
};

} // namespace velacreate

#endif
