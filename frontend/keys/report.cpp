#include "keys/report.h"

#include "disks/inventory.h"
#include "support/failure.h"
#include "support/texts.h"

#include <cerrno>
#include <cmath>

#include <unistd.h>

namespace velacreate {
namespace {
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
    if (key.status == 0) {
        line["updates"] = listOf(sums.updates);
    }
    return textOf(line);
}

/// A device needs no flushing.
bool isFlushed(const Descriptor& file) {
    return fsync(file.number()) == 0 || errno == EINVAL;
}
} // namespace

Report::Report(const std::string& path)
    : m_file(path.empty() ? Descriptor() : openToAdd("the report", path)) {}

void Report::append(const KeyRecord& key, const InputSums& sums) {
    if (!m_file.isOpen()) {
        return;
    }
    if (writeText(m_file, lineOf(key, sums)) && isFlushed(m_file)) {
        return;
    }
    const auto reason = SystemError().about("the report is incomplete from here on");
    m_file = Descriptor();
    throw Failure(reason);
}

} // namespace velacreate
