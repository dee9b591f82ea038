#include "bootableMedia.h"

#include <fstream>

namespace VelaCreation {

std::string BootableMedia::getErrorMessageFilePath() {
    return "/var/log/Norvane_Support/talo_cli.xml";
}

void BootableMedia::saveErrorMessageFile(int code, std::string message, int step) {
    std::ofstream file(getErrorMessageFilePath(), std::ios::out | std::ios::trunc);
    if (!file.is_open()) {
        return;
    }
    // A stream may group digits if the caller has set a global locale; to_string() does not.
    file << CLI_ERROR << CLI_ERROR_CODE << std::to_string(code) << CLI_ERROR_CODE_E << CLI_ERROR_MESSAGE
         << message << CLI_ERROR_MESSAGE_E << CLI_STEP_SERIAL << std::to_string(step) << CLI_STEP_SERIAL_E
         << CLI_ERROR_E;
    file.flush();
    file.close();
}

} // namespace VelaCreation
