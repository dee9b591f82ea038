/// @file
/// What is offered to the machines of a network. The configuration of each server is made from this.
#pragma once

#include "network/addresses.h"
#include "network/loaders.h"
#include "network/netbootDirectory.h"
#include "network/networkPort.h"
#include "network/servedImage.h"
#include "network/startWays.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velacreate {

constexpr const char* IMAGE_NAME = "service.iso"; ///< in its address, whatever the file is called
constexpr unsigned LEASE_SECONDS = 3600;          ///< for which a machine has an address

/// What machines of an architecture are told to fetch first.
struct Offer {
    ClientArchitecture architecture;
    std::string file; ///< a name for TFTP, or an address for HTTP

    bool isByHttp() const { return architecture.way == StartWay::uefiByHttp; }
};

struct BootService {
    const NetworkPort& port;
    std::optional<AddressRange> range; ///< to hand out; none when another server does that
    const NetbootDirectory* directory; ///< served by TFTP; null for none
    const ServedImage* image;          ///< served by HTTP; null for none
    Loaders loaders;
    std::vector<Offer> offers;

    /// What is served, for messages; never empty.
    std::vector<std::string> media() const;
    bool isProxy() const { return !range; }
    /// Calls a function with each file for TFTP: those of the directory, and the loaders.
    /// @throw Failure as NetbootDirectory::forEachFile()
    void
    forEachTftpFile(const std::function<void(const std::string& name, const Descriptor& file)>& use) const;
    /// Where the files are.
    Address address() const { return range ? range->network.own : port.networks().front().own; }
};

/// @param directory  null for none, as is the image
/// @param scratch    for copies
/// @throw Failure
BootService bootServiceOf(const NetbootDirectory* directory, const ServedImage* image,
                          const NetworkPort& port, const std::optional<AddressRange>& range,
                          const Descriptor& scratch);

} // namespace velacreate
