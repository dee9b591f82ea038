/// @file
/// Sticks to which the image of a key is written.
#pragma once

#include "keys/keyImage.h"
#include "station/stickWork.h"

namespace velacreate {

class WrittenSticks : public StickWork {
public:
    /// @param image  examined
    /// @param isForAll  whether any stick is overwritten
    WrittenSticks(const KeyImage& image, bool isForAll) : m_image(image), m_isForAll(isForAll) {}

    std::string announcement() const override;
    std::map<std::string, Gauge> gauges(const Disk& disk) const override;
    bool isRight(const Key& stick, Reporter& reporter) const override;
    int make(const Key& stick, const Descriptor& jobDirectory, Reporter& reporter) const override;

private:
    const KeyImage& m_image;
    bool m_isForAll;
};

} // namespace velacreate
