/// @file
/// The ways in which machines start from a network.
#pragma once

#include <array>
#include <string>

namespace velacreate {

enum class StartWay { unknown, bios, uefi, uefiByHttp };

/// @return such as "UEFI by HTTP"; empty when unknown
std::string wayText(StartWay way);

/// What a machine calls itself when it asks (DHCP option 93).
struct ClientArchitecture {
    unsigned number;
    StartWay way;
    bool isArm;
    const char* nameForProxy; ///< that dnsmasq gives it beside another DHCP server; null for HTTP
};
inline constexpr std::array<ClientArchitecture, 6> CLIENT_ARCHITECTURES = {{
    {0, StartWay::bios, false, "x86PC"},
    {7, StartWay::uefi, false, "BC_EFI"},
    {9, StartWay::uefi, false, "x86-64_EFI"},
    {11, StartWay::uefi, true, "ARM64_EFI"},
    {16, StartWay::uefiByHttp, false, nullptr},
    {19, StartWay::uefiByHttp, true, nullptr},
}};

/// The tag of an architecture in the configuration of a server and in its log, such as "arch7".
std::string tagOf(const ClientArchitecture& architecture);

/// @return null for any other text
const ClientArchitecture* architectureOfTag(const std::string& tag);

} // namespace velacreate
