#include "medium/blockMap.h"

#include "inputs/checksum.h"
#include "support/failure.h"

#include <algorithm>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr std::uint64_t MAP_BLOCK = 4096;

std::uint64_t blocksOf(std::uint64_t bytes) {
    return (bytes + MAP_BLOCK - 1) / MAP_BLOCK;
}

/// @param ownSum  of the map, with zeros in the place of this sum
std::string mapText(std::uint64_t size, std::uint64_t dataEnd, const std::string& dataSum,
                    const std::string& ownSum) {
    std::ostringstream text;
    text << "<?xml version=\"1.0\" ?>\n"
         << "<bmap version=\"2.0\">\n"
         << "    <ImageSize> " << size << " </ImageSize>\n"
         << "    <BlockSize> " << MAP_BLOCK << " </BlockSize>\n"
         << "    <BlocksCount> " << blocksOf(size) << " </BlocksCount>\n"
         << "    <MappedBlocksCount> " << blocksOf(dataEnd) << " </MappedBlocksCount>\n"
         << "    <ChecksumType> sha256 </ChecksumType>\n"
         << "    <BmapFileChecksum> " << ownSum << " </BmapFileChecksum>\n"
         << "    <BlockMap>\n"
         << "        <Range chksum=\"" << dataSum << "\"> 0-" << blocksOf(dataEnd) - 1 << " </Range>\n"
         << "    </BlockMap>\n"
         << "</bmap>\n";
    return text.str();
}
} // namespace

void writeBlockMap(const Descriptor& image, std::uint64_t dataEnd, const std::string& path) {
    const auto size = sizeOf(image);
    const auto dataSum = sha256OfBeginning(image, std::min(size, blocksOf(dataEnd) * MAP_BLOCK));
    const auto ownSum = sha256Of(mapText(size, dataEnd, dataSum, std::string(dataSum.size(), '0')));
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    check(file.isOpen() && writeText(file, mapText(size, dataEnd, dataSum, ownSum)) &&
          fsync(file.number()) == 0)
        .orFail("the block map cannot be written");
}

} // namespace velacreate
