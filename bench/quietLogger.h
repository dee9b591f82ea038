#ifndef VELACREATION_BENCH_QUIETLOGGER_H
#define VELACREATION_BENCH_QUIETLOGGER_H

#include "bootableMedia.h"

/// Counts what it is told and keeps nothing.
class QuietLogger : public VelaLoggerIfc {
public:
    void logMessage(int /*level*/, const std::string& message) override { bytes += message.size(); }

    int checkpoint(int /*level*/, const std::string& /*message*/) override { return 0; }

    std::size_t bytes = 0;
};

#endif
