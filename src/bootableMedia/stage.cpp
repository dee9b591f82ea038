#include "stage.h"

#include "mediaRules.h"

#include <iostream>
#include <utility>

namespace VelaCreation {

namespace {
constexpr int STAGE_PAUSE_SECONDS = 10;
}

Stage::Stage(int stageNumber, std::string status, std::string console)
    : number(stageNumber), statusText(std::move(status)), consoleText(std::move(console)) {}

void announce(BootableMedia& media, const Stage& stage) {
    media.saveErrorMessageFile(VELASTATUS_IN_PROGRESS, stage.statusText, stage.number);
    // Flushed, so that a pipe shows it at once.
    std::cout << STAGE_LINE_START << stage.consoleText << STAGE_LINE_END << std::endl;
    media.processSleep(STAGE_PAUSE_SECONDS);
}

} // namespace VelaCreation
