/// @file
/// The sums that update files must have.
#pragma once

#include "inputs/updateFiles.h"
#include "trust/mediumList.h"
#include "trust/signature.h"

#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// A list in the form of sha256sum. Its names are paths below the directory of the update files.
///
/// The list and its signature may be update files themselves, although the list cannot hold its own sum. They
/// must then be the files that were read here.
class RequiredSums {
public:
    /// Reads the list. It may hold escaped names, as sha256sum writes them; "./" in front of a name; "*" in
    /// place of the second blank; and other line ends.
    /// @param keys  null, or the signature beside the list must be good by one of them
    /// @throw Refusal when there is no good signature, or for a list that is larger than 64 MiB, has a line
    /// of another form or two sums of one file
    RequiredSums(const std::string& path, const PublicKeys* keys);

    /// Refuses update files that are not in the list.
    void requireListed(const UpdateFiles& updates) const;

    /// Refuses update files that have other sums.
    /// @param sums  of all update files, by their place
    void requireEqual(const UpdateFiles& updates, const Sums& sums) const;

    /// For messages.
    const std::string& text() const { return m_text; }

    /// Nothing without keys.
    const std::optional<GoodSignature>& signature() const { return m_signature; }

private:
    struct OwnFile {
        struct stat found;
        std::string sum;
    };

    void add(const std::string& line, std::size_t number);

    /// @return empty for a file that is not in the list
    std::string sumFor(const UpdateFiles::Entry& entry) const;

    std::string m_text;
    Sums m_sums; ///< by source
    std::vector<OwnFile> m_own;
    std::optional<GoodSignature> m_signature;
};

} // namespace velacreate
