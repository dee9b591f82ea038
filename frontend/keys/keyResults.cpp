#include "keys/keyResults.h"

#include "disks/inventory.h"
#include "disks/powerDown.h"
#include "medium/identity.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/texts.h"

#include <map>

#include <nlohmann/json.hpp>

namespace velacreate {
namespace {
/// "11 keys made, 1 failed"
std::string countsText(const std::map<std::string, std::size_t>& counts) {
    std::string text;
    for (const char* word : RESULT_WORDS) {
        const auto found = counts.find(word);
        if (found != counts.end()) {
            text += (text.empty() ? counted(found->second, "key") : ", " + std::to_string(found->second)) +
                    " " + word;
        }
    }
    return text;
}

Outcome refused(const Key& key) {
    return {EXIT_REFUSED, key.ineligibility, {}, false, 0};
}

/// Short enough for a table; the reason of a failure has a line of its own.
std::string cellText(const KeyResult& result) {
    auto outcome = result.outcome;
    outcome.addition.clear();
    return outcome.status == 0 || outcome.status == EXIT_INTERRUPTED
               ? resultText(outcome, false) + result.addition
               : resultWord(outcome) + " (" + std::to_string(exitStatus(outcome.status).status) + ")";
}

std::string tableText(const std::vector<Key>& keys, const std::vector<KeyResult>& results) {
    auto table = tableOfKeys({"Result"});
    for (std::size_t index = 0; index < keys.size(); ++index) {
        table.add(cellsOf(keys[index], {cellText(results[index])}));
    }
    return table.text(SERIAL_NUMBER);
}

int concludeSeveral(Console& console, const std::vector<Key>& keys, const std::vector<KeyResult>& results,
                    bool wasReadBack) {
    std::map<std::string, std::size_t> counts;
    int status = 0;
    for (std::size_t index = 0; index < keys.size(); ++index) {
        const auto& outcome = results[index].outcome;
        const auto node = keys[index].disk.node();
        const auto name = node + ": ";
        console.events().endMedium(node, resultForPrograms(outcome)); // unless it has ended already
        showFailures(console, outcome, name);
        if (outcome.status != 0) {
            console.complain(name + failureSentences(outcome));
        }
        ++counts[resultWord(outcome)];
        status = status == 0 ? exitStatus(outcome.status).status : status;
    }
    console.sayLines(tableText(keys, results));
    if (counts.count(RESULT_MADE) != 0) {
        console.say(wasReadBack ? "What was made was read back, and may be pulled out."
                                : "What was made may be pulled out.");
    }
    console.say(countsText(counts));
    return status;
}
} // namespace

void beginEvents(Console& console, const std::vector<Key>& keys) {
    std::vector<MediumIdentity> identities;
    identities.reserve(keys.size());
    for (const auto& key : keys) {
        identities.push_back(identityOf(key.disk.node(), key.disk.node(), key.about));
    }
    console.events().begin(identities);
    for (const auto& key : keys) {
        if (!isSelected(key)) {
            console.events().endMedium(key.disk.node(), resultForPrograms(refused(key)));
        }
    }
}

int concludeKeys(Console& console, const std::vector<Key>& keys, const std::vector<KeyResult>& results,
                 bool wasReadBack) {
    if (keys.size() > 1) {
        return concludeSeveral(console, keys, results, wasReadBack);
    }
    const auto& [outcome, addition] = results.front();
    return conclude(console, outcome, mediaText(keys),
                    sizeText(keys.front().about.size) + readBackText(wasReadBack) + addition);
}

std::vector<Outcome> outcomesOfAll(const std::vector<Key>& keys, const std::vector<Outcome>& ofSelected,
                                   JobKind kind) {
    std::vector<Outcome> outcomes;
    auto next = ofSelected.begin();
    for (const auto& key : keys) {
        outcomes.push_back(isSelected(key) ? *next++ : refused(key));
        outcomes.back().kind = kind;
    }
    return outcomes;
}

void KeyResults::settle(std::size_t key, const Outcome& outcome) {
    const auto result = inOwnWords(outcome);
    keepRecord(m_keys[key], result);
    m_settled[key] = KeyResult{result, powerDownText(m_keys[key], result)};
    m_console.events().endMedium(m_keys[key].disk.node(), resultForPrograms(result));
}

int KeyResults::conclude(const std::vector<Outcome>& ofSelected) {
    const auto outcomes = outcomesOfAll(m_keys, ofSelected, JobKind::making);
    std::vector<KeyResult> results;
    for (std::size_t key = 0; key < m_keys.size(); ++key) {
        if (!m_settled[key]) {
            settle(key, outcomes[key]);
        }
        results.push_back(*m_settled[key]);
    }
    for (const auto& key : m_leftOut) {
        keepRecord(key, refused(key));
    }
    return concludeKeys(m_console, m_keys, results, m_isReadBack);
}

std::string KeyResults::powerDownText(const Key& key, const Outcome& outcome) const {
    if (!m_isEjected || outcome.status != 0) {
        return "";
    }
    try {
        powerDown(key.disk);
        return ", powered down";
    } catch (const Failure& failure) {
        m_console.note(key.disk.node() + " was not powered down: " + failure.what(), key.disk.node());
        return "";
    }
}

void KeyResults::keepRecord(const Key& key, const Outcome& outcome) const {
    m_report.append(jsonOf(key.disk.node(), key.about), outcome, sums, m_console);
}

} // namespace velacreate
