// Calls the key builder directly, prints all it says, and exits with its result.
#include <bootableusb.h>

#include <iostream>

namespace {

struct Printer : VelaLoggerIfc {
    void logMessage(int /*level*/, const std::string& message) override { std::cout << message << std::endl; }
    int checkpoint(int /*level*/, const std::string& /*message*/) override { return 0; }
};

} // namespace

int main(int /*argc*/, char** argv) {
    const std::string call = argv[1];
    const std::string device = argv[2];
    Printer printer;
    VelaCreation::BootableUSB key(printer);
    if (call == "describe") {
        VelaCreation::_USBDATA about;
        const int result = key.getUSBData(device, &about);
        std::cout << '[' << about.vendor << "][" << about.model << "][" << about.size << ']' << std::endl;
        return result;
    }
    bool flag = false;
    int result = key.init(".", device, {"zephyn"}, "/tool.zip", flag);
    if (result == 0 && call == "fill") {
        return key.CreateUSBKey(true);
    }
    if (result == 0 && call == "check") {
        result = key.isBootable(flag);
    }
    std::cout << "format " << std::boolalpha << flag << std::endl;
    return result;
}
