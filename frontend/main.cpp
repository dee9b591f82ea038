#include "commandLine/commandLine.h"
#include "support/exitStatus.h"
#include "support/failure.h"

using namespace velacreate;

int main(int argc, char** argv) {
    Console console;
    try {
        const auto caller = isolateFromCaller();
        return runCommandLine(argc, argv, caller, console);
    } catch (const Refusal& refusal) {
        console.complain(refusal.what());
        return EXIT_REFUSED;
    } catch (const std::exception& failure) {
        console.complain(failure.what());
        return EXIT_UNFINISHED;
    }
}
