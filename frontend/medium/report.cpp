#include "medium/report.h"

#include "display/summary.h"
#include "inputs/addedFiles.h"
#include "support/descriptor.h"
#include "support/failure.h"
#include "support/texts.h"

#include <cerrno>
#include <cmath>
#include <utility>

#include <nlohmann/json.hpp>
#include <unistd.h>

namespace velacreate {
namespace {
Json listOf(const std::map<std::string, std::string>& updates) {
    auto list = Json::array();
    for (const auto& [place, sum] : updates) {
        list.push_back(Json{{"place", place}, {"sha256", sum}});
    }
    return list;
}

std::string lineOf(const Json& medium, const Outcome& outcome, const InputSums& sums) {
    const auto result = resultForPrograms(outcome);
    Json line = {{"time", universalTimeText()}, {"version", VELACREATE_VERSION}};
    line.update(medium);
    line.update({{"result", result.word},
                 {"status", result.status},
                 {"reason", result.reason},
                 {"seconds", std::round(outcome.seconds * 10) / 10}});
    if (!sums.package.empty()) {
        line["package"] = sums.package;
    }
    if (!sums.image.empty()) {
        line["image"] = sums.image;
    } else if (outcome.status == 0 && !sums.package.empty()) {
        line["updates"] = listOf(sums.updates);
    }
    if (!sums.made.empty()) {
        line["sha256"] = sums.made;
    }
    return textOf(line);
}

/// A device needs no flushing.
bool isFlushed(const Descriptor& file) {
    return fsync(file.number()) == 0 || errno == EINVAL;
}
} // namespace

Report::Report(std::string path) : m_path(std::move(path)) {
    if (!m_path.empty()) {
        openIfAddable(REPORT, m_path);
    }
}

void Report::append(const Json& medium, const Outcome& outcome, const InputSums& sums) {
    if (m_path.empty()) {
        return;
    }
    const bool isIncomplete = std::exchange(m_isIncomplete, true);
    try {
        const auto file = openToAdd(REPORT, m_path);
        const std::string endOfCutLine = std::exchange(m_isCut, true) ? "\n" : "";
        check(writeText(file, endOfCutLine + lineOf(medium, outcome, sums)) && isFlushed(file))
            .orRefuse("the report is incomplete from here on");
        m_isCut = false;
        m_isIncomplete = false;
    } catch (const Refusal& refusal) {
        if (!isIncomplete) {
            throw Failure(refusal.what());
        }
    }
}

void Report::append(const Json& medium, const Outcome& outcome, const InputSums& sums, Console& console) {
    try {
        append(medium, outcome, sums);
    } catch (const Failure& failure) {
        console.complain(failure.what());
    }
}

} // namespace velacreate
