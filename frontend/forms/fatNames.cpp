#include "forms/fatNames.h"

#include "support/utf8.h"

#include <algorithm>
#include <utility>

namespace velacreate {
namespace {
constexpr std::size_t BASE_LENGTH = 8;
constexpr std::size_t EXTENSION_LENGTH = 3;
constexpr char FOREIGN = '\x80'; ///< a character of the code page, whichever it is
constexpr unsigned char FIRST_FOREIGN = 0x7f;
constexpr unsigned char DELETED_IN_SHORT_NAME = 0x05; ///< written for 0xe5, which would mean a deleted entry

bool holds(const std::string& characters, char16_t unit) {
    return unit < FIRST_FOREIGN && characters.find(static_cast<char>(unit)) != std::string::npos;
}

bool isHighSurrogate(char16_t unit) {
    return unit >= 0xd800 && unit < 0xdc00;
}

bool isLowSurrogate(char16_t unit) {
    return unit >= 0xdc00 && unit < 0xe000;
}

bool isForbidden(char16_t unit) {
    return unit < u' ' || unit == 0x7f || holds(FORBIDDEN_IN_FAT_NAMES, unit);
}

void append(std::string& text, char32_t character) {
    const auto add = [&](char32_t byte) { text += static_cast<char>(byte); };
    const auto addRest = [&](unsigned shift) { add(0x80 | (character >> shift & 0x3f)); };
    if (character < 0x80) {
        add(character);
    } else if (character < 0x800) {
        add(0xc0 | character >> 6U);
        addRest(0);
    } else if (character < 0x10000) {
        add(0xe0 | character >> 12U);
        addRest(6);
        addRest(0);
    } else {
        add(0xf0 | character >> 18U);
        addRest(12);
        addRest(6);
        addRest(0);
    }
}

/// The part of a short name before the dot, or behind it.
struct Half {
    std::string text;
    bool isWhole = true; ///< nothing is left out or replaced
    bool isCapital = true;
    bool hasForeign = false;
};

Half halfOf(const std::u16string& name, std::size_t length) {
    Half half;
    for (const char16_t unit : name) {
        if (holds(". ", unit)) {
            half.isWhole = false;
        } else if (half.text.size() == length) {
            half.isWhole = false;
            break;
        } else if (holds("[];,+=", unit)) {
            half.isWhole = false;
            half.text += '_';
        } else if (unit >= FIRST_FOREIGN) {
            half.hasForeign = true;
            half.text += FOREIGN;
        } else {
            const bool isSmall = unit >= u'a' && unit <= u'z';
            half.isCapital = half.isCapital && !isSmall;
            half.text += static_cast<char>(isSmall ? unit - u'a' + u'A' : unit);
        }
    }
    return half;
}

/// Without an extension when there is nothing but dots and blanks before it.
std::pair<std::u16string, std::u16string> splitName(const std::u16string& name) {
    const auto dot = name.rfind(u'.');
    const bool hasExtension = dot != std::u16string::npos && name.find_first_not_of(u". ") < dot;
    return hasExtension ? std::pair(name.substr(0, dot), name.substr(dot + 1))
                        : std::pair(name, std::u16string());
}

std::string padded(std::string text, std::size_t length) {
    text.resize(length, ' ');
    return text;
}

std::string withoutPadding(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

/// Both parts of a name.
struct Halves {
    Half base;
    Half extension;

    bool areWhole() const { return base.isWhole && extension.isWhole; }
    bool haveForeign() const { return base.hasForeign || extension.hasForeign; }
    bool areCapital() const { return base.isCapital && extension.isCapital; }
};

Halves halvesOf(const std::u16string& name) {
    const auto [before, behind] = splitName(name);
    return {halfOf(before, BASE_LENGTH), halfOf(behind, EXTENSION_LENGTH)};
}

bool matches(const FatShortName& name, const std::string& base, const std::string& extension) {
    const auto wanted = padded(base, BASE_LENGTH) + padded(extension, EXTENSION_LENGTH);
    return std::equal(name.begin(), name.end(), wanted.begin(), [](unsigned char found, char expected) {
        return expected == FOREIGN ? found == '_' || found > FIRST_FOREIGN || found == DELETED_IN_SHORT_NAME
                                   : found == static_cast<unsigned char>(expected);
    });
}

constexpr std::size_t MOST_BEFORE_TAIL = 6;
constexpr std::size_t MOST_BEFORE_NUMBER = 2;
constexpr std::size_t NUMBER_LENGTH = 4;
constexpr char LARGEST_TAIL = '9';
constexpr char LARGEST_TAIL_OF_NUMBER = '8';

bool hasTail(const FatShortName& name, const std::string& start, char largest, const std::string& extension) {
    const char digit = static_cast<char>(name.at(start.size() + 1));
    return digit >= '1' && digit <= largest && matches(name, start + "~" + digit, extension);
}

/// Such as "EFIBOO~1", or "EF0A1B~2" where nine of those are taken.
bool hasTail(const FatShortName& name, const std::string& base, const std::string& extension) {
    const auto start = base.substr(0, MOST_BEFORE_NUMBER);
    const auto* const begin = name.begin() + start.size();
    const std::string number(begin, begin + NUMBER_LENGTH);
    const bool isNumber = number.find_first_not_of("0123456789ABCDEF") == std::string::npos;
    return hasTail(name, base.substr(0, MOST_BEFORE_TAIL), LARGEST_TAIL, extension) ||
           (isNumber && hasTail(name, start + number, LARGEST_TAIL_OF_NUMBER, extension));
}

bool isShortCharacter(unsigned char character) {
    const std::string others = "!#$%&'()-@^_`{}~";
    return character > FIRST_FOREIGN || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           others.find(static_cast<char>(character)) != std::string::npos;
}

/// Such as "GRUB    ".
template <typename Iterator>
bool isPadded(Iterator begin, Iterator end) {
    return std::all_of(std::find(begin, end, ' '), end,
                       [](unsigned char character) { return character == ' '; });
}
std::string fourDigits(unsigned number) {
    std::string text;
    for (unsigned shift = 16; shift > 0; shift -= 4) {
        text += "0123456789ABCDEF"[number >> (shift - 4) & 0xfU];
    }
    return text;
}

/// Spreads names that begin alike.
unsigned spreadOf(const std::u16string& name) {
    constexpr unsigned factor = 31;
    unsigned sum = 0;
    for (const char16_t unit : name) {
        sum = sum * factor + unit;
    }
    return sum;
}
} // namespace

FatShortName shortNameOf(const std::string& text) {
    FatShortName name{};
    name.fill(' ');
    std::copy(text.begin(), text.end(), name.begin());
    return name;
}

std::string textOf(const FatShortName& name) {
    std::string text;
    for (const auto character : name) {
        text += character < FIRST_FOREIGN && character >= ' ' ? static_cast<char>(character) : '?';
    }
    const auto base = withoutPadding(text.substr(0, BASE_LENGTH));
    const auto extension = withoutPadding(text.substr(BASE_LENGTH));
    return extension.empty() ? base : base + "." + extension;
}

std::string textOf(const std::u16string& name) {
    std::string text;
    for (std::size_t at = 0; at < name.size(); ++at) {
        const char16_t unit = name[at];
        if (isHighSurrogate(unit) && at + 1 < name.size() && isLowSurrogate(name[at + 1])) {
            append(text, 0x10000 + ((unit & 0x3ffU) << 10U) + (name[at + 1] & 0x3ffU));
            ++at;
        } else if (isForbidden(unit) || isHighSurrogate(unit) || isLowSurrogate(unit)) {
            text += '?';
        } else {
            append(text, unit);
        }
    }
    return text;
}

bool isShortName(const FatShortName& name) {
    const auto* const extension = name.begin() + BASE_LENGTH;
    const bool isFirstAllowed = isShortCharacter(name[0]) || name[0] == DELETED_IN_SHORT_NAME;
    return isFirstAllowed && isPadded(name.begin(), extension) && isPadded(extension, name.end()) &&
           std::all_of(name.begin() + 1, name.end(), [](unsigned char character) {
               return character == ' ' || isShortCharacter(character);
           });
}

bool isLongName(const std::u16string& name) {
    return !name.empty() && name.size() <= LONGEST_FAT_NAME &&
           !holds(FORBIDDEN_AT_END_OF_FAT_NAMES, name.back()) && textOf(name).find('?') == std::string::npos;
}

bool isFromLongName(const FatShortName& name, const std::u16string& longName) {
    const auto halves = halvesOf(longName);
    const auto& base = halves.base.text;
    const auto& extension = halves.extension.text;
    if (fitsShortName(longName)) {
        return !halves.areCapital() && matches(name, base, extension);
    }
    return hasTail(name, base, extension) || (halves.areWhole() && matches(name, base, extension));
}

std::u16string longNameOf(const std::string& name) {
    const auto characters = decoded(name);
    std::u16string units;
    for (const auto character : characters.value()) {
        const auto value = static_cast<char32_t>(character);
        if (value > LAST_OF_ONE_UNIT) {
            units += static_cast<char16_t>(0xd800U + ((value - 0x10000U) >> 10U));
            units += static_cast<char16_t>(0xdc00U + (value & 0x3ffU));
        } else {
            units += static_cast<char16_t>(value);
        }
    }
    return units;
}

bool fitsShortName(const std::u16string& name) {
    const auto halves = halvesOf(name);
    return halves.areWhole() && !halves.haveForeign();
}

bool needsNoLongName(const std::u16string& name) {
    return fitsShortName(name) && halvesOf(name).areCapital();
}

FatShortName newShortName(const std::u16string& name, const std::set<FatShortName>& taken) {
    const auto halves = halvesOf(name);
    const auto inAscii = [](std::string text) {
        std::replace(text.begin(), text.end(), FOREIGN, '_');
        return text;
    };
    const auto base = inAscii(halves.base.text);
    const auto extension = padded(inAscii(halves.extension.text), EXTENSION_LENGTH);
    const auto with = [&](const std::string& start, const std::string& tail) {
        return shortNameOf(padded(start + tail, BASE_LENGTH) + extension);
    };
    if (fitsShortName(name)) {
        return with(base, "");
    }
    for (char digit = '1'; digit <= LARGEST_TAIL; ++digit) {
        const auto candidate = with(base.substr(0, MOST_BEFORE_TAIL), {'~', digit});
        if (taken.count(candidate) == 0) {
            return candidate;
        }
    }
    for (unsigned number = spreadOf(name);;
         ++number) { // a directory has fewer entries than there are numbers
        const auto start = base.substr(0, MOST_BEFORE_NUMBER) + fourDigits(number & 0xffffU);
        for (char digit = '1'; digit <= LARGEST_TAIL_OF_NUMBER; ++digit) {
            const auto candidate = with(start, {'~', digit});
            if (taken.count(candidate) == 0) {
                return candidate;
            }
        }
    }
}

unsigned char checkSum(const FatShortName& name) {
    unsigned sum = 0;
    for (const auto character : name) {
        sum = ((sum >> 1U | sum << 7U) + character) & 0xffU;
    }
    return static_cast<unsigned char>(sum);
}

} // namespace velacreate
