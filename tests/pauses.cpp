// Laid over a program, it takes the pauses out of its jobs.
#include <unistd.h>

__attribute__((visibility("default"))) unsigned sleep(unsigned /*seconds*/) {
    return 0;
}
