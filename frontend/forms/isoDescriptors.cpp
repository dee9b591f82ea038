#include "forms/isoDescriptors.h"

#include "forms/isoFields.h"

namespace velacreate {
namespace {
using namespace std::literals;

constexpr std::size_t ROOT_PLACE = 156; ///< of the top directory's record in a descriptor
constexpr const char* NAME = "CD001\1";

std::string blanks(std::size_t size) {
    std::string text(size, ' ');
    return text;
}

/// The same for Joliet. A byte that is left over at the end is zero.
std::string wideBlanks(std::size_t size) {
    std::string text;
    for (std::size_t at = 0; at + 1 < size; at += 2) {
        text += "\0 "s;
    }
    text.resize(size);
    return text;
}

std::string wide(const std::string& text) {
    std::string result;
    for (const char letter : text) {
        result += '\0';
        result += letter;
    }
    return result;
}

/// A descriptor of a directory tree.
class TreeDescriptor {
public:
    TreeDescriptor(const IsoMedium& medium, std::uint32_t block, IsoTreeKind kind)
        : m_medium(medium), m_isJoliet(kind == IsoTreeKind::joliet),
          m_bytes(medium.read(offsetOf(block), ISO_BLOCK)),
          m_fields(medium, m_isJoliet ? "the Joliet volume descriptor" : "the volume descriptor",
                   {m_bytes, offsetOf(block)}),
          m_root{kind,
                 numberIn(m_bytes, ROOT_PLACE + 2),
                 numberIn(m_bytes, ROOT_PLACE + 10),
                 numberIn(m_bytes, 132),
                 numberIn(m_bytes, 140),
                 numberIn(bigEndian(numberIn(m_bytes, 148), 4), 0)} {}

    IsoRoot examine() {
        m_fields.expect("the type", 1, m_isJoliet ? '\2' : '\1');
        m_fields.expect("the standard identifier", NAME);
        m_fields.expect("the flags", 1, '\0');
        examineNames();
        examinePlaces();
        examineTexts();
        examineTimes();
        m_fields.expect("the file structure version", "\1\0"sv);
        m_fields.expect("the application's part",
                        m_isJoliet && m_medium.isFromXorriso() ? std::string(512, '\0') : blanks(512));
        m_fields.expect("the reserved part", 653, '\0');
        m_fields.end();
        return m_root;
    }

private:
    void examineNames() {
        constexpr std::size_t size = 32;
        const std::string name = m_medium.isFromXorriso() ? "ISOIMAGE" : "CDROM";
        auto label = m_isJoliet ? wide(name) : name;
        label += blank(size - label.size());
        m_fields.vary("the system identifier", size, Variation::toolVersion);
        m_fields.expect("the volume identifier", label);
        m_fields.expect("unused bytes", 8, '\0');
    }

    void examinePlaces() {
        m_fields.expect("the volume size", bothEndian(m_medium.blocks(), 4));
        m_fields.expect("the character set",
                        m_isJoliet ? "%/E" + std::string(29, '\0') : std::string(32, '\0'));
        m_fields.expect("the volume set size", bothEndian(1, 2));
        m_fields.expect("the volume number", bothEndian(1, 2));
        m_fields.expect("the block size", bothEndian(ISO_BLOCK, 2));
        m_fields.expect("the path table size", bothEndian(m_root.pathTableSize, 4));
        m_fields.expect("the place of the little-endian path table",
                        littleEndian(m_root.littleEndianTable, 4));
        m_fields.expect("the place of another path table", 4, '\0');
        m_fields.expect("the place of the big-endian path table", bigEndian(m_root.bigEndianTable, 4));
        m_fields.expect("the place of another path table", 4, '\0');
        examineRoot();
    }

    void examineRoot() {
        m_fields.expect("the length of the top directory's record", "\x22\0"sv);
        m_fields.expect("the place of the top directory", bothEndian(m_root.block, 4));
        m_fields.expect("the size of the top directory", bothEndian(m_root.size, 4));
        m_fields.vary("the time of the top directory", 7, Variation::timeStamp);
        m_fields.expect("the flags of the top directory", "\2\0\0"sv);
        m_fields.expect("the top directory's volume number", bothEndian(1, 2));
        m_fields.expect("the top directory's identifier", "\1\0"sv);
    }

    void examineTexts() {
        constexpr std::size_t size = 128;
        m_fields.expect("the volume set identifier", blank(size));
        m_fields.expect("the publisher", blank(size));
        m_fields.vary("the preparer", size, Variation::toolVersion);
        m_fields.vary("the application", size, Variation::toolVersion);
        for (const char* file : {"the copyright file", "the abstract file", "the bibliographic file"}) {
            m_fields.expect(file, blank(37));
        }
    }

    void examineTimes() {
        const std::string never = std::string(16, '0') + '\0';
        m_fields.vary("the time of creation", never.size(), Variation::timeStamp);
        m_fields.vary("the time of the last change", never.size(), Variation::timeStamp);
        m_fields.expect("the time of expiry", never);
        if (m_medium.isFromXorriso()) {
            m_fields.expect("the time of release", never);
        } else {
            m_fields.vary("the time of release", never.size(), Variation::timeStamp);
        }
    }

    std::string blank(std::size_t size) const { return m_isJoliet ? wideBlanks(size) : blanks(size); }

    const IsoMedium& m_medium;
    bool m_isJoliet;
    std::string m_bytes;
    IsoFields m_fields;
    IsoRoot m_root;
};

/// The beginning of the boot record of El Torito.
std::string bootRecordStart() {
    return '\0' + (NAME + "EL TORITO SPECI"
                          "FICATION"s);
}

std::uint32_t examineBootRecord(IsoMedium& medium, std::uint32_t block) {
    constexpr std::size_t catalogPlace = 71;
    const auto catalog = numberIn(medium.read(offsetOf(block), ISO_BLOCK), catalogPlace);
    auto record = bootRecordStart();
    record.resize(catalogPlace);
    medium.claimBytes("the boot record", block, 1, record + littleEndian(catalog, 4));
    return catalog;
}
} // namespace

std::uint32_t isoVolumeSize(MediumBytes& medium) {
    std::string descriptor(ISO_BLOCK, '\0');
    if (medium.size() < offsetOf(ISO_BEHIND_DESCRIPTORS)) {
        return 0;
    }
    medium.read(offsetOf(ISO_FIRST_DESCRIPTOR), descriptor.data(), descriptor.size());
    return descriptor.compare(0, 7, "\1"s + NAME) == 0 ? numberIn(descriptor, 80) : 0;
}

bool hasIsoBootRecord(MediumBytes& medium) {
    auto found = bootRecordStart();
    medium.read(offsetOf(ISO_FIRST_DESCRIPTOR + 1), found.data(), found.size());
    return found == bootRecordStart();
}

IsoVolume examineIsoDescriptors(IsoMedium& medium) {
    IsoVolume volume{};
    auto block = ISO_FIRST_DESCRIPTOR;
    const auto treeDescriptor = [&](IsoTreeKind kind) {
        medium.claim("the volume descriptors", block, 1);
        return TreeDescriptor(medium, block++, kind).examine();
    };
    volume.primary = treeDescriptor(IsoTreeKind::primary);
    if (medium.platform() == IsoPlatform::efi) {
        volume.bootCatalog = examineBootRecord(medium, block++);
    }
    volume.joliet = treeDescriptor(IsoTreeKind::joliet);
    medium.claimBytes("the end of the volume descriptors", block, ISO_BEHIND_DESCRIPTORS - block,
                      "\xff"s + NAME);
    return volume;
}

} // namespace velacreate
