/// @file
/// How velacreate ends, besides with 0 or the library's result code.
#ifndef VELACREATE_EXITSTATUS_H
#define VELACREATE_EXITSTATUS_H

namespace velacreate {

constexpr int EXIT_REFUSED = 2;       ///< nothing has been done
constexpr int EXIT_DIFFERENT = 3;     ///< the medium, read back, is not what was to be made
constexpr int EXIT_INTERRUPTED = 130; ///< as shells report it

} // namespace velacreate

#endif
