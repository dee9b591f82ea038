#include "forms/keyRecord.h"

#include "forms/fields.h"
#include "support/failure.h"

#include <cloneImage.h>
#include <mediaRules.h>

#include <algorithm>
#include <vector>

namespace velacreate {
namespace {
constexpr std::size_t DISK_SIGNATURE_FIELD = 440;
constexpr std::size_t DISK_SIGNATURE_SIZE = 4;
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
};

Partition fourthPartition(const unsigned char* record) {
    return {littleEndian(record + START_FIELD, 4), littleEndian(record + LENGTH_FIELD, 4)};
}

/// What a clone image has before its file system.
std::vector<unsigned char> headOf(const Descriptor& image, const std::string& name) {
    std::vector<unsigned char> head(SECTOR_SIZE);
    const auto readTo = [&](std::size_t size) {
        head.resize(size);
        const auto count = readAt(image.number(), head.data(), size, 0);
        check(count >= 0).orFail("reading the clone image " + quote(name));
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

/// Fits it as the library does, but for the capacity in the gap.
void fit(std::vector<unsigned char>& head, std::uint64_t capacity) {
    auto* const address = &head[END_ADDRESS_FIELD];
    const auto geometry = VelaCreation::geometryOf({address[0], address[1], address[2]});
    const auto start = static_cast<std::int64_t>(fourthPartition(head.data()).start);
    const auto fitted = VelaCreation::fittedEntry(static_cast<std::int64_t>(capacity), geometry, start);
    std::copy(fitted.end.begin(), fitted.end.end(), address);
    putLittleEndian(&head[LENGTH_FIELD], LENGTH_SIZE, static_cast<std::uint64_t>(fitted.length));
}

class KeyRecord {
public:
    KeyRecord(const Examination& examination, const KeyForm& form)
        : m_examination(examination), m_form(form) {}

    std::optional<ByteRange> examine() {
        auto& medium = m_examination.medium;
        if (m_form.isImage && medium.size() > VelaCreation::KEY_IMAGE_OFFSET &&
            medium.areZero(0, VelaCreation::KEY_IMAGE_OFFSET)) {
            return ByteRange{VelaCreation::KEY_IMAGE_OFFSET, medium.size() - VelaCreation::KEY_IMAGE_OFFSET};
        }
        Sector record{};
        if (medium.size() < record.size()) {
            add("there is no boot record");
            return {};
        }
        medium.read(0, record.data(), record.size());
        const auto partition = fourthPartition(record.data());
        compareWithCloneImage(partition);
        const auto sectors = medium.size() / SECTOR_SIZE;
        if (partition.start == 0 || partition.start >= sectors) {
            add("there is no fourth partition");
            return {};
        }
        if (partition.end() > sectors) {
            add("the fourth partition ends behind the medium");
        }
        return ByteRange{partition.start * SECTOR_SIZE,
                         std::min(partition.length, sectors - partition.start) * SECTOR_SIZE};
    }

private:
    void add(const std::string& line) { m_examination.differences.addForm(line); }

    void compareWithCloneImage(const Partition& partition) {
        const auto& name = VelaCreation::cloneImageFor(static_cast<std::int64_t>(partition.end()));
        const auto image = m_form.openCloneImage(name);
        if (!image.isOpen()) {
            add("the tool package has no " + quote(name) + ", so the boot record cannot be compared");
            return;
        }
        auto head = headOf(image, name);
        if (head.empty()) {
            add(quote(name) +
                " of the tool package has no fourth partition, so the boot record cannot be compared");
            return;
        }
        fit(head, partition.end());
        std::vector<unsigned char> found(std::min<std::uint64_t>(head.size(), m_examination.medium.size()));
        m_examination.medium.read(0, found.data(), found.size());
        vary(Variation::diskSignature, DISK_SIGNATURE_FIELD, DISK_SIGNATURE_SIZE, found, head);
        // A small key's file system may begin behind the place that the library takes for its boot sector.
        const auto capacityPlace =
            VelaCreation::totalSectorsOffset(static_cast<std::int64_t>(partition.length));
        vary(Variation::keyCapacity, static_cast<std::size_t>(capacityPlace), LENGTH_SIZE, found, head);
        const auto difference = std::mismatch(found.begin(), found.end(), head.begin()).first;
        if (difference != found.end()) {
            const auto at = static_cast<std::size_t>(difference - found.begin());
            add(std::string(fieldAt(FIELDS, at)) + " (byte " + std::to_string(at) + ") is not as in " +
                quote(name) + " of the tool package");
        }
    }

    void vary(Variation variation, std::size_t at, std::size_t size, const std::vector<unsigned char>& found,
              std::vector<unsigned char>& head) {
        if (at + size <= found.size()) {
            reportVariation(m_examination, variation, {at, size});
            std::copy_n(&found[at], size, &head[at]);
        }
    }

    const Examination& m_examination;
    const KeyForm& m_form;
};
} // namespace

bool canBeFitted(const Descriptor& cloneImage) {
    return !headOf(cloneImage, "").empty();
}

std::optional<ByteRange> examineKeyRecord(const Examination& examination, const KeyForm& form) {
    return KeyRecord(examination, form).examine();
}

} // namespace velacreate
