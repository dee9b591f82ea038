#include "forms/isoTree.h"

#include "support/beneath.h"
#include "support/failure.h"

#include <algorithm>

namespace velacreate {
namespace {
bool isAscii(const IsoName& name) {
    return std::all_of(name.text.begin(), name.text.end(), [](unsigned char byte) { return byte < 0x80; });
}

void sortByName(std::vector<std::size_t>& children, const std::vector<IsoNode>& nodes) {
    std::sort(children.begin(), children.end(),
              [&](std::size_t one, std::size_t other) { return nodes[one].name < nodes[other].name; });
}
} // namespace

std::vector<IsoNode> isoNodesOf(const Tree& expected, const std::vector<std::string>& added) {
    std::vector<IsoNode> nodes{{{}, {}, nullptr, 0, true, {}, {}, {}}};
    std::map<std::string, std::size_t> directories{{"", 0}};
    const auto add = [&](const std::string& path, const Part* part) {
        const auto slash = path.rfind('/');
        const bool isAtTop = slash == std::string::npos;
        const auto parent = directories.at(isAtTop ? "" : path.substr(0, slash));
        const bool isDirectory = part != nullptr && part->isDirectory;
        const auto number = nodes.size();
        if (isDirectory) {
            directories.emplace(path, number);
        }
        nodes.push_back(
            {path, isAtTop ? path : path.substr(slash + 1), part, parent, isDirectory, {}, {}, {}});
        nodes[parent].children.push_back(number);
    };
    for (const auto& [path, part] : expected) {
        add(path, &part);
    }
    for (const auto& path : added) {
        add(path, nullptr);
    }
    for (auto& node : nodes) {
        sortByName(node.children, nodes);
    }
    return nodes;
}

std::optional<IsoExtent>& IsoTreeReader::extentOf(std::size_t node) {
    return m_kind == IsoTreeKind::primary ? m_nodes[node].primary : m_nodes[node].joliet;
}

std::vector<IsoListedDirectory> IsoTreeReader::read(const IsoRoot& root) {
    m_kind = root.kind;
    extentOf(0) = {root.block, root.size};
    m_listed = {{std::string(1, '\0'), root.block, 1, 0}};
    const auto comesFirst = [](const IsoListedDirectory& one, const IsoListedDirectory& other) {
        return one.identifier < other.identifier; // also where the order of the records is another one
    };
    while (m_number < m_listed.size() && !hasTooMany()) {
        const auto before = static_cast<std::ptrdiff_t>(m_listed.size());
        readDirectory(m_listed[m_number++].node);
        std::sort(m_listed.begin() + before, m_listed.end(), comesFirst);
    }
    m_number = 0;
    return std::move(m_listed);
}

std::vector<IsoTreeReader::Reading> IsoTreeReader::readingsOf(const IsoNode& node) const {
    std::vector<IsoName> names;
    names.reserve(node.children.size());
    for (const auto child : node.children) {
        names.push_back({m_nodes[child].name, m_nodes[child].isDirectory});
    }
    std::vector<IsoCharset> charsets{m_charset.value_or(IsoCharset::utf8)};
    if (!m_charset && !std::all_of(names.begin(), names.end(), isAscii)) {
        charsets.push_back(IsoCharset::bytes);
    }
    std::vector<Reading> readings;
    readings.reserve(charsets.size());
    for (const auto charset : charsets) {
        readings.push_back({charset, IsoNames(m_medium.platform(), m_kind, charset, names)});
    }
    return readings;
}

void IsoTreeReader::readDirectory(std::size_t node) {
    const auto extent = *extentOf(node);
    const auto blocks = blocksOf(extent.size);
    auto place = node == 0 ? "the top directory" : quote(m_nodes[node].path);
    place += m_kind == IsoTreeKind::joliet ? " in the Joliet tree" : "";
    Directory directory{node, place, extent, readingsOf(m_nodes[node]),
                        IsoContinuations(extent.block + blocks)};
    if (extent.size == 0 || extent.size % ISO_BLOCK != 0) {
        m_medium.add(place, "the size is not that of whole blocks");
        return;
    }
    if (m_medium.claim(place, extent.block, blocks) && readBlocks(directory)) {
        directory.continuations.end(m_medium, place);
        checkIdentifiers(directory);
        noteMissing(directory);
    }
    if (m_kind == IsoTreeKind::primary) {
        noteChildren(directory);
    }
}

/// The Joliet tree must have what the primary one has.
void IsoTreeReader::noteChildren(Directory& directory) {
    auto& children = m_nodes[directory.node].children;
    children.erase(std::remove_if(children.begin(), children.end(),
                                  [&](std::size_t child) { return !m_nodes[child].primary; }),
                   children.end());
    for (auto& node : directory.unknown) {
        m_nodes[directory.node].children.push_back(m_nodes.size());
        m_nodes.push_back(std::move(node));
    }
    sortByName(m_nodes[directory.node].children, m_nodes);
}

bool IsoTreeReader::readBlocks(Directory& directory) {
    std::size_t left = 0; // in the block before
    for (std::uint32_t block = 0; block < blocksOf(directory.extent.size); ++block) {
        if (hasTooMany()) {
            return false;
        }
        if (!readBlock(directory, offsetOf(directory.extent.block + block), left)) {
            m_medium.add(directory.place, "block " + std::to_string(block) + " has a record out of its form");
            return false;
        }
    }
    return true;
}

/// A record that does not fit into a block is in the next one; with genisoimage, also one that just fits.
bool IsoTreeReader::readBlock(Directory& directory, std::uint64_t offset, std::size_t& left) {
    const auto block = m_medium.read(offset, ISO_BLOCK);
    const auto leastLength = m_medium.isFromXorriso() ? left + 1 : left;
    std::size_t at = 0;
    while (at < block.size() && block[at] != '\0') {
        const IsoRecord record(m_medium, m_kind, {std::string_view(block).substr(at), offset + at});
        if (!record.isWhole() || (at == 0 && record.length() < leastLength)) {
            return false;
        }
        readRecord(directory, record);
        at += record.length();
    }
    left = block.size() - at;
    m_medium.expectZero(directory.place, offset + at, left);
    return at > 0;
}

void IsoTreeReader::readRecord(Directory& directory, const IsoRecord& record) {
    const auto number = directory.count++;
    if (number > 1) {
        readNamed(directory, record);
        return;
    }
    const auto entry = number == 0 ? IsoEntry::self : IsoEntry::parent;
    const bool isOwn = number == 0 || (m_kind == IsoTreeKind::joliet && m_medium.isFromXorriso());
    const auto extent = isOwn ? directory.extent : *extentOf(m_nodes[directory.node].parent);
    const auto place =
        directory.place + (number == 0 ? ", its record of itself" : ", its record of the parent");
    if (!record.isDirectory()) {
        m_medium.add(place, "it is not a directory's");
    }
    record.examine(m_medium, place, entry, extent, directory.node == 0, directory.continuations);
}

void IsoTreeReader::readNamed(Directory& directory, const IsoRecord& record) {
    const auto entry =
        m_kind == IsoTreeKind::primary ? findPrimary(directory, record) : findJoliet(directory, record);
    if (!entry) {
        return;
    }
    const auto child = m_nodes[directory.node].children[*entry];
    const auto& node = m_nodes[child];
    extentOf(child) = record.extent();
    checkOrder(directory, *entry, record.identifier());
    if (record.isDirectory() && !node.isUnknown) {
        m_listed.push_back({record.rawIdentifier(), record.extent().block, m_number, child});
    }
    const bool mustBeSame = m_kind == IsoTreeKind::joliet && !node.isDirectory && node.primary;
    record.examine(m_medium, quote(node.path) + (m_kind == IsoTreeKind::joliet ? " in the Joliet tree" : ""),
                   IsoEntry::named, mustBeSame ? *node.primary : record.extent(), false,
                   directory.continuations);
}

void IsoTreeReader::checkOrder(Directory& directory, std::size_t entry,
                               const std::u16string& identifier) const {
    const auto place = directory.readings.front().names.placeOf(entry, identifier);
    if (place < directory.previousPlace || identifier == directory.previous) {
        m_medium.add(directory.place, "the identifiers are not in order, or not different");
    }
    directory.previous = identifier;
    directory.previousPlace = place;
}

/// Keeps only the readings that are right.
template <typename Fits>
bool IsoTreeReader::choose(Directory& directory, const Fits& fits) {
    auto& readings = directory.readings;
    const auto isRight = [&](const Reading& reading) { return fits(reading.names); };
    const auto firstWrong = std::stable_partition(readings.begin(), readings.end(), isRight);
    if (firstWrong == readings.begin()) {
        return false;
    }
    if (firstWrong != readings.end()) {
        readings.erase(firstWrong, readings.end());
        m_charset = readings.front().charset;
    }
    return true;
}

std::optional<std::size_t> IsoTreeReader::findPrimary(Directory& directory, const IsoRecord& record) {
    const auto& parent = m_nodes[directory.node];
    const auto name = nameOf(record);
    const auto path = pathBelow(parent.path, name);
    const auto& children = parent.children;
    const auto found =
        std::lower_bound(children.begin(), children.end(), name,
                         [&](std::size_t child, auto& text) { return m_nodes[child].name < text; });
    auto& differences = m_medium.examination().differences;
    if (found == children.end() || m_nodes[*found].name != name) {
        differences.addUnexpected(path);
        addUnknown(directory, record, path, name);
        return std::nullopt;
    }
    const auto& node = m_nodes[*found];
    if (node.primary) {
        differences.addTwice(path);
        addUnknown(directory, record, path, name);
        return std::nullopt;
    }
    if (node.isDirectory != record.isDirectory()) {
        if (node.part != nullptr) {
            differences.addDiffering(path, *node.part);
        } else {
            differences.addUnexpected(path);
        }
        addUnknown(directory, record, path, name);
        return std::nullopt;
    }
    const auto entry = static_cast<std::size_t>(found - children.begin());
    if (!choose(directory, [&](const IsoNames& names) { return names.fit(entry, record.identifier()); })) {
        m_medium.add(quote(path), "unexpected identifier");
    }
    directory.identifiers.emplace(entry, record.identifier());
    return entry;
}

void IsoTreeReader::addUnknown(Directory& directory, const IsoRecord& record, const std::string& path,
                               const std::string& name) {
    const auto extent = record.extent();
    ++m_unknown;
    if (record.isDirectory()) {
        m_medium.addUnknown();
    } else {
        m_medium.claim(quote(path), extent.block, blocksOf(extent.size));
    }
    directory.unknown.push_back(
        {path, name, nullptr, directory.node, record.isDirectory(), {}, extent, {}, true});
}

std::optional<std::size_t> IsoTreeReader::findJoliet(Directory& directory, const IsoRecord& record) {
    const auto& children = m_nodes[directory.node].children;
    std::optional<std::size_t> found;
    const bool isKnown = choose(directory, [&](const IsoNames& names) {
        const auto entry = names.find(record.identifier());
        const bool isFree = entry && !m_nodes[children[*entry]].joliet;
        if (isFree && !found) {
            found = entry;
        }
        return isFree;
    });
    const auto place = directory.place + ": " + quote(asciiOf(record.identifier()));
    if (!isKnown) {
        m_medium.add(place, "it is there, but should not be");
        ++m_unknown;
        if (record.isDirectory()) {
            m_medium.addUnknown();
        }
        return std::nullopt;
    }
    if (m_nodes[children[*found]].isDirectory != record.isDirectory()) {
        m_medium.add(place, "it is of another kind");
        return std::nullopt;
    }
    return found;
}

void IsoTreeReader::checkIdentifiers(const Directory& directory) const {
    for (const auto entry : directory.readings.front().names.wrongOf(directory.identifiers)) {
        m_medium.add(quote(m_nodes[m_nodes[directory.node].children[entry]].path), "unexpected identifier");
    }
}

void IsoTreeReader::noteMissing(const Directory& directory) {
    if (directory.count < 2) {
        m_medium.add(directory.place, "its records of itself and the parent are missing");
    }
    for (const auto child : m_nodes[directory.node].children) {
        const auto& node = m_nodes[child];
        if (extentOf(child)) {
            continue;
        }
        if (m_kind == IsoTreeKind::joliet) {
            m_medium.add(directory.place, quote(node.path) + " is missing");
        } else if (node.part != nullptr) {
            m_medium.examination().differences.addMissing(node.path, *node.part);
        } else {
            m_medium.add(quote(node.path), "it is missing");
        }
    }
}

} // namespace velacreate
