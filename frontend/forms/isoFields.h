/// @file
/// A structure of ISO 9660, field by field.
#pragma once

#include "forms/isoMedium.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace velacreate {

/// Bytes in memory, and where they are on the medium.
struct IsoBytes {
    std::string_view data;
    std::uint64_t offset;
};

/// Holds a structure against its form, from its first byte on. Adds one difference, for the first field that
/// differs.
class IsoFields {
public:
    /// @param place  of the structure, for the message
    IsoFields(const IsoMedium& medium, std::string place, const IsoBytes& bytes);

    /// The next field must have this value.
    void expect(const char* field, std::string_view value);
    void expect(const char* field, std::size_t size, char value) { expect(field, std::string(size, value)); }

    /// The next field may have any value.
    void vary(const char* field, std::size_t size, Variation variation);

    /// The next field may have any value, but the same in both byte orders, and a value of these bits.
    void varyNumber(const char* field, Variation variation, std::uint32_t mask, std::uint32_t fixed);

    /// The next fields are elsewhere.
    void continueAt(const IsoBytes& bytes);

    /// @return the fields that were not seen yet
    std::string_view rest() const { return m_bytes.data; }

    /// Adds the difference of a field.
    void fail(const std::string& field);

    /// @return whether there was no difference
    bool end();

private:
    bool take(const char* field, std::size_t size);

    const IsoMedium& m_medium;
    std::string m_place;
    IsoBytes m_bytes; ///< without the fields that were seen
    std::string_view m_field;
    bool m_isFine = true;
};

} // namespace velacreate
