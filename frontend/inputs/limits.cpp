#include "inputs/limits.h"

#include "forms/fatNames.h"
#include "forms/isoIdentifiers.h"
#include "inputs/names.h"
#include "support/failure.h"
#include "support/texts.h"
#include "support/utf8.h"

#include <algorithm>
#include <map>
#include <set>

#include <sys/statvfs.h>

namespace velacreate {
namespace {
constexpr std::uint64_t LARGEST_FILE = (std::uint64_t{1} << 32) - 1;

std::size_t utf16Units(const std::wstring& text) {
    const auto pairs = std::count_if(text.begin(), text.end(),
                                     [](wchar_t character) { return character > LAST_OF_ONE_UNIT; });
    return text.size() + static_cast<std::size_t>(pairs);
}

/// @return why FAT cannot hold the part of a name; empty when it can
std::string objectionTo(const std::string& part) {
    const std::size_t forbidden = part.find_first_of(FORBIDDEN_IN_FAT_NAMES);
    if (forbidden != std::string::npos) {
        return std::string("holds the character ") + part[forbidden];
    }
    if (holdsControlCharacter(part)) {
        return "holds a control character";
    }
    if (part.empty() || part.find_last_of(FORBIDDEN_AT_END_OF_FAT_NAMES) == part.size() - 1) {
        return "has a part that ends with a blank or a dot";
    }
    const auto characters = decoded(part);
    if (!characters) {
        return "is not in UTF-8";
    }
    return utf16Units(*characters) > LONGEST_FAT_NAME ? "has a part that is too long" : "";
}

/// @return a part of a name as genisoimage writes it
std::wstring jolietName(std::wstring part) {
    const std::wstring forbidden = L"*:;?\\";
    std::replace_if(
        part.begin(), part.end(),
        [&](wchar_t character) { return forbidden.find(character) != std::wstring::npos; }, L'_');
    return part.substr(0, LONGEST_JOLIET_NAME);
}
} // namespace

void requireFatNames(const std::vector<std::string>& places) {
    std::set<std::string> fine; // a directory is part of many places, but is checked once
    std::map<std::wstring, const std::string*> known;
    for (const std::string& place : places) {
        for (const std::string& part : partsOf(place)) {
            if (!fine.insert(part).second) {
                continue;
            }
            if (const std::string objection = objectionTo(part); !objection.empty()) {
                throw Refusal(quote(place) + " " + objection + ", which a FAT file system cannot carry");
            }
        }
        const auto [other, isNew] = known.try_emplace(withoutCase(decoded(place).value()), &place);
        if (!isNew && *other->second != place) {
            throw Refusal(quote(*other->second) + " and " + quote(place) +
                          " differ only in upper and lower case, which are the same to a FAT file system");
        }
    }
}

void requireJolietNames(const std::vector<std::string>& places) {
    std::map<std::wstring, const std::string*> known;
    for (const std::string& place : places) {
        std::wstring name;
        for (const std::string& part : partsOf(place)) {
            const auto characters = decoded(part);
            if (!characters || utf16Units(*characters) > characters->size()) {
                throw Refusal(quote(place) +
                              (characters ? " holds a character beyond U+FFFF" : " is not in UTF-8") +
                              ", which a PowerPC image cannot carry");
            }
            name += L'/' + jolietName(*characters);
        }
        const auto [other, isNew] = known.try_emplace(name, &place);
        if (!isNew) {
            throw Refusal(quote(*other->second) + " and " + quote(place) +
                          " have the same name in the Joliet tree of a PowerPC image");
        }
    }
}

void requireFileSize(const std::string& place, std::uint64_t size, const std::string& medium) {
    if (size > LARGEST_FILE) {
        throw Refusal(quote(place) + " has " + sizeText(size) + "; " + medium +
                      " holds files of less than 4 GiB");
    }
}

void requireExecutable(const NamedDirectory& directory, const std::string& advice) {
    struct statvfs about {};
    check(fstatvfs(directory.number(), &about) == 0).orFail(quote(directory.path));
    refuseIf((about.f_flag & ST_NOEXEC) != 0, "the job cannot start its programs in " +
                                                  quote(directory.path) + ", which is mounted with noexec; " +
                                                  advice);
}

void requireSpace(const NamedDirectory& directory, std::uint64_t bytes) {
    struct statvfs space {};
    check(fstatvfs(directory.number(), &space) == 0).orFail("the free space in " + quote(directory.path));
    const std::uint64_t free = space.f_bavail * space.f_frsize;
    refuseIf(free < bytes, "the job needs " + sizeText(bytes) + " in " + quote(directory.path) + ", where " +
                               sizeText(free) + " are free");
}

} // namespace velacreate
