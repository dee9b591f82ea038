#ifndef VELACREATION_SOFTKEY_H
#define VELACREATION_SOFTKEY_H

#include "mediaRules.h"

#include <cstdlib>

namespace VelaCreation {

/// @return the disk image that replaces the key; null for an ordinary key. An empty value counts as set.
inline const char* softKeyImage() {
    return std::getenv(SOFT_KEY_VARIABLE);
}

} // namespace VelaCreation

#endif
