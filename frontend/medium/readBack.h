/// @file
/// Compares whole media byte for byte.
#pragma once

#include "medium/contents.h"

#include <string>
#include <vector>

namespace velacreate {

/// Compares the content of an ISO 9660 image or a zip archive, read by libarchive.
/// @param jobDirectory with the sources of the parts
/// @param expected all files and directories
/// @param ignored top-level names that may be there, too
/// @return a line for each difference: "boot file 'grub.cfg' is missing", "update file 'a/b' differs", "boot
/// file 'img2a' cannot be read: ...", "'x' is there, but should not be". A directory that differs as a whole
/// has one line. The last line is "it cannot be read to its end: ..." when the rest of the archive is
/// unreadable.
/// @throw Failure when a source has changed, or the archive's file cannot be read
std::vector<std::string> compareArchive(int jobDirectory, const Tree& expected, const Descriptor& archive,
                                        const std::vector<std::string>& ignored, const Advance& advance);

/// Compares an ISO 9660 image, or a disc: its content, and its boot record.
/// @return lines as above
/// @throw Failure as above
std::vector<std::string> compareEfiImage(int jobDirectory, const Contents& contents, const Descriptor& image,
                                         const Advance& advance);
std::vector<std::string> comparePowerPcImage(int jobDirectory, const Contents& contents,
                                             const Descriptor& image, const Advance& advance);

/// Compares a disc with its image. What is behind the image's end is padding.
/// @return a line with the place of the first difference; none when they are the same
/// @throw Failure when the image has changed
std::vector<std::string> compareDisc(const Descriptor& image, const Descriptor& disc, const Advance& advance);

/// Compares a network-boot directory: the boot files and the archive.
std::vector<std::string> compareNetbootDirectory(int jobDirectory, const Contents& contents,
                                                 const Descriptor& directory, const Advance& advance);

/// Compares a directory, without following links.
/// @param ignored names that may be there, too
/// @return lines as above; files that cannot be read are differences
std::vector<std::string> compareDirectory(int jobDirectory, const Tree& expected, const Descriptor& directory,
                                          const std::vector<std::string>& ignored, const Advance& advance);

/// Compares the files of a key.
/// @param directory the top of its mounted file system
std::vector<std::string> compareKeyFiles(int jobDirectory, const Contents& contents,
                                         const Descriptor& directory, const Advance& advance);

/// @return unexpected files and directories below a directory, but not what is in unexpected directories.
/// Names are compared without the case of ASCII letters, as FAT does.
std::vector<std::string> unexpectedFiles(const Tree& expected, const Descriptor& directory);

} // namespace velacreate
