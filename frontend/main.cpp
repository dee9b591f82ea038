#include "commandLine/commandLine.h"
#include "support/exitStatus.h"

using namespace velacreate;

int main(int argc, char** argv) {
    Console console;
    return exitStatusAfter([&] { return runCommandLine(argc, argv, isolateFromCaller(), console); },
                           [&](const char* text) { console.complain(text); });
}
