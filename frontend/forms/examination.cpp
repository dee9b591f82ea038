#include "forms/examination.h"

#include <algorithm>

namespace velacreate {

void compareContent(const Examination& examination, const std::string& place, const Part& part,
                    std::uint64_t offset) {
    compareContent(examination, place, part, std::vector<ByteRange>{{offset, part.size}});
}

void compareContent(const Examination& examination, const std::string& place, const Part& part,
                    const std::vector<ByteRange>& ranges) {
    if (examination.isFormOnly) {
        return;
    }
    examination.sources.enter(part);
    std::uint64_t compared = 0;
    for (const auto& range : ranges) {
        for (std::uint64_t done = 0; done < range.size;) {
            const auto bytes = examination.medium.view(range.offset + done, range.size - done);
            if (!examination.sources.hold(compared, bytes.data, bytes.size)) {
                examination.differences.addDiffering(place, part);
                return;
            }
            done += bytes.size;
            compared += bytes.size;
            examination.advance(bytes.size);
        }
    }
    if (!examination.sources.isRight()) {
        examination.differences.addDiffering(place, part);
    }
}

void reportVariation(const Examination& examination, Variation variation, const ByteRange& range) {
    if (examination.variation && range.size > 0) {
        examination.variation(variation, range);
    }
}

void reportUnclaimed(const ByteRange& range, Differences& differences) {
    differences.addForm(rangeText(range) + " belong to nothing");
}

void reportTooMany(Differences& differences) {
    differences.addForm("more than " + std::to_string(MOST_UNEXPECTED) +
                        " names should not be there; the others are not read");
}

void reportUnclaimed(const ByteMap& map, Differences& differences) {
    for (const auto& range : map.unclaimed()) {
        reportUnclaimed(range, differences);
    }
}

} // namespace velacreate
