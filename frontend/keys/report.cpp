#include "keys/report.h"

#include "disks/inventory.h"
#include "support/failure.h"
#include "support/texts.h"

#include <cerrno>
#include <cmath>
#include <utility>

#include <unistd.h>

namespace velacreate {
namespace {
constexpr const char* KIND = "the report";

using Json = nlohmann::ordered_json;

Json listOf(const std::map<std::string, std::string>& updates) {
    auto list = Json::array();
    for (const auto& [place, sum] : updates) {
        list.push_back(Json{{"place", place}, {"sha256", sum}});
    }
    return list;
}

std::string lineOf(const KeyRecord& key, const InputSums& sums) {
    Json line = {{"time", universalTimeText()}, {"version", VELACREATE_VERSION}};
    line.update(jsonOf(key.node, key.about));
    line.update({{"result", key.result},
                 {"status", key.status},
                 {"reason", key.reason},
                 {"seconds", std::round(key.seconds * 10) / 10}});
    if (!sums.package.empty()) {
        line["package"] = sums.package;
    }
    if (!sums.image.empty()) {
        line["image"] = sums.image;
    } else if (key.status == 0) {
        line["updates"] = listOf(sums.updates);
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
        requireAddable(KIND, m_path);
    }
}

Report checkedReport(const std::string& path, const std::string& log) {
    struct stat about {};
    struct stat logs {};
    const bool isLog = stat(path.c_str(), &about) == 0 && stat(log.c_str(), &logs) == 0
                           ? isSameFile(about, logs)
                           : !path.empty() && !log.empty() && futurePath(path) == futurePath(log);
    refuseIf(isLog, "the report " + quote(path) + " is the log file");
    return Report(path);
}

void Report::append(const KeyRecord& key, const InputSums& sums) {
    if (m_path.empty()) {
        return;
    }
    const auto path = std::exchange(m_path, "");
    if (!m_file.isOpen()) {
        try {
            m_file = openToAdd(KIND, path);
        } catch (const Refusal& refusal) {
            throw Failure(refusal.what());
        }
    }
    check(writeText(m_file, lineOf(key, sums)) && isFlushed(m_file))
        .orFail("the report is incomplete from here on");
    m_path = path;
}

} // namespace velacreate
