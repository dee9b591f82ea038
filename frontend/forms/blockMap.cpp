#include "forms/blockMap.h"

#include "forms/keyBlocks.h"
#include "inputs/checksum.h"
#include "support/failure.h"

#include <tinyxml2.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <future>
#include <mutex>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {
namespace {
using tinyxml2::XMLElement;

constexpr std::size_t MOST_DIGITS = 18; // the number fits into 64 bits

std::uint64_t blockCount(std::uint64_t bytes) {
    return (bytes + KEY_BLOCK - 1) / KEY_BLOCK;
}

void require(bool isRight, const std::string& fault) {
    refuseIf(!isRight, "the map is not right: " + fault);
}

std::string trimmed(const char* text) {
    constexpr const char* BLANK = " \t\r\n";
    const std::string all = text == nullptr ? "" : text;
    const auto first = all.find_first_not_of(BLANK);
    return first == std::string::npos ? "" : all.substr(first, all.find_last_not_of(BLANK) - first + 1);
}

std::uint64_t numberIn(const std::string& text) {
    const bool isNumber = !text.empty() && text.size() <= MOST_DIGITS &&
                          text.find_first_not_of("0123456789") == std::string::npos;
    require(isNumber, quote(text) + " is no number");
    return std::stoull(text);
}

std::string textIn(const XMLElement& map, const char* name) {
    const auto* const element = map.FirstChildElement(name);
    require(element != nullptr, std::string("it has no ") + name);
    return trimmed(element->GetText());
}

/// The sum is that of the text in which zeros take the sum's place.
void requireOwnSum(std::string text, const std::string& sum) {
    const auto at = text.find(sum);
    require(sum.size() == SUM_DIGITS && at != std::string::npos, "it has no SHA-256 sum of its own");
    text.replace(at, SUM_DIGITS, SUM_DIGITS, '0');
    require(sha256Of(text) == sum, "its text does not have the sum that it names");
}

MappedRange rangeOf(const XMLElement& element, std::uint64_t imageSize) {
    const auto text = trimmed(element.GetText());
    const auto dash = text.find('-');
    const auto first = numberIn(trimmed(text.substr(0, dash).c_str()));
    const auto last = dash == std::string::npos ? first : numberIn(trimmed(text.substr(dash + 1).c_str()));
    require(first <= last && last < blockCount(imageSize),
            "the range " + quote(text) + " does not lie in the image");
    const auto* const sum = element.Attribute("chksum");
    require(sum != nullptr, "the range " + quote(text) + " has no sum");
    return {blocksOf(first, last + 1, imageSize), sum};
}

/// Small enough for several processors to share the work of the sums.
std::vector<ByteRange> rangesUpTo(std::uint64_t dataEnd, std::uint64_t imageSize) {
    constexpr std::uint64_t most = (16U << 20U) / KEY_BLOCK;
    const auto count = blockCount(dataEnd);
    std::vector<ByteRange> ranges;
    for (std::uint64_t first = 0; first < count; first += most) {
        ranges.push_back(blocksOf(first, std::min(first + most, count), imageSize));
    }
    return ranges;
}

/// @param ownSum  of the map, with zeros in the place of this sum
std::string mapText(std::uint64_t size, std::uint64_t dataEnd, const std::vector<MappedRange>& mapped,
                    const std::string& ownSum) {
    std::ostringstream text;
    text << "<?xml version=\"1.0\" ?>\n"
         << "<bmap version=\"2.0\">\n"
         << "    <ImageSize> " << size << " </ImageSize>\n"
         << "    <BlockSize> " << KEY_BLOCK << " </BlockSize>\n"
         << "    <BlocksCount> " << blockCount(size) << " </BlocksCount>\n"
         << "    <MappedBlocksCount> " << blockCount(dataEnd) << " </MappedBlocksCount>\n"
         << "    <ChecksumType> sha256 </ChecksumType>\n"
         << "    <BmapFileChecksum> " << ownSum << " </BmapFileChecksum>\n"
         << "    <BlockMap>\n";
    for (const auto& [range, sum] : mapped) {
        text << "        <Range chksum=\"" << sum << "\"> " << range.offset / KEY_BLOCK << "-"
             << blockCount(range.offset + range.size) - 1 << " </Range>\n";
    }
    text << "    </BlockMap>\n"
         << "</bmap>\n";
    return text.str();
}
} // namespace

std::vector<MappedRange> readBlockMap(const std::string& text, std::uint64_t imageSize) {
    tinyxml2::XMLDocument document; // it knows no entities but those of XML itself
    const bool isRead = document.Parse(text.data(), text.size()) == tinyxml2::XML_SUCCESS;
    const auto* const map = isRead ? document.FirstChildElement("bmap") : nullptr;
    require(map != nullptr, "it is no bmap file");
    const auto* const version = map->Attribute("version");
    require(version != nullptr && std::string(version) == "2.0", "it does not have version 2.0");
    require(textIn(*map, "ChecksumType") == "sha256", "its sums are not SHA-256 sums");
    requireOwnSum(text, textIn(*map, "BmapFileChecksum"));
    require(numberIn(textIn(*map, "BlockSize")) == KEY_BLOCK, "its blocks do not have 4096 bytes");
    const auto size = numberIn(textIn(*map, "ImageSize"));
    require(size == imageSize, "it is that of an image of " + std::to_string(size) +
                                   " bytes, and the image has " + std::to_string(imageSize));
    const auto* const list = map->FirstChildElement("BlockMap");
    require(list != nullptr, "it has no BlockMap");
    std::vector<MappedRange> ranges;
    for (const auto* element = list->FirstChildElement("Range"); element != nullptr;
         element = element->NextSiblingElement("Range")) {
        ranges.push_back(rangeOf(*element, imageSize));
        const auto count = ranges.size();
        require(count == 1 || ranges[count - 2].range.offset + ranges[count - 2].range.size <=
                                  ranges[count - 1].range.offset,
                "its ranges are not in order");
    }
    return ranges;
}

std::vector<std::string> sumsOf(const Descriptor& image, const std::vector<ByteRange>& ranges,
                                const Advance& advance) {
    constexpr std::size_t mostWorkers = 8;
    std::vector<std::string> sums(ranges.size());
    std::atomic<std::size_t> next = 0;
    std::mutex oneAtATime;
    const auto work = [&] {
        for (auto index = next++; index < ranges.size(); index = next++) {
            const auto& range = ranges[index];
            sums[index] = sha256Of(image, range.offset, range.size, [&](std::uint64_t bytes) {
                const std::lock_guard<std::mutex> lock(oneAtATime);
                advance(bytes);
            });
        }
    };
    std::vector<std::future<void>> workers;
    const auto processors = std::min<std::size_t>(std::thread::hardware_concurrency(), mostWorkers);
    while (workers.size() + 1 < std::min(processors, ranges.size())) {
        workers.push_back(std::async(std::launch::async, work));
    }
    work();
    for (auto& worker : workers) {
        worker.get();
    }
    return sums;
}

void writeBlockMap(const Descriptor& image, std::uint64_t dataEnd, const std::string& path) {
    const auto size = sizeOf(image);
    const auto ranges = rangesUpTo(dataEnd, size);
    const auto sums = sumsOf(image, ranges, [](std::uint64_t /*bytes*/) {});
    std::vector<MappedRange> mapped;
    for (std::size_t index = 0; index < ranges.size(); ++index) {
        mapped.push_back({ranges[index], sums[index]});
    }
    const auto ownSum = sha256Of(mapText(size, dataEnd, mapped, std::string(SUM_DIGITS, '0')));
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    check(file.isOpen() && writeText(file, mapText(size, dataEnd, mapped, ownSum)) &&
          fsync(file.number()) == 0)
        .orFail("the block map cannot be written");
}

} // namespace velacreate
