#ifndef VELACREATION_ISONAME_H
#define VELACREATION_ISONAME_H

#include <string>

namespace VelaCreation {

/// True for a name whose last four characters are ".iso".
inline bool endsWithIso(const std::string& name) {
    const std::string ending = ".iso";
    return name.size() >= ending.size() &&
           name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
}

} // namespace VelaCreation

#endif
