#include "shell.h"

#include "mediaRules.h"

#include <cstdlib>

namespace VelaCreation {

bool run(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

std::string captured(const std::string& command) {
    return command + " >" + CAPTURE_FILE + " 2>&1";
}

bool runCaptured(const std::string& command) {
    return run(captured(command));
}

std::string removalCommand(const Removal& removal, const std::string& directory) {
    return (removal.isRecursive ? "rm -rf " : "rm -f ") + directory + "/" + removal.name;
}

std::string inQuotes(const std::string& path) {
    return "\"" + path + "\"";
}

} // namespace VelaCreation
