/// @file
/// The page that browsers show.
#pragma once

namespace velacreate {

extern const char* const PAGE;

/// @name What stands in its elements of these names
/// @{
extern const char* const PAGE_STYLE;
extern const char* const PAGE_SCRIPT;
/// @}

} // namespace velacreate
