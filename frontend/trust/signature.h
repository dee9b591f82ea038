/// @file
/// Checks signatures, by the program minisign.
#pragma once

#include "support/descriptor.h"

#include <cstddef>
#include <string>
#include <vector>

namespace velacreate {

/// The largest file that minisign reads as a signature has less, in bytes.
constexpr std::size_t LARGEST_SIGNATURE = 10 << 10;

struct GoodSignature {
    std::string key;     ///< the path of the public key
    std::string comment; ///< the trusted one; it is signed, too
};

/// The public keys that the user trusts.
class PublicKeys {
public:
    /// @param paths  files; or directories, of which all files named *.pub are taken
    /// @throw Refusal when one cannot be read, is no public key, or minisign is missing
    explicit PublicKeys(const std::vector<std::string>& paths);

    /// @param content    what is signed; its offset is not used
    /// @param signature  the content of the signature's file
    /// @throw Untrusted with a sentence about "its signature"; Failure when minisign cannot be run
    GoodSignature requireGood(const Descriptor& content, const std::string& signature) const;

private:
    struct PublicKey {
        std::string path;
        std::string text; ///< in base 64
        std::string id;   ///< bytes, also in the key's signatures
    };

    void add(const std::string& path);
    void addDirectory(const std::string& path);

    std::vector<PublicKey> m_keys;
};

} // namespace velacreate
