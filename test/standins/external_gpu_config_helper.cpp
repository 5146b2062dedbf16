// Stand-in ExternalGPUConfigHelper.dll: the process-wide CDockingController answering from the
// [Dock] section of the scenario. Configuration records are allocated with the C run-time's malloc
// (msvcrt), for the caller to free.
#include "ini_scenario.h"

#include <cstdint>
#include <cstdlib>

namespace {

struct Dock {
    int unused = 0;
} g_dock;

uint32_t DockNumber(const wchar_t* key) {
    return standin::Number(L"Dock", key, 0);
}

int32_t Code(const wchar_t* key) {
    return static_cast<int32_t>(DockNumber(key));
}

void CheckSelf(const void* self) {
    if (self != &g_dock) {
        standin::CountCall(L"WrongObject");
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
    standin::CountCall(callback == nullptr ? L"DockInitialize" : L"DockInitializeWithCallback");
    return 0;
}

int32_t StandInUninitialize(Dock* self, void*) {
    CheckSelf(self);
    standin::CountCall(L"DockUninitialize");
    return 0;
}

int32_t StandInGetEGPUID(Dock* self, uint32_t* id) {
    CheckSelf(self);
    standin::CountCall(L"GetEGPUID");
    id[0] = DockNumber(L"IdWord0");
    id[1] = DockNumber(L"IdWord1");
    return Code(L"IdCode");
}

int32_t StandInGetEGPUConfig(Dock* self, BaseInfo** records, uint16_t* count, uint32_t* size) {
    CheckSelf(self);
    standin::CountCall(L"GetEGPUConfig");
    const uint32_t n = DockNumber(L"ConfigRecords");
    if (n != 0) {
        *records = static_cast<BaseInfo*>(std::calloc(n, sizeof(BaseInfo)));
        (*records)[0].Word0 = DockNumber(L"ConfigWord0");
        (*records)[0].Word1 = DockNumber(L"ConfigWord1");
        *count = static_cast<uint16_t>(n);
        *size = n * static_cast<uint32_t>(sizeof(BaseInfo));
    }
    return Code(L"ConfigCode");
}

int32_t StandInGetFanSpeed(Dock* self, uint32_t* rpm, uint32_t* acoustic) {
    CheckSelf(self);
    standin::CountCall(L"DockGetFanSpeed");
    *rpm = DockNumber(L"FanRpm");
    *acoustic = DockNumber(L"FanAcoustic");
    return Code(L"FanCode");
}

} // extern "C"
