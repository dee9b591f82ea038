/// @file
/// The comparison of a whole medium, byte for byte, with what was to be put on it.
#pragma once

#include "medium/contents.h"

#include <string>
#include <vector>

namespace velacreate {

/// Compares the content of an ISO 9660 image or a zip archive, streaming, through libarchive.
/// @param job directory  where the parts' sources are
/// @param expected   all that must be there
/// @param ignored    top-level names that may be there besides, such as "boot.catalog"
/// @return a line for each difference: "boot file 'grub.cfg' is missing", "update file 'a/b' differs",
/// "boot file 'img2a' cannot be read: ...", "'x' is there, but should not be"; of a directory that is missing
/// or too much as a whole, what is in it has none. The last one is "it cannot be read to its end: ..." when
/// the archive is damaged such that what comes behind stays unknown.
/// @throw Failure when a source is not what it was, or the file that the archive is in cannot be read
std::vector<std::string> compareArchive(int jobDirectory, const Tree& expected, const Descriptor& archive,
                                        const std::vector<std::string>& ignored, const Advance& advance);

/// Compares an ISO 9660 image, or a disc that was burned from one: its content, and how a machine starts from
/// it.
/// @return lines as above, those of the boot record last
/// @throw Failure as above
std::vector<std::string> compareEfiImage(int jobDirectory, const Contents& contents, const Descriptor& image,
                                         const Advance& advance);
std::vector<std::string> comparePowerPcImage(int jobDirectory, const Contents& contents,
                                             const Descriptor& image, const Advance& advance);

/// Compares a disc with the image that it was burned from, as far as the image goes; what lies behind is
/// padding.
/// @return a line that says where they part or the disc ends or cannot be read; none when they are the same
/// @throw Failure when the image is not what it was
std::vector<std::string> compareDisc(const Descriptor& image, const Descriptor& disc, const Advance& advance);

/// Compares a network-boot directory: the boot files, and what is in its archive.
/// @param directory  the package's
/// @return lines as above
std::vector<std::string> compareNetbootDirectory(int jobDirectory, const Contents& contents,
                                                 const Descriptor& directory, const Advance& advance);

/// Compares a directory, such as a mounted key, following no link.
/// @param ignored  what may be there besides, such as what `beyond` has found
/// @return lines as above, what the medium's own errors keep from being read among them
std::vector<std::string> compareDirectory(int jobDirectory, const Tree& expected, const Descriptor& directory,
                                          const std::vector<std::string>& ignored, const Advance& advance);

/// Compares the files of a key.
/// @param directory  the top directory of its mounted file system
/// @return lines as above
std::vector<std::string> compareKeyFiles(int jobDirectory, const Contents& contents,
                                         const Descriptor& directory, const Advance& advance);

/// @return the files and directories below a directory that are not expected; where a directory is not, only
/// it is named and not what is in it. Names are compared as FAT does, without regard to the case of ASCII
/// letters.
std::vector<std::string> unexpectedFiles(const Tree& expected, const Descriptor& directory);

} // namespace velacreate
