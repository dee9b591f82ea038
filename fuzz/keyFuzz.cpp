#include "readerFuzz.h"

#include "forms/keyReader.h"

using namespace velacreate;

void examineMedium(const Examination& examination, const Tree& expected) {
    const auto noCloneImage = [](const std::string& /*name*/) { return Descriptor(); };
    examineKey(examination, expected, {{noCloneImage}, true, OtherFiles::none});
}

std::string unpackingCommand(const std::string& path) {
    return "mkdir unpacked && mcopy -s -n -Q -i " + path + "@@32256 '::*' unpacked";
}
