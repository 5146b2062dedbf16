// Loads, uses and unloads the monitor plug-in again and again on the simulated laptop, each life
// with a short recording, and prints what the process held before the cycles and after them:
// threads, native kernel objects and heap bytes. Exits with 1 when a life failed or a figure did
// not come back.
//
//   build/native/bench/load_cycles [CYCLES]     (1000 by default)
#include "load_cycles.h"

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
    const int cycles = argc > 1 ? std::atoi(argv[1]) : 1000;
    if (argc > 2 || cycles < 1) {
        std::fprintf(stderr, "load_cycles: usage: load_cycles [CYCLES]\n");
        return 2;
    }
    std::string failure;
    // The first life may set up what lasts for the process (the command table, the C run-time).
    if (!load_cycles::OneCycle(failure)) {
        std::fprintf(stderr, "load_cycles: first cycle: %s\n", failure.c_str());
        return 1;
    }
    const load_cycles::Holdings before = load_cycles::Measure();
    for (int cycle = 0; cycle < cycles; ++cycle) {
        if (!load_cycles::OneCycle(failure)) {
            std::fprintf(stderr, "load_cycles: cycle %d: %s\n", cycle, failure.c_str());
            return 1;
        }
    }
    const load_cycles::Holdings after = load_cycles::Measure();
    std::printf("cycles  %d\nbefore  %s\nafter   %s\n", cycles,
                load_cycles::Describe(before).c_str(), load_cycles::Describe(after).c_str());
    return after == before ? 0 : 1;
}
