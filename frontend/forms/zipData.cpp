#include "forms/zipData.h"

#include "forms/inflater.h"
#include "support/failure.h"

#include <vector>

#include <zlib.h>

namespace velacreate {
namespace {
/// Takes the content of one file.
class Content {
public:
    Content(const Examination& examination, const Part& part) : m_examination(examination), m_part(part) {
        m_examination.sources.enter(part);
    }

    /// Whether it is what follows in the source.
    bool goesOnWith(const unsigned char* data, std::size_t size) {
        if (size > m_part.size - m_size || !m_examination.sources.hold(m_size, data, size)) {
            return false;
        }
        m_size += size;
        m_checksum = crc32_z(m_checksum, data, size);
        m_examination.advance(size);
        return true;
    }

    bool isComplete() const { return m_size == m_part.size && m_examination.sources.isRight(); }
    std::uint32_t checksum() const { return static_cast<std::uint32_t>(m_checksum); }

private:
    const Examination& m_examination;
    const Part& m_part;
    std::uint64_t m_size = 0;
    uLong m_checksum = 0;
};

bool isStoredIn(Content& content, MediumBytes& medium, ByteRange data) {
    while (data.size > 0) {
        const auto bytes = medium.view(data.offset, data.size);
        if (!content.goesOnWith(bytes.data, bytes.size)) {
            return false;
        }
        data.offset += bytes.size;
        data.size -= bytes.size;
    }
    return content.isComplete();
}

bool isInflatedFrom(Content& content, Inflater& inflater) {
    std::vector<unsigned char> buffer(BUFFER_SIZE);
    while (const auto size = inflater.read(buffer.data(), buffer.size())) {
        if (!content.goesOnWith(buffer.data(), size)) {
            return false;
        }
    }
    return inflater.isComplete() && content.isComplete();
}

/// What lies behind the deflated data, and between their blocks.
void examineRest(const Inflater& inflater, const std::string& place, Differences& differences) {
    if (inflater.rest().size > 0) {
        reportUnclaimed(inflater.rest(), differences);
    }
    if (!inflater.hasZeroPadding()) {
        differences.addForm("unused bits in the deflated data of " + quote(place) + " are not zero");
    }
}
} // namespace

void compareZipData(const Examination& examination, const ZipMember& member, const std::string& place,
                    const Part& part, std::uint64_t offset) {
    Content content(examination, part);
    const ByteRange data{offset, member.storedSize};
    bool isSame = false;
    if (member.isDeflated) {
        Inflater inflater(examination.medium, data);
        isSame = isInflatedFrom(content, inflater);
        if (inflater.hasEmptyBlock()) {
            examination.differences.addForm("the deflated data of " + quote(place) + " have an empty block");
            return;
        }
        if (isSame) {
            examineRest(inflater, place, examination.differences);
        }
    } else {
        isSame = isStoredIn(content, examination.medium, data);
    }
    if (!isSame) {
        examination.differences.addDiffering(place, part);
    } else if (content.checksum() != member.checksum) {
        examination.differences.addForm("the headers of " + quote(place) +
                                        " have another checksum than its content");
    }
}

} // namespace velacreate
