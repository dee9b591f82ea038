#include "forms/fatWriter.h"

#include "forms/fatDirectoryWriter.h"
#include "forms/fatSectors.h"
#include "forms/fields.h"
#include "support/failure.h"

#include <algorithm>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {
namespace {
const std::string TOP;

constexpr std::size_t FIELD_SIZE = 4; ///< of a table's entry, and of a hint

std::string directoryOf(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? TOP : path.substr(0, slash);
}

std::string nameIn(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

void writeAt(const Descriptor& image, std::uint64_t offset, const void* data, std::size_t size) {
    const auto* next = static_cast<const unsigned char*>(data);
    while (size > 0) {
        const auto count = pwrite(image.number(), next, size, static_cast<off_t>(offset));
        check(count > 0).orFail("the image cannot be written");
        next += count;
        offset += static_cast<std::uint64_t>(count);
        size -= static_cast<std::size_t>(count);
    }
}

void readWhole(const Descriptor& image, std::uint64_t offset, void* data, std::size_t size) {
    check(readAt(image.number(), data, size, offset) == static_cast<ssize_t>(size))
        .orFail("the empty file system cannot be read");
}

} // namespace

FatWriter::FatWriter(const FatLayout& layout, const Tree& tree, std::time_t time)
    : m_layout(layout), m_tree(tree), m_time(time), m_next(FIRST_CLUSTER) {
    m_directories[TOP];
    for (const auto& [path, part] : tree) {
        m_directories[directoryOf(path)].push_back(
            {nameIn(path), "", part.isDirectory, 0, static_cast<std::uint32_t>(part.size)});
        if (part.isDirectory) {
            m_directories[path];
        }
    }
    place(TOP, directoryAt(TOP).size());
    for (const auto& [path, part] : tree) {
        place(path, part.isDirectory ? directoryAt(path).size() : part.size);
    }
}

void FatWriter::place(const std::string& path, std::uint64_t size) {
    const auto clusters = (size + m_layout.clusterSize() - 1) / m_layout.clusterSize();
    if (clusters > 0) {
        m_chains[path] = {static_cast<std::uint32_t>(m_next), static_cast<std::uint32_t>(clusters)};
    }
    m_next += clusters;
}

FatWriter::Chain FatWriter::chainOf(const std::string& path) const {
    const auto found = m_chains.find(path);
    return found == m_chains.end() ? Chain{} : found->second;
}

bool FatWriter::fits() const {
    const auto isSmall = [&](const auto& directory) {
        return directoryAt(directory.first).size() <= LARGEST_FAT_DIRECTORY;
    };
    return m_next - FIRST_CLUSTER <= m_layout.clusters &&
           std::all_of(m_directories.begin(), m_directories.end(), isSmall);
}

std::uint64_t FatWriter::end() const {
    return m_layout.clusterOffset(m_next);
}

std::vector<unsigned char> FatWriter::directoryAt(const std::string& path) const {
    auto entries = m_directories.at(path);
    for (auto& entry : entries) {
        entry.cluster = chainOf(path.empty() ? entry.name : path + "/" + entry.name).first;
    }
    FatDirectoryForm form;
    form.isTop = path.empty();
    form.hasLabel = true;
    form.cluster = chainOf(path).first;
    const auto parent = directoryOf(path);
    form.parent = parent.empty() ? 0 : chainOf(parent).first;
    return fatDirectoryOf(form, entries, m_time);
}

void FatWriter::write(const Descriptor& image, int directory, const Advance& advance) const {
    writeReserved(image);
    const auto entries = table(image);
    for (unsigned copy = 0; copy < FAT_TABLES; ++copy) {
        writeAt(image, m_layout.tableOffset(copy), entries.data(), entries.size());
    }
    writeDirectory(image, TOP);
    for (const auto& [path, part] : m_tree) {
        if (part.isDirectory) {
            writeDirectory(image, path);
        } else {
            writeFile(image, path, directory, advance);
        }
    }
}

/// With the hints that the kernel would leave.
void FatWriter::writeReserved(const Descriptor& image) const {
    std::vector<unsigned char> reserved(m_layout.reservedSectors * SECTOR_SIZE);
    readWhole(image, m_layout.offset, reserved.data(), reserved.size());
    auto* const hints = &reserved[INFO_SECTOR * SECTOR_SIZE + HINTS.offset];
    putLittleEndian(hints, FIELD_SIZE, m_layout.clusters + FIRST_CLUSTER - m_next);
    putLittleEndian(hints + FIELD_SIZE, FIELD_SIZE, m_next - 1);
    writeAt(image, m_layout.offset, reserved.data(), reserved.size());
}

/// The first two entries stay.
std::vector<unsigned char> FatWriter::table(const Descriptor& image) const {
    std::vector<unsigned char> table(m_layout.tableSize());
    readWhole(image, m_layout.tableOffset(0), table.data(), FIRST_CLUSTER * FIELD_SIZE);
    for (const auto& [path, chain] : m_chains) {
        const auto last = chain.first + chain.clusters - 1;
        for (auto cluster = chain.first; cluster <= last; ++cluster) {
            putLittleEndian(&table[cluster * FIELD_SIZE], FIELD_SIZE,
                            cluster == last ? m_layout.allOnes() : cluster + 1);
        }
    }
    return table;
}

void FatWriter::writeDirectory(const Descriptor& image, const std::string& path) const {
    auto bytes = directoryAt(path);
    const auto chain = chainOf(path);
    bytes.resize(chain.clusters * m_layout.clusterSize());
    writeAt(image, m_layout.clusterOffset(chain.first), bytes.data(), bytes.size());
}

void FatWriter::writeFile(const Descriptor& image, const std::string& path, int directory,
                          const Advance& advance) const {
    const auto& part = m_tree.at(path);
    const auto source = openBeneath(directory, part.source, O_RDONLY);
    check(source.isOpen()).orFail(quote(part.source));
    const auto chain = chainOf(path);
    std::vector<unsigned char> buffer(BUFFER_SIZE);
    const auto whole = chain.clusters * m_layout.clusterSize();
    for (std::uint64_t done = 0; done < whole; done += buffer.size()) {
        buffer.resize(std::min<std::uint64_t>(buffer.size(), whole - done));
        const auto wanted = std::min<std::uint64_t>(buffer.size(), part.size - std::min(part.size, done));
        const auto count = readAt(source.number(), buffer.data(), wanted, done);
        check(count >= 0).orFail(quote(part.source));
        if (static_cast<std::uint64_t>(count) != wanted) {
            throw Failure(quote(part.source) + " has become shorter");
        }
        std::fill(buffer.begin() + count, buffer.end(), 0);
        writeAt(image, m_layout.clusterOffset(chain.first) + done, buffer.data(), buffer.size());
        advance(wanted);
    }
}

} // namespace velacreate
