/// @file
/// Inputs of a job that have to be signed.
#pragma once

#include "support/descriptor.h"
#include "trust/signature.h"

#include <optional>
#include <string>

namespace velacreate {

/// The file FILE.minisig beside a file.
struct SignatureFile {
    std::string content; ///< at most LARGEST_SIGNATURE bytes
    struct stat found;
};

/// @return nothing when it is missing
/// @throw Refusal when it cannot be read, or is no file
std::optional<SignatureFile> signatureBeside(const std::string& path);

/// @param content    of the signed file
/// @param signature  may be missing
/// @param path       of the signed file
/// @param what       that file, for messages, such as "the tool package 'x'"
/// @throw Refusal when the signature is missing, or not good by one of the keys
GoodSignature requireSigned(const Descriptor& content, const std::optional<SignatureFile>& signature,
                            const std::string& path, const std::string& what, const PublicKeys& keys);

/// Copies a file to where no other user can change it.
/// @param what   for messages
/// @param place  the copy lies on the same file system, without a name
/// @throw Refusal when there is too little free space; Failure when it cannot be copied
Descriptor privateCopyOf(const Descriptor& file, const std::string& what, const NamedDirectory& place);

/// @return a line for the user
std::string signedText(const std::string& what, const GoodSignature& signature);

} // namespace velacreate
