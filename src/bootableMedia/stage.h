// Announces the stages of a workflow.
#ifndef VELACREATION_STAGE_H
#define VELACREATION_STAGE_H

#include "bootableMedia.h"

#include <string>

namespace VelaCreation {

struct Stage {
    Stage(int stageNumber, const std::string& text) : Stage(stageNumber, text, text) {}
    Stage(int stageNumber, std::string status, std::string console);

    int number;
    std::string statusText;
    std::string consoleText;
};

/// Writes the status record and the console line, then pauses.
void announce(BootableMedia& media, const Stage& stage);

} // namespace VelaCreation

#endif
