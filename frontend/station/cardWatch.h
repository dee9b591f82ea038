/// @file
/// Cards that are put into readers, or taken out.
#pragma once

#include "support/descriptor.h"

#include <string>

#include <sys/types.h>

namespace velacreate {

/// Makes the kernel ask drives whether they hold a medium: it may not do that by itself.
class CardWatch {
public:
    /// Starts the process that asks, since a drive may take long to answer.
    /// @throw Failure
    CardWatch();
    /// Ends it.
    ~CardWatch();
    CardWatch(const CardWatch&) = delete;
    CardWatch& operator=(const CardWatch&) = delete;

    /// Has a drive asked, and does not wait for that.
    void ask(const std::string& node) const;

private:
    Descriptor m_nodes;
    pid_t m_process = -1;
};

} // namespace velacreate
