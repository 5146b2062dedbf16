// Stand-in ExternalGPUConfigHelper.dll: the process-wide CDockingController answering from the
// [Dock] section of the scenario. Configuration records are allocated with the C run-time's malloc
// (msvcrt), for the caller to free.
#include "stand_in.h"

#include <cstdint>
#include <cstdlib>

namespace {

constexpr char kSection[] = "ExternalGPUConfigHelper";

void Record(const char* call) {
    standin::StandIn(kSection).Record(call);
}

struct Dock {
    int unused = 0;
} g_dock;

uint32_t DockNumber(const char* key) {
    return static_cast<uint32_t>(standin::StandIn(kSection).Integer(key, 0));
}

int32_t Code(const char* key) {
    return static_cast<int32_t>(DockNumber(key));
}

void CheckSelf(const void* self) {
    if (self != &g_dock) {
        Record("WrongObject");
    }
}

// The library's record: the identity words, then fields of its own.
struct BaseInfo {
    uint32_t Word0;
    uint32_t Word1;
    uint32_t Own[6];
};

} // namespace

extern "C" {

void* StandInGet() {
    return &g_dock;
}

int32_t StandInInitialize(Dock* self, void*, void (*callback)(void*)) {
    CheckSelf(self);
    Record(callback == nullptr ? "DockInitialize" : "DockInitializeWithCallback");
    return 0;
}

int32_t StandInUninitialize(Dock* self, void*) {
    CheckSelf(self);
    Record("DockUninitialize");
    return 0;
}

int32_t StandInGetEGPUID(Dock* self, uint32_t* id) {
    CheckSelf(self);
    Record("GetEGPUID");
    id[0] = DockNumber("IdWord0");
    id[1] = DockNumber("IdWord1");
    return Code("IdCode");
}

int32_t StandInGetEGPUConfig(Dock* self, BaseInfo** records, uint16_t* count, uint32_t* size) {
    CheckSelf(self);
    Record("GetEGPUConfig");
    const uint32_t n = DockNumber("ConfigRecords");
    if (n != 0) {
        *records = static_cast<BaseInfo*>(std::calloc(n, sizeof(BaseInfo)));
        (*records)[0].Word0 = DockNumber("ConfigWord0");
        (*records)[0].Word1 = DockNumber("ConfigWord1");
        *count = static_cast<uint16_t>(n);
        *size = n * static_cast<uint32_t>(sizeof(BaseInfo));
    }
    return Code("ConfigCode");
}

int32_t StandInGetFanSpeed(Dock* self, uint32_t* rpm, uint32_t* acoustic) {
    CheckSelf(self);
    Record("DockGetFanSpeed");
    *rpm = DockNumber("FanRpm");
    *acoustic = DockNumber("FanAcoustic");
    return Code("FanCode");
}

} // extern "C"
