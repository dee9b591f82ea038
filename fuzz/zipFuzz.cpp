#include "readerFuzz.h"

#include "forms/zipReader.h"

using namespace velacreate;

void examineMedium(const Examination& examination, const Tree& expected) {
    examineZip(examination, expected);
}

std::string unpackingCommand(const std::string& path) {
    return "unzip -qq " + path + " -d unpacked";
}
