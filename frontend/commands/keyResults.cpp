#include "commands/keyResults.h"

#include "disks/powerDown.h"
#include "display/table.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/sizeText.h"

#include <map>
#include <set>
#include <sstream>

namespace velacreate {

namespace {

const char* resultWord(const Outcome& outcome) {
    return outcome.status == 0 ? "made" : outcome.status == EXIT_INTERRUPTED ? "interrupted" : "failed";
}

/// "11 keys made, 1 failed"
std::string countsText(const std::map<std::string, std::size_t>& counts) {
    std::string text;
    for (const char* word : {"made", "failed", "interrupted"}) {
        const auto found = counts.find(word);
        if (found != counts.end()) {
            text += (text.empty() ? std::to_string(found->second) + (found->second == 1 ? " key " : " keys ")
                                  : ", " + std::to_string(found->second) + " ") +
                    word;
        }
    }
    return text;
}

} // namespace

void KeyResults::settle(std::size_t key, const Outcome& outcome) {
    keepRecord(m_keys[key], outcome);
    m_settled[key] = Settled{outcome, powerDownText(m_keys[key], outcome)};
}

int KeyResults::conclude(const std::vector<Outcome>& ofTaken) {
    auto next = ofTaken.begin();
    for (std::size_t key = 0; key < m_keys.size(); ++key) {
        const auto outcome =
            isTaken(m_keys[key]) ? *next++ : Outcome{EXIT_REFUSED, m_keys[key].objection, {}, false, 0};
        if (!m_settled[key]) {
            settle(key, outcome);
        }
    }
    if (m_keys.size() > 1) {
        return concludeSeveral();
    }
    const auto& key = m_keys.front();
    const auto& [outcome, addition] = *m_settled.front();
    return velacreate::conclude(m_console, outcome, "the key " + key.disk.node(),
                                sizeText(key.about.size) + readBackText(m_choices.job.verify) + addition);
}

int KeyResults::concludeSeveral() const {
    Table table({"Key", "Port", "Model", "Serial number", "Result"});
    std::map<std::string, std::size_t> counts;
    std::set<std::string> nextSteps;
    int status = 0;
    for (std::size_t index = 0; index < m_keys.size(); ++index) {
        const auto& key = m_keys[index];
        const auto& [outcome, addition] = *m_settled[index];
        showFailures(key, outcome);
        table.add({key.disk.node(), key.about.port, key.about.name(), key.about.serial,
                   resultText(outcome, m_choices.job.verify) + addition});
        ++counts[resultWord(outcome)];
        nextSteps.insert(exitStatus(outcome.status).nextStep);
        status = status == 0 ? exitStatus(outcome.status).status : status;
    }
    std::istringstream lines(table.text());
    for (std::string line; std::getline(lines, line);) {
        m_console.say(line);
    }
    for (const auto& step : nextSteps) {
        if (!step.empty()) {
            m_console.say(step);
        }
    }
    if (counts.count("made") != 0) {
        m_console.say("What was made may be pulled out.");
    }
    m_console.say(countsText(counts));
    return status;
}

std::string KeyResults::powerDownText(const Key& key, const Outcome& outcome) const {
    if (!m_choices.eject || outcome.status != 0) {
        return "";
    }
    try {
        powerDown(key.disk);
        return ", powered down";
    } catch (const Failure& failure) {
        return std::string(", not powered down: ") + failure.what();
    }
}

void KeyResults::keepRecord(const Key& key, const Outcome& outcome) const {
    const auto reason = outcome.status == 0 ? "" : failureText(outcome);
    try {
        m_report.append({key.about, key.disk.node(), resultWord(outcome), reason, outcome.seconds}, sums);
    } catch (const Failure& failure) {
        m_console.complain(failure.what());
    }
}

void KeyResults::showFailures(const Key& key, const Outcome& outcome) const {
    if (m_console.isVerbose() || outcome.status == 0 || outcome.status == EXIT_INTERRUPTED) {
        return;
    }
    for (const auto& line : outcome.failures) {
        m_console.showLogged(key.disk.node() + ": " + line);
    }
}

} // namespace velacreate
