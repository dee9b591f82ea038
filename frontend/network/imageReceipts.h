/// @file
/// What machines have got of an image, as the HTTP server and the kernel tell it.
#pragma once

#include "network/acknowledgements.h"
#include "network/imageDelivery.h"
#include "network/namedPipe.h"

#include <chrono>
#include <functional>
#include <string>

namespace velacreate {

class ImageReceipts {
public:
    /// @param server  its address
    /// @param size    of the image, in bytes
    /// @throw Failure
    ImageReceipts(Address server, std::uint64_t size);

    /// Where the server writes its log.
    const Descriptor& log() const { return m_log.fileSystem(); }
    /// Readable when the server has logged something.
    int news() const { return m_log.reader().number(); }

    /// Never waits.
    /// @param isLast  whether the server has ended; until then it counts once a second
    /// @param use     called with each machine of which something has come
    void look(bool isLast, const std::function<void(const ImageDelivery::News&)>& use);

    /// What went to this address is not counted for the machine that has it now.
    void forget(Address address) { m_delivery.forget(address); }

private:
    void readLog();

    NamedPipe m_log;
    std::string m_rest; ///< the beginning of a line
    Acknowledgements m_acknowledgements;
    ImageDelivery m_delivery;
    std::chrono::steady_clock::time_point m_nextCount;
};

} // namespace velacreate
