#pragma once
// One life of the monitor plug-in as a host gives it, on a simulated laptop of its own: made, its
// host installed, initialised, a short recording started, paged, logged and ended, uninitialised
// and released. Load and unload cycles repeat it and compare what the process holds before and
// after. (The laptop goes with each life, since its fakes keep a record of every call.)
#include <cstddef>
#include <cstdint>
#include <string>

namespace load_cycles {

// What a plug-in that left nothing behind gives back.
struct Holdings {
    std::size_t threads = 0;       // entries of /proc/self/task
    std::size_t kernelObjects = 0; // native waitables and critical sections alive
    int64_t heapBytes = 0;         // bytes held through operator new (counting_new.cpp)

    bool operator==(const Holdings&) const = default;
};

Holdings Measure();
// One life; false, with what went wrong in `failure`, when a step did not answer as it should or
// a block of the host's heap was still out at its end.
bool OneCycle(std::string& failure);
std::string Describe(const Holdings& holdings);

} // namespace load_cycles
