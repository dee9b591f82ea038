/// @file
/// The options of each command.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

struct ShowChoices {
    bool verbose = false;
    std::string log;
    std::string report;
    std::string events;
    bool pauses = false;
};

/// What a medium tells about itself.
struct ManifestChoices {
    bool list = false;     ///< of sums
    std::string secretKey; ///< that the list is signed with; may be empty
    std::string title;     ///< in the signature

    bool isWanted() const { return list || !secretKey.empty(); }
};

struct JobChoices {
    std::string package;
    std::string directory = ".";
    std::vector<std::string> files;
    std::vector<std::string> trusted; ///< public keys, by which the inputs must be signed; may be empty
    std::string sums;                 ///< the list of sums that the update files must have; may be empty
    bool keep = false;
    bool verify = true;
    ManifestChoices manifest; ///< of a medium that is made
    ShowChoices show;
};

/// @name The machines that start from an image
/// @{
constexpr const char* PLATFORM_NAME_LINUX = "linux";
constexpr const char* PLATFORM_NAME_PPC = "ppc";
/// @}

/// What may be overwritten without a question.
struct OverwriteChoices {
    bool force = false; ///< a file
    bool yes = false;   ///< a disc or a disk
};

struct IsoChoices {
    JobChoices job;
    std::string output;
    bool force = false;
    std::string platform = PLATFORM_NAME_LINUX;
    bool checksum = false;
    std::string burner;
    bool yes = false;
};

/// @name When to format a key
/// @{
constexpr const char* FORMAT_ALWAYS = "always";
constexpr const char* FORMAT_NEVER = "never";
constexpr const char* FORMAT_AUTO = "auto";
/// @}

/// The keys that a command changes.
struct KeyChoices {
    std::vector<std::string> devices;
    bool all = false;
    std::size_t jobs = 0; ///< at a time; 0 means all
    bool eject = false;
    bool anyDisk = false;
    bool yes = false;
};

struct UsbChoices {
    JobChoices job;
    KeyChoices keys;
    std::string keyImage;
    std::string output;
    bool force = false;
    bool checksum = false;
    std::size_t capacity = 0; ///< in gigabytes; 0 for the smallest that fits
    bool erase = false;
    std::string format = FORMAT_AUTO;
    std::string work;
};

struct WriteChoices {
    KeyChoices keys;
    std::string image;
    bool verify = true;
    ShowChoices show;
};

struct StationChoices {
    UsbChoices usb;
    std::string image; ///< of a key, in place of the tool package and the update files
    std::string slots;
    std::string learn;                    ///< a slots file to be made
    std::string board;                    ///< "[ADDRESS:]PORT"; empty for none
    std::uint64_t largest = 64ULL << 30U; ///< in bytes
};

struct PxeChoices {
    JobChoices job;
    std::string output;
    bool force = false;
};

struct BurnChoices {
    std::string image;
    std::string device;
    OverwriteChoices overwrite;
    bool verify = true;
    ShowChoices show;
};

struct VerifyChoices {
    JobChoices job; ///< the package is empty when a medium is not compared with what would be made now
    std::vector<std::string> trust; ///< public keys, for the list of sums on the medium
    bool noSignature = false;       ///< the list is used without them
    std::string image;
    std::vector<std::string> devices;
    std::string keyImage;
    std::string netbootDirectory;
    std::string disc;
    std::string platform; ///< empty: that of the image
    std::string work;
};

struct ServeChoices {
    std::string directory; ///< for network boot; may be empty when there is an image
    std::string image;     ///< for HTTP boot; may be empty
    std::string names;     ///< a file with names of machines; may be empty
    std::string printed;   ///< a directory for configurations, in place of serving; may be empty
    std::string interface;
    std::string range; ///< "FIRST,LAST"; empty for the upper half of the interface's network
    bool proxy = false;
    bool yes = false;
    ShowChoices show;
};

} // namespace velacreate
