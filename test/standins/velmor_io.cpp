// Stand-in for the vendor IO library VelmorIO3_64.dll. Keys of its [VelmorIO3_64] section
// (defaults in brackets): Open [1], what VELMORIO_OPEN_WO_MSG answers; ReadMSR [1], what
// VELMORIO_ReadMSR answers; MSR.0xN, the 64-bit value of register N in upper-case hexadecimal
// (MSR.0x198) [not written].
#include "stand_in.h"

#include <cstdint>
#include <cstdio>
#include <string>

namespace {

constexpr char kSection[] = "VelmorIO3_64";

std::string Hex(uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
    return text;
}

} // namespace

extern "C" {

__declspec(dllexport) uint8_t VELMORIO_OPEN_WO_MSG(int32_t flags) {
    const standin::StandIn scenario(kSection);
    scenario.Record("VELMORIO_OPEN_WO_MSG flags=" + std::to_string(flags));
    return static_cast<uint8_t>(scenario.Integer("Open", 1));
}

__declspec(dllexport) int32_t VELMORIO_ReadMSR(uint32_t index, uint64_t* value) {
    const standin::StandIn scenario(kSection);
    scenario.Record("VELMORIO_ReadMSR index=" + Hex(index));
    const std::string key = "MSR." + Hex(index);
    if (scenario.Text(key)) {
        *value = static_cast<uint64_t>(scenario.Integer(key, 0));
    }
    return static_cast<int32_t>(scenario.Integer("ReadMSR", 1));
}

__declspec(dllexport) void VELMORIO_Close() {
    standin::StandIn(kSection).Record("VELMORIO_Close");
}

} // extern "C"
