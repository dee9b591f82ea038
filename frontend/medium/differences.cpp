#include "medium/differences.h"

#include "inputs/names.h"
#include "support/failure.h"

#include <algorithm>

namespace velacreate {
namespace {
std::string named(const std::string& place, const Part& part) {
    const std::string origin = part.source.empty() ? "" : isBootFile(part.source) ? "boot " : "update ";
    return origin + (part.isDirectory ? "directory " : "file ") + quote(place);
}

constexpr std::size_t MOST_LINES = 100;
} // namespace

void Differences::addMissing(const std::string& place, const Part& part) {
    addWhole(place, named(place, part) + " is missing");
}

void Differences::addDiffering(const std::string& place, const Part& part) {
    addWhole(place, named(place, part) + " differs");
}

void Differences::addTwice(const std::string& place) {
    addStrange(place, quote(place) + " is there twice");
}

void Differences::addUnexpected(const std::string& place) {
    addStrange(place, quote(place) + " is there, but should not be");
}

void Differences::addForm(const std::string& line) {
    if (m_form.size() < MOST_LINES) {
        m_form.push_back(line);
    } else {
        ++m_uncounted;
    }
}

void Differences::addStrange(const std::string& place, const std::string& line) {
    if (m_strange < MOST_LINES) {
        ++m_strange;
        addWhole(place, line);
    } else {
        ++m_uncounted;
    }
}

void Differences::addWhole(const std::string& place, const std::string& line) {
    const std::vector<std::string> ancestors = ancestorsOf(place);
    const auto isWhole = [&](const std::string& ancestor) { return m_whole.count(ancestor) > 0; };
    if (std::none_of(ancestors.begin(), ancestors.end(), isWhole)) {
        m_lines.try_emplace(place, line);
        m_whole.insert(place);
    }
}

std::vector<std::string> Differences::lines() const {
    auto result = m_form;
    for (const auto& [place, line] : m_lines) {
        result.push_back(line);
    }
    result.resize(std::min(result.size(), MOST_LINES));
    return result;
}

} // namespace velacreate
