#include "commandLine/commandLine.h"
#include "support/exitStatus.h"
#include "support/failure.h"

#include <iostream>

using namespace velacreate;

int main(int argc, char** argv) {
    try {
        const auto caller = isolateFromCaller();
        return runCommandLine(argc, argv, caller);
    } catch (const Refusal& refusal) {
        std::cerr << "velacreate: " << refusal.what() << std::endl;
        return EXIT_REFUSED;
    } catch (const std::exception& failure) {
        std::cerr << "velacreate: " << failure.what() << std::endl;
        return EXIT_UNFINISHED;
    }
}
