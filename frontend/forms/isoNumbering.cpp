#include "forms/isoNumbering.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <string_view>

namespace velacreate {
namespace {
constexpr std::size_t MOST_DIGITS = 7;

struct Parts {
    std::u16string stem;
    std::u16string extension;
};

constexpr std::u16string_view DIGITS = u"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

std::u16string numberText(std::size_t number, std::size_t digits, std::size_t base) {
    std::u16string text(digits, u'0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit, number /= base) {
        *digit = DIGITS[number % base];
    }
    return text;
}

std::optional<std::size_t> numberAt(const std::u16string& text, std::size_t place, std::size_t digits,
                                    std::size_t base) {
    if (text.size() < place + digits) {
        return std::nullopt;
    }
    std::size_t number = 0;
    for (std::size_t at = place; at < place + digits; ++at) {
        const auto digit = DIGITS.find(text[at]);
        if (digit >= base) {
            return std::nullopt;
        }
        number = number * base + digit;
    }
    return number;
}

/// Numbers the entries of one directory.
class Numbering {
public:
    Numbering(IsoTreeKind kind, std::vector<IsoIdentifier>& identifiers)
        : m_kind(kind), m_identifiers(identifiers) {
        for (const auto& identifier : identifiers) {
            m_taken.insert(identifier.text);
        }
    }

    /// @param group  entries with the same identifier
    void number(const std::vector<std::size_t>& group) {
        for (std::size_t digits = 1; digits <= MOST_DIGITS; ++digits) {
            if (isNumbered(group, digits)) {
                return;
            }
        }
    }

private:
    /// When the numbers do not suffice, more digits are appended to what the first entry has got until then.
    bool isNumbered(const std::vector<std::size_t>& group, std::size_t digits) {
        const auto parts = partsOf(m_identifiers[group.front()], digits);
        std::size_t end = 1;
        for (std::size_t digit = 0; digit < digits; ++digit) {
            end *= 10;
        }
        std::size_t number = 0;
        for (const auto entry : group) {
            std::u16string text;
            do {
                if (number == end) {
                    return false;
                }
                text = parts.stem + numberText(number++, digits, 10) + parts.extension;
            } while (m_taken.count(text) > 0);
            m_taken.erase(m_taken.find(m_identifiers[entry].text));
            m_taken.insert(text);
            m_identifiers[entry].text = text;
        }
        return true;
    }

    /// @return both sides of the number; the second one with the dot
    Parts partsOf(const IsoIdentifier& identifier, std::size_t digits) const {
        const bool isJoliet = m_kind == IsoTreeKind::joliet;
        const auto& text = identifier.text;
        const auto dot = isJoliet && identifier.isDirectory ? std::u16string::npos : text.rfind(u'.');
        auto stem = text.substr(0, dot);
        auto extension = dot == std::u16string::npos ? std::u16string() : text.substr(dot + 1);
        const auto longest = isJoliet ? LONGEST_JOLIET_NAME - extension.size() : longestStemOf(identifier);
        if (stem.size() + digits > longest) {
            const auto least = std::max(longest, digits + 1);
            stem.resize(least - digits);
            extension.resize(extension.size() - (least - longest));
        }
        return {stem, extension.empty() ? extension : u'.' + extension};
    }

    /// With its number, a file without an extension may be longer than its name alone.
    static std::size_t longestStemOf(const IsoIdentifier& identifier) {
        const bool hasExtension = identifier.text.find(u'.') != std::u16string::npos;
        return hasExtension || identifier.isDirectory ? LONGEST_ISO_STEM
                                                      : LONGEST_ISO_STEM + 1 + LONGEST_ISO_EXTENSION;
    }

    IsoTreeKind m_kind;
    std::vector<IsoIdentifier>& m_identifiers;
    std::multiset<std::u16string> m_taken;
};
} // namespace

void numberLikeXorriso(IsoTreeKind kind, std::vector<IsoIdentifier>& identifiers) {
    std::vector<std::size_t> order(identifiers.size());
    std::iota(order.begin(), order.end(), 0);
    const std::vector<IsoIdentifier> plain = identifiers;
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t one, std::size_t other) { return plain[one].text < plain[other].text; });
    Numbering numbering(kind, identifiers);
    for (auto begin = order.begin(); begin != order.end();) {
        const auto end = std::find_if(
            begin, order.end(), [&](std::size_t entry) { return plain[entry].text != plain[*begin].text; });
        if (end - begin > 1) {
            numbering.number({begin, end});
        }
        begin = end;
    }
}

std::u16string collidingPart(const std::u16string& identifier) {
    constexpr std::size_t mostDigits = 5;
    const auto end = identifier.find(u';');
    if (end == std::u16string::npos) {
        return identifier;
    }
    const auto digits = identifier.substr(end + 1);
    const bool isVersion = !digits.empty() && digits.size() <= mostDigits &&
                           digits.find_first_not_of(u"0123456789") == std::u16string::npos;
    return isVersion ? identifier.substr(0, end) : identifier;
}

bool isFromGenisoimage(const std::u16string& identifier, const std::u16string& plain,
                       const std::multiset<std::u16string>& all) {
    if (all.count(collidingPart(identifier)) != 1) {
        return false;
    }
    if (identifier == plain) {
        return true;
    }
    constexpr std::size_t digits = 3;
    constexpr std::size_t base = 36;
    const auto name = withoutVersion(plain);
    const bool isHidden = name.find(u'.') == 0;
    const auto dot = std::min(isHidden ? name.rfind(u'.') : name.find(u'.'), name.size());
    auto stem = name.substr(0, dot);
    const auto extension = name.substr(dot);
    if (extension.size() + digits <= LONGEST_POWER_PC_NAME) {
        stem.resize(std::min(stem.size(), LONGEST_POWER_PC_NAME - digits - extension.size()));
    }
    const auto number = numberAt(identifier, stem.size(), digits, base);
    const auto numbered = [&](std::size_t other) {
        return stem + numberText(other, digits, base) + extension;
    };
    return number && identifier == numbered(*number) && all.count(collidingPart(plain)) > 0 &&
           (*number == 0 || all.count(numbered(*number - 1)) > 0); // the smallest number that is free
}

} // namespace velacreate
