#include "commandLine/commandLine.h"
#include "support/exitStatus.h"
#include "support/failure.h"

using namespace velacreate;

namespace {
/// The signals are no longer held, so nothing can be read from their descriptor.
int complain(Console& console, const std::exception& problem, int status) {
    console.watchInterrupts(-1);
    console.complain(problem.what());
    return status;
}
} // namespace

int main(int argc, char** argv) {
    Console console;
    try {
        const auto caller = isolateFromCaller();
        return runCommandLine(argc, argv, caller, console);
    } catch (const Refusal& refusal) {
        return complain(console, refusal, EXIT_REFUSED);
    } catch (const std::exception& failure) {
        return complain(console, failure, EXIT_UNFINISHED);
    }
}
