/// @file
/// The files that a command line names.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace velacreate {

/// Whether an option besides --events, or an argument, names a file, a directory that it lies in, or an image
/// of which it is the block map or the checksum. A word that names no file is taken for a name, too.
bool isNamedOtherwise(const std::string& file, const CLI::App& command);

} // namespace velacreate
