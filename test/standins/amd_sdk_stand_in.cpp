// A build of AMD's Ryzen SDK for the Windows tests; the same source is built under the three
// file names. STAND_IN_WITHOUT_STATUS leaves out "GetCPUStatus" and "AMDSDK_Uninit", for the
// paths where an entry is missing. Every build answers from the [AMDCPULibrary] section: init,
// uninit, status [0], cores [8], memory, clock, voltage, usage, temperature [0].

#include "stand_in.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#ifndef STAND_IN_BUILD
#error "STAND_IN_BUILD names the build"
#endif

namespace {

constexpr char kSection[] = "AMDCPULibrary";

int32_t Integer(const char* key, double fallback) {
    return static_cast<int32_t>(standin::StandIn(kSection).Double(key, fallback));
}

void RecordCall(const char* text) {
    char line[160];
    std::snprintf(line, sizeof line, "%s %s", STAND_IN_BUILD, text);
    standin::StandIn(kSection).Record(line);
}

template <typename T>
void Put(void* block, std::size_t offset, T value) {
    std::memcpy(static_cast<unsigned char*>(block) + offset, &value, sizeof value);
}

} // namespace

extern "C" {

__declspec(dllexport) int32_t AMDSDK_Init() {
    RecordCall("AMDSDK_Init");
    return Integer("init", 0);
}

__declspec(dllexport) int32_t NumberOFPhysicalCPU() {
    RecordCall("NumberOFPhysicalCPU");
    return Integer("cores", 8);
}

__declspec(dllexport) int32_t GetMemoryFrequency(uint32_t* megahertz) {
    char text[64];
    std::snprintf(text, sizeof text, "GetMemoryFrequency %u", *megahertz);
    RecordCall(text);
    *megahertz = static_cast<uint32_t>(Integer("memory", 0));
    return 0;
}

#ifndef STAND_IN_WITHOUT_STATUS
__declspec(dllexport) int32_t AMDSDK_Uninit() {
    RecordCall("AMDSDK_Uninit");
    return Integer("uninit", 0);
}

// Core 0's entry starts at byte 4: clock, memory clock, voltage, ..., usage at 28, temperature
// at 30.
__declspec(dllexport) int32_t GetCPUStatus(uint32_t coreCount, void* block) {
    uint32_t memory = 0;
    std::memcpy(&memory, static_cast<unsigned char*>(block) + 8, sizeof memory);
    char text[96];
    std::snprintf(text, sizeof text, "GetCPUStatus %u memory=%u", coreCount, memory);
    RecordCall(text);
    Put(block, 4, Integer("clock", 0));
    Put(block, 12, static_cast<uint32_t>(Integer("voltage", 0)));
    Put(block, 32, static_cast<int16_t>(Integer("usage", 0)));
    Put(block, 34, static_cast<int16_t>(Integer("temperature", 0)));
    return Integer("status", 0);
}
#endif

} // extern "C"
