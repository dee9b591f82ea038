#include "commands/keyResults.h"

#include "disks/powerDown.h"
#include "display/table.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/sizeText.h"

#include <algorithm>
#include <sstream>

namespace velacreate {

namespace {

/// @return what became of that, to stand behind what was said of the key; nothing when it was not wanted
std::string powerDownText(const Key& key, const Outcome& outcome, const UsbChoices& choices) {
    if (!choices.eject || outcome.status != 0) {
        return "";
    }
    try {
        powerDown(key.disk);
        return ", powered down";
    } catch (const Failure& failure) {
        return std::string(", not powered down: ") + failure.what();
    }
}

const char* resultWord(const Outcome& outcome) {
    return outcome.status == 0 ? "made" : outcome.status == EXIT_INTERRUPTED ? "interrupted" : "failed";
}

void keepRecord(const Key& key, const Outcome& outcome, const UpdateSums& sums, Report& report,
                Console& console) {
    const auto reason = outcome.status == 0 ? "" : failureText(outcome);
    try {
        report.append({key.about, key.disk.node(), resultWord(outcome), reason, outcome.seconds}, sums);
    } catch (const Failure& failure) {
        console.complain(failure.what());
    }
}

void sayTable(const Table& table, Console& console) {
    std::istringstream lines(table.text());
    for (std::string line; std::getline(lines, line);) {
        console.say(line);
    }
}

void showFailures(const Key& key, const Outcome& outcome, Console& console) {
    if (console.isVerbose() || outcome.status == 0 || outcome.status == EXIT_INTERRUPTED) {
        return;
    }
    for (const auto& line : outcome.failures) {
        console.showLogged(key.disk.node() + ": " + line);
    }
}

std::string counted(std::size_t made, std::size_t all) {
    const auto text = std::to_string(made) + (made == 1 ? " key made" : " keys made");
    return text + (made == all ? "" : ", " + std::to_string(all - made) + " failed");
}

int concludeSeveral(const std::vector<Key>& keys, const std::vector<Outcome>& outcomes,
                    const std::vector<std::string>& additions, bool wasReadBack, Console& console) {
    Table table({"Key", "Port", "Model", "Serial number", "Result"});
    std::size_t made = 0;
    int status = 0;
    for (std::size_t index = 0; index < keys.size(); ++index) {
        const auto& key = keys[index];
        const auto& outcome = outcomes[index];
        showFailures(key, outcome, console);
        table.add({key.disk.node(), key.about.port, key.about.vendor + " " + key.about.model,
                   key.about.serial, resultText(outcome, wasReadBack) + additions[index]});
        made += outcome.status == 0 ? 1 : 0;
        status = status == 0 ? exitStatus(outcome.status).status : status;
    }
    sayTable(table, console);
    if (made != 0) {
        console.say("What was made may be pulled out.");
    }
    console.say(counted(made, keys.size()));
    return status;
}

} // namespace

int concludeKeys(const std::vector<Key>& keys, const std::vector<Outcome>& outcomes,
                 const UsbChoices& choices, const UpdateSums& sums, Report& report, Console& console) {
    std::vector<std::string> additions;
    for (std::size_t index = 0; index < keys.size(); ++index) {
        keepRecord(keys[index], outcomes[index], sums, report, console);
        additions.push_back(powerDownText(keys[index], outcomes[index], choices));
    }
    if (keys.size() > 1) {
        return concludeSeveral(keys, outcomes, additions, choices.job.verify, console);
    }
    const auto& key = keys.front();
    return conclude(console, outcomes.front(), "the key " + key.disk.node(),
                    sizeText(key.about.size) + readBackText(choices.job.verify) + additions.front());
}

} // namespace velacreate
