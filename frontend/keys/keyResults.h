/// @file
/// The results of keys.
#pragma once

#include "display/summary.h"
#include "keys/keys.h"
#include "medium/report.h"

#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// What became of one key.
struct KeyResult {
    Outcome outcome;
    std::string addition; ///< about powering down
};

/// Begins the events of a call, and ends those of the keys that are not selected.
void beginEvents(Console& console, const std::vector<Key>& keys);

/// Shows one key in a line; several in a table, and each that failed in a line on standard error.
/// @return the exit status: 0, or that of the first key that failed
int concludeKeys(Console& console, const std::vector<Key>& keys, const std::vector<KeyResult>& results,
                 bool wasReadBack);

/// @param ofSelected the outcomes of the selected keys, in order
/// @return the outcomes of all keys; the others are refused
std::vector<Outcome> outcomesOfAll(const std::vector<Key>& keys, const std::vector<Outcome>& ofSelected,
                                   JobKind kind);

/// Collects the outcomes of keys that are made. The keys must outlive this.
class KeyResults {
public:
    /// @param isEjected  whether a key that was made is powered down
    /// @param isReadBack  whether it is read back
    KeyResults(const ChosenKeys& chosen, bool isEjected, bool isReadBack, Report& report, Console& console)
        : m_keys(chosen.keys), m_leftOut(chosen.leftOut), m_isEjected(isEjected), m_isReadBack(isReadBack),
          m_report(report), m_console(console), m_settled(m_keys.size()) {}

    /// For the report.
    InputSums sums;

    /// To be called when a key's job ends: adds it to the report, and powers it down if wanted.
    void settle(std::size_t key, const Outcome& outcome);

    /// Settles the other keys, adds those that were left out to the report, and shows all results.
    /// @return the exit status, as of concludeKeys
    int conclude(const std::vector<Outcome>& ofSelected);

private:
    std::string powerDownText(const Key& key, const Outcome& outcome) const;
    void keepRecord(const Key& key, const Outcome& outcome) const;

    const std::vector<Key>& m_keys;
    const std::vector<Key>& m_leftOut;
    bool m_isEjected;
    bool m_isReadBack;
    Report& m_report;
    Console& m_console;
    std::vector<std::optional<KeyResult>> m_settled;
};

} // namespace velacreate
