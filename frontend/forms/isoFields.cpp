#include "forms/isoFields.h"

#include <utility>

namespace velacreate {

IsoFields::IsoFields(const IsoMedium& medium, std::string place, const IsoBytes& bytes)
    : m_medium(medium), m_place(std::move(place)), m_bytes(bytes) {}

void IsoFields::fail(const std::string& field) {
    if (m_isFine) {
        m_isFine = false;
        m_medium.add(m_place, "unexpected value of " + field);
    }
}

bool IsoFields::take(const char* field, std::size_t size) {
    if (m_isFine && m_bytes.data.size() < size) {
        fail(field);
    }
    if (!m_isFine) {
        return false;
    }
    m_field = m_bytes.data.substr(0, size);
    m_bytes.data.remove_prefix(size);
    m_bytes.offset += size;
    return true;
}

void IsoFields::expect(const char* field, std::string_view value) {
    if (take(field, value.size()) && m_field != value) {
        fail(field);
    }
}

void IsoFields::vary(const char* field, std::size_t size, Variation variation) {
    if (take(field, size) && m_medium.examination().variation) {
        m_medium.examination().variation(variation, {m_bytes.offset - size, size});
    }
}

void IsoFields::varyNumber(const char* field, Variation variation, std::uint32_t mask, std::uint32_t fixed) {
    constexpr std::size_t size = 8;
    vary(field, size, variation);
    if (!m_isFine) {
        return;
    }
    const auto value = numberIn(m_field, 0);
    if (m_field != bothEndian(value, size / 2) || (value & mask) != fixed) {
        fail(field);
    }
}

void IsoFields::continueAt(const IsoBytes& bytes) {
    if (m_isFine) {
        m_bytes = bytes;
    }
}

bool IsoFields::end() {
    if (!m_bytes.data.empty()) {
        fail("the length");
    }
    return m_isFine;
}

} // namespace velacreate
