#include "commandLine/commandLine.h"
#include "support/exitStatus.h"

using namespace velacreate;

// Without memory for a console, nothing can be told.
int main(int argc, char** argv) { // NOLINT(bugprone-exception-escape)
    Console console;
    return exitStatusAfter([&] { return runCommandLine(argc, argv, isolateFromCaller(), console); },
                           [&](const char* text) { console.complain(text); });
}
