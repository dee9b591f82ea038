/// @file
/// What is kept and said of keys.
#pragma once

#include "display/summary.h"
#include "keys/keys.h"
#include "keys/report.h"

#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// What became of one key.
struct KeyResult {
    Outcome outcome;
    std::string addition; ///< of its powering down, behind what is said of the key
};

/// Says it: of one key alone in a line, of several in a table.
/// @param results  one for each key
/// @return the exit status: 0 when all went well, else that of the first that did not
int concludeKeys(Console& console, const std::vector<Key>& keys, const std::vector<KeyResult>& results,
                 bool wasReadBack);

/// @param ofSelected  the outcomes of the keys that were selected, in order
/// @return one for each key; the others were refused
std::vector<Outcome> outcomesOfAll(const std::vector<Key>& keys, const std::vector<Outcome>& ofSelected,
                                   JobKind kind);

/// The outcomes of all keys of a call that makes them; the keys must outlive this.
class KeyResults {
public:
    KeyResults(const std::vector<Key>& keys, const UsbChoices& choices, Report& report, Console& console)
        : m_keys(keys), m_choices(choices), m_report(report), m_console(console), m_settled(keys.size()) {}

    /// The sums that go into the record.
    UpdateSums sums;

    /// As soon as a key's job has ended: keeps the record, and powers the key down when the user wants it.
    void settle(std::size_t key, const Outcome& outcome);

    /// Settles what is left, and says it all.
    /// @param ofSelected  as of outcomesOfAll
    /// @return the exit status, as of concludeKeys
    int conclude(const std::vector<Outcome>& ofSelected);

private:
    std::string powerDownText(const Key& key, const Outcome& outcome) const;
    void keepRecord(const Key& key, const Outcome& outcome) const;

    const std::vector<Key>& m_keys;
    const UsbChoices& m_choices;
    Report& m_report;
    Console& m_console;
    std::vector<std::optional<KeyResult>> m_settled;
};

} // namespace velacreate
