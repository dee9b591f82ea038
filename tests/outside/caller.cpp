#include <bootableiso.h>

#include <iostream>

class Logger : public VelaLoggerIfc {
    void logMessage(int level, const std::string& message) override {
        std::cerr << level << ' ' << message << '\n';
    }
    int checkpoint(int /*level*/, const std::string& /*message*/) override { return 0; }
};

int main() {
    Logger logger;
    VelaCreation::BootableISO iso(logger);
    std::vector<std::string> files = {"update"};
    const int result = iso.CreateISO("work", "caller.iso", files, "tool.zip", 1);
    iso.removeTempFilesAndDirs();
    return result;
}
