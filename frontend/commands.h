/// @file
/// The commands of velacreate and what a user may choose for each. Every command returns the exit status and
/// throws `Refusal` before it changes anything.
#ifndef VELACREATE_COMMANDS_H
#define VELACREATE_COMMANDS_H

#include <string>
#include <vector>

namespace velacreate {

struct JobChoices {
    std::string package;
    std::string directory = ".";
    std::vector<std::string> files;
    bool keep = false;
    bool force = false;
    bool verify = true;
    bool verbose = false;
    std::string log;
};

struct IsoChoices {
    JobChoices job;
    std::string output;
    std::string platform = "linux";
    std::string burner;
};

struct UsbChoices {
    JobChoices job;
    std::string device;
    std::string image;
    std::string format = "auto";
    bool anyDisk = false;
    bool yes = false;
};

struct PxeChoices {
    JobChoices job;
    std::string output;
};

struct BurnChoices {
    std::string image;
    std::string device;
    bool quiet = false;
    bool verbose = false;
    std::string log;
};

int makeIso(const IsoChoices& choices);
int makeUsbKey(const UsbChoices& choices);
int makePxePackage(const PxeChoices& choices);
int burn(const BurnChoices& choices);
int identify(const std::string& device);
int listDisks();

} // namespace velacreate

#endif
