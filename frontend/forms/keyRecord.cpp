#include "forms/keyRecord.h"

#include "forms/fields.h"
#include "inputs/checksum.h"
#include "support/failure.h"

#include <cloneImage.h>
#include <mediaRules.h>

#include <algorithm>
#include <set>

namespace velacreate {
namespace {
constexpr std::size_t START_FIELD = VelaCreation::START_OFFSET;
constexpr std::size_t LENGTH_FIELD = VelaCreation::LENGTH_OFFSET;
constexpr std::size_t END_ADDRESS_FIELD = VelaCreation::END_ADDRESS_OFFSET;
constexpr std::size_t LENGTH_SIZE = 4;

constexpr std::array<Field, 13> FIELDS = {
    {{0, "the boot code"},
     {DISK_SIGNATURE_FIELD, "the disk signature"},
     {DISK_SIGNATURE_FIELD + DISK_SIGNATURE_SIZE, "the field after the disk signature"},
     {PARTITIONS_FIELD, "the first partition"},
     {PARTITIONS_FIELD + PARTITION_SIZE, "the second partition"},
     {PARTITIONS_FIELD + 2 * PARTITION_SIZE, "the third partition"},
     {FOURTH_PARTITION_FIELD, "the start mark and first address of the fourth partition"},
     {FOURTH_TYPE_FIELD, "the type of the fourth partition"},
     {END_ADDRESS_FIELD, "the last address of the fourth partition"},
     {START_FIELD, "the first sector of the fourth partition"},
     {LENGTH_FIELD, "the length of the fourth partition"},
     {SIGNATURE_FIELD, "the signature of the boot record"},
     {SECTOR_SIZE, "the gap before the file system"}}};

struct Partition {
    std::uint64_t start; ///< in sectors, as the length
    std::uint64_t length;

    std::uint64_t end() const { return start + length; }

    /// @return none when it does not begin on a medium of this size
    std::optional<ByteRange> rangeOn(std::uint64_t size) const {
        const auto sectors = size / SECTOR_SIZE;
        if (start == 0 || start >= sectors) {
            return {};
        }
        return ByteRange{start * SECTOR_SIZE, std::min(length, sectors - start) * SECTOR_SIZE};
    }
};

Partition fourthPartition(const unsigned char* record) {
    return {littleEndian(record + START_FIELD, 4), littleEndian(record + LENGTH_FIELD, 4)};
}

ByteRange rangeWithoutPartition(std::uint64_t size) {
    return {VelaCreation::KEY_IMAGE_OFFSET, size - std::min(size, VelaCreation::KEY_IMAGE_OFFSET)};
}

/// What a clone image has before its file system.
std::vector<unsigned char> headOf(const Descriptor& image) {
    std::vector<unsigned char> head(SECTOR_SIZE);
    const auto readTo = [&](std::size_t size) {
        head.resize(size);
        const auto count = readAt(image.number(), head.data(), size, 0);
        check(count >= 0).orFail("reading a clone image");
        return static_cast<std::size_t>(count) == size;
    };
    if (readTo(SECTOR_SIZE)) {
        const auto start = fourthPartition(head.data()).start;
        const bool hasGeometry = VelaCreation::sectorsPerTrack(head[END_ADDRESS_FIELD + 1]) != 0;
        if (start != 0 && start <= VelaCreation::LARGEST_START && hasGeometry &&
            readTo(start * SECTOR_SIZE)) {
            return head;
        }
    }
    return {};
}

/// Where the library puts the capacity, too. A small key's file system may begin behind this place.
std::size_t capacityPlace(std::uint64_t length) {
    return static_cast<std::size_t>(VelaCreation::totalSectorsOffset(static_cast<std::int64_t>(length)));
}

bool isRecord(const unsigned char* record) {
    return std::equal(SIGNATURE.begin(), SIGNATURE.end(), record + SIGNATURE_FIELD);
}

/// Whether any geometry gives this address to the last sector.
bool isLastAddress(const unsigned char* address, std::uint64_t end) {
    constexpr std::uint32_t mostHeads = 256;
    constexpr std::uint32_t mostSectors = 63;
    const VelaCreation::EndAddress found = {address[0], address[1], address[2]};
    for (std::uint32_t heads = 1; heads <= mostHeads; ++heads) {
        for (std::uint32_t sectors = 1; sectors <= mostSectors; ++sectors) {
            if (VelaCreation::lastSectorAddress(static_cast<std::int64_t>(end), {heads, sectors}) == found) {
                return true;
            }
        }
    }
    return false;
}

class KeyRecord {
public:
    KeyRecord(const Examination& examination, const KeyForm& form)
        : m_examination(examination), m_form(form) {}

    std::optional<ByteRange> examine() {
        auto& medium = m_examination.medium;
        if (m_form.isImage && m_form.head.bootCodes.empty() &&
            medium.size() > VelaCreation::KEY_IMAGE_OFFSET &&
            medium.areZero(0, VelaCreation::KEY_IMAGE_OFFSET)) {
            return rangeWithoutPartition(medium.size());
        }
        Sector record{};
        if (medium.size() < record.size()) {
            add("there is no boot record");
            return {};
        }
        medium.read(0, record.data(), record.size());
        const auto partition = fourthPartition(record.data());
        if (m_form.head.openCloneImage) {
            compareWithCloneImage(partition);
        } else {
            compareWithSums(partition);
        }
        const auto range = partition.rangeOn(medium.size());
        if (!range) {
            add("there is no fourth partition");
        } else if (partition.end() > medium.size() / SECTOR_SIZE) {
            add("the fourth partition ends behind the medium");
        }
        return range;
    }

private:
    void add(const std::string& line) { m_examination.differences.addForm(line); }

    void compareWithCloneImage(const Partition& partition) {
        const auto& name = VelaCreation::cloneImageFor(static_cast<std::int64_t>(partition.end()));
        const auto image = m_form.head.openCloneImage(name);
        if (!image.isOpen()) {
            add("the tool package has no " + quote(name) + ", so the boot record cannot be compared");
            return;
        }
        auto head = headOfKey(image, partition.end());
        if (head.empty()) {
            add(quote(name) +
                " of the tool package has no fourth partition, so the boot record cannot be compared");
            return;
        }
        std::vector<unsigned char> found(std::min<std::uint64_t>(head.size(), m_examination.medium.size()));
        m_examination.medium.read(0, found.data(), found.size());
        if (DISK_SIGNATURE_FIELD + DISK_SIGNATURE_SIZE <= found.size()) {
            reportVariation(m_examination, Variation::diskSignature,
                            {DISK_SIGNATURE_FIELD, DISK_SIGNATURE_SIZE});
            std::copy_n(&found[DISK_SIGNATURE_FIELD], DISK_SIGNATURE_SIZE, &head[DISK_SIGNATURE_FIELD]);
        }
        allowUnfitted(found, headOf(image), capacityPlace(partition.length), head);
        const auto difference = std::mismatch(found.begin(), found.end(), head.begin()).first;
        if (difference != found.end()) {
            const auto at = static_cast<std::size_t>(difference - found.begin());
            add(std::string(fieldAt(FIELDS, at)) + " (byte " + std::to_string(at) + ") is not as in " +
                quote(name) + " of the tool package");
        }
    }

    void compareWithSums(const Partition& partition) {
        const auto size = partition.start * SECTOR_SIZE;
        if (partition.start == 0 || partition.start > VelaCreation::LARGEST_START ||
            size > m_examination.medium.size()) {
            add("the fourth partition does not begin where that of a key does");
            return;
        }
        std::vector<unsigned char> head(size);
        m_examination.medium.read(0, head.data(), head.size());
        reportVariation(m_examination, Variation::diskSignature,
                        {DISK_SIGNATURE_FIELD, PARTITIONS_FIELD - DISK_SIGNATURE_FIELD});
        const auto& sums = m_form.head.bootCodes;
        if (!sums.empty() && std::find(sums.begin(), sums.end(), sumOfBootCode(head)) == sums.end()) {
            add("what lies before the file system, such as the boot code, is not what was signed");
        }
        if (!isRecord(head.data())) {
            add("the boot record has no signature");
        }
        if (!isLastAddress(&head[END_ADDRESS_FIELD], partition.end())) {
            add("the last address of the fourth partition is not that of its last sector");
        }
        const auto place = capacityPlace(partition.length);
        const auto capacity = place + LENGTH_SIZE <= size ? littleEndian(&head[place], LENGTH_SIZE) : 0;
        if (capacity != 0 &&
            capacity != partition.length) { // a key that the library has not made may lack it
            add("the gap before the file system has another length than the fourth partition");
        }
    }

    /// A key that was not made by the library may lack the capacity in the gap.
    static void allowUnfitted(const std::vector<unsigned char>& found, const std::vector<unsigned char>& own,
                              std::size_t at, std::vector<unsigned char>& head) {
        if (at + LENGTH_SIZE <= found.size() &&
            std::equal(&own[at], &own[at] + LENGTH_SIZE, found.begin() + static_cast<std::ptrdiff_t>(at))) {
            std::copy_n(&own[at], LENGTH_SIZE, &head[at]);
        }
    }

    const Examination& m_examination;
    const KeyForm& m_form;
};
} // namespace

std::optional<ByteRange> keyPartition(MediumBytes& medium) {
    Sector record{};
    if (medium.size() < record.size()) {
        return std::nullopt;
    }
    medium.read(0, record.data(), record.size());
    const auto partition = fourthPartition(record.data());
    if (!isRecord(record.data()) || record[FOURTH_TYPE_FIELD] == 0 || partition.start == 0 ||
        partition.length == 0 || partition.end() > medium.size() / SECTOR_SIZE) {
        return std::nullopt;
    }
    return ByteRange{partition.start * SECTOR_SIZE, partition.length * SECTOR_SIZE};
}

ByteRange fileSystemIn(const Descriptor& keyImage) {
    MediumBytes bytes(keyImage, sizeOf(keyImage));
    return keyPartition(bytes).value_or(rangeWithoutPartition(bytes.size()));
}

bool canBeFitted(const Descriptor& cloneImage) {
    return !headOf(cloneImage).empty();
}

std::vector<unsigned char> headOfKey(const Descriptor& cloneImage, std::uint64_t capacity) {
    auto head = headOf(cloneImage);
    if (head.empty()) {
        return head;
    }
    auto* const address = &head[END_ADDRESS_FIELD];
    const auto geometry = VelaCreation::geometryOf({address[0], address[1], address[2]});
    const auto start = static_cast<std::int64_t>(fourthPartition(head.data()).start);
    const auto fitted = VelaCreation::fittedEntry(static_cast<std::int64_t>(capacity), geometry, start);
    const auto length = static_cast<std::uint64_t>(fitted.length);
    std::copy(fitted.end.begin(), fitted.end.end(), address);
    putLittleEndian(&head[LENGTH_FIELD], LENGTH_SIZE, length);
    if (const auto place = capacityPlace(length); place + LENGTH_SIZE <= head.size()) {
        putLittleEndian(&head[place], LENGTH_SIZE, length);
    }
    return head;
}

std::string sumOfBootCode(std::vector<unsigned char> head) {
    const auto clear = [&](std::size_t begin, std::size_t end) {
        if (end <= head.size()) {
            std::fill(&head[begin], &head[begin] + (end - begin), '\0');
        }
    };
    const auto capacity = capacityPlace(fourthPartition(head.data()).length);
    clear(capacity, capacity + LENGTH_SIZE);
    clear(DISK_SIGNATURE_FIELD, PARTITIONS_FIELD);
    clear(END_ADDRESS_FIELD, START_FIELD);
    clear(LENGTH_FIELD, LENGTH_FIELD + LENGTH_SIZE);
    return sha256Of(std::string(head.begin(), head.end()));
}

std::vector<std::string>
sumsOfBootCode(const std::function<Descriptor(const std::string& cloneImage)>& openCloneImage) {
    std::set<std::string> sums;
    std::int64_t smaller = VelaCreation::LARGEST_START;
    for (const auto& [largestKey, name] : VelaCreation::cloneImages()) {
        const auto image = openCloneImage(name);
        for (const auto capacity : {smaller + 1, largestKey}) { // the capacity's place may differ
            const auto head = image.isOpen() ? headOfKey(image, static_cast<std::uint64_t>(capacity))
                                             : std::vector<unsigned char>();
            if (!head.empty()) {
                sums.insert(sumOfBootCode(head));
            }
        }
        smaller = largestKey;
    }
    return {sums.begin(), sums.end()};
}

std::optional<ByteRange> examineKeyRecord(const Examination& examination, const KeyForm& form) {
    return KeyRecord(examination, form).examine();
}

} // namespace velacreate
