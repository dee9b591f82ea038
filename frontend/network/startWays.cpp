#include "network/startWays.h"

#include <algorithm>

namespace velacreate {

std::string wayText(StartWay way) {
    switch (way) {
    case StartWay::bios:
        return "BIOS";
    case StartWay::uefi:
        return "UEFI";
    case StartWay::uefiByHttp:
        return "UEFI by HTTP";
    case StartWay::unknown:
        break;
    }
    return "";
}

std::string tagOf(const ClientArchitecture& architecture) {
    return "arch" + std::to_string(architecture.number);
}

const ClientArchitecture* architectureOfTag(const std::string& tag) {
    const auto* const found =
        std::find_if(CLIENT_ARCHITECTURES.begin(), CLIENT_ARCHITECTURES.end(),
                     [&](const ClientArchitecture& architecture) { return tagOf(architecture) == tag; });
    return found == CLIENT_ARCHITECTURES.end() ? nullptr : found;
}

} // namespace velacreate
