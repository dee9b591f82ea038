// Measures the library without commands: relaying lines, filtering names, loading. The current directory must
// have the file "capture" and the programs "load_velacreation" and "load_velacreation_bench_empty".
#include "bootableimg.h"
#include "quietLogger.h"

#include <benchmark/benchmark.h>

#include <array>
#include <fstream>

#include <spawn.h>
#include <sys/wait.h>

namespace {

using VelaCreation::BootableIMG;
using VelaCreation::BootableMedia;

void expect(benchmark::State& state, bool condition) {
    if (!condition) {
        state.SkipWithError("failed");
    }
}

template <void (BootableMedia::*operation)(std::string)>
void relay(benchmark::State& state) {
    for ([[maybe_unused]] auto iteration : state) {
        QuietLogger logger;
        BootableIMG media(logger);
        (media.*operation)("capture");
        expect(state, logger.bytes > 0);
    }
}
BENCHMARK(relay<&BootableMedia::writeFileToLog>)->Name("writeFileToLog");
BENCHMARK(relay<&BootableMedia::saveFile>)->Name("saveFile");

/// For comparison: reads and logs the same lines without the library.
void bareReader(benchmark::State& state) {
    for ([[maybe_unused]] auto iteration : state) {
        QuietLogger logger;
        VelaLoggerIfc& sink = logger;
        std::ifstream file("capture");
        for (std::string line; std::getline(file, line);) {
            sink.logMessage(0, line);
        }
        expect(state, logger.bytes > 0);
    }
}
BENCHMARK(bareReader);

/// The names to drop come first, so that all others are moved.
void filter(benchmark::State& state) {
    std::vector<std::string> files = {"boot", "stdout.txt", "tool.zip"};
    for (std::int64_t number = 0; number < state.range(0); ++number) {
        files.push_back("updates/firmware-" + std::to_string(number));
    }
    QuietLogger logger;
    BootableIMG media(logger);
    for ([[maybe_unused]] auto iteration : state) {
        state.PauseTiming();
        std::vector<std::string> list = files;
        state.ResumeTiming();
        media.filterFileList(list, "tool.zip");
        state.PauseTiming();
        expect(state, list.size() + 3 == files.size());
        list = {};
        state.ResumeTiming();
    }
}
BENCHMARK(filter)->Arg(1000000)->Arg(100000);

void load(benchmark::State& state, std::string program) {
    std::array<char*, 2> arguments = {program.data(), nullptr};
    for ([[maybe_unused]] auto iteration : state) {
        pid_t child = -1;
        int status = -1;
        expect(state,
               posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments.data(), nullptr) == 0 &&
                   waitpid(child, &status, 0) == child && status == 0);
    }
}
BENCHMARK_CAPTURE(load, library, "./load_velacreation")->UseRealTime();
BENCHMARK_CAPTURE(load, empty, "./load_velacreation_bench_empty")->UseRealTime();

} // namespace
