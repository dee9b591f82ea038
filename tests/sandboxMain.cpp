// Runs a command where tests run, in /srv beside the fixture, and ends as it does.
//
//   sandbox COMMAND [ARGUMENT...]
#include "sandbox.h"

#include <cstdlib>
#include <exception>
#include <iostream>

#include <unistd.h>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "usage: sandbox COMMAND [ARGUMENT...]\n";
        return EXIT_FAILURE;
    }
    try {
        enterSandbox();
        require(chdir("/srv") == 0, "chdir /srv");
        execvp(argv[1], argv + 1);
        require(false, argv[1]);
    } catch (const std::exception& failure) {
        std::cerr << "sandbox: " << failure.what() << '\n';
    }
    return EXIT_FAILURE;
}
