#include "readerFuzz.h"

#include "forms/isoReader.h"

using namespace velacreate;

void examineMedium(const Examination& examination, const Tree& expected) {
    examineIso(examination, expected, IsoPlatform::efi, BehindVolume::nothing);
}

std::string unpackingCommand(const std::string& path) {
    return "xorriso -no_rc -osirrox on -indev stdio:" + path +
           " -extract / unpacked 2>/dev/null && rm unpacked/boot.catalog";
}
