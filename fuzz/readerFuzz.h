/// @file
/// What each fuzz target chooses.
#pragma once

#include "forms/examination.h"

#include <string>

/// Runs the reader.
void examineMedium(const velacreate::Examination& examination, const velacreate::Tree& expected);

/// @return a command for which another reader unpacks the medium to the directory "unpacked". Run only for
/// media without a difference.
std::string unpackingCommand(const std::string& path);
