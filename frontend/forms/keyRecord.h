/// @file
/// The boot record of a key, and the gap between it and the file system.
#pragma once

#include "forms/examination.h"
#include "forms/otherFiles.h"
#include "support/descriptor.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// What a key must have before its file system: what a clone image has there, or its sum.
struct KeyHead {
    /// Opens a clone image as it is in the tool package, by its name; closed when the package lacks it. Empty
    /// when there is no package.
    std::function<Descriptor(const std::string& name)> openCloneImage;
    std::vector<std::string> bootCodes = {}; ///< see sumOfBootCode(); empty when they are not known
};

/// What a key, or the image of one, must be like.
struct KeyForm {
    KeyHead head;
    bool isImage; ///< of a key; its file system may fill it or not
    OtherFiles others;
};

/// @return the fourth partition in a boot record; none when there is none, or it ends behind the medium
std::optional<ByteRange> keyPartition(MediumBytes& medium);

/// @return where the file system of a key's image lies: its fourth partition, or from byte 32256 on when
/// there is no such partition
/// @throw Failure
ByteRange fileSystemIn(const Descriptor& keyImage);

/// Whether a clone image, or its beginning, has a fourth partition that the library can fit to a key.
bool canBeFitted(const Descriptor& cloneImage);

/// What a key has before its file system, when a clone image was fitted to it.
/// @param capacity  of the key, in sectors
/// @return whole sectors; empty when the clone image cannot be fitted
std::vector<unsigned char> headOfKey(const Descriptor& cloneImage, std::uint64_t capacity);

/// The sum of a key's boot code: of what it has before its file system, with zeros for the disk signature and
/// the field after it, and for all that a clone image gets when it is fitted to a key.
/// @param head  a boot record, and whole sectors up to the fourth partition
/// @return SHA-256
std::string sumOfBootCode(std::vector<unsigned char> head);

/// @return those of the keys that can be made with these clone images, each once
std::vector<std::string>
sumsOfBootCode(const std::function<Descriptor(const std::string& cloneImage)>& openCloneImage);

/// Demands all that lies before the file system as it is in the clone image, when that is fitted to the key
/// or to a smaller one. It may be zero in an image, unless there are sums. Without a tool package, it must
/// have one of the sums, and the places that these do not cover must agree with each other.
/// @return where the file system lies; none, after a difference was added, when that is not known
std::optional<ByteRange> examineKeyRecord(const Examination& examination, const KeyForm& form);

} // namespace velacreate
