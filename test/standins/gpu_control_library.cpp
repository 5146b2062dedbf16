// Stand-in GPUControlLibrary.dll: the process-wide DisplayAdapterController and devices whose
// virtual table has the library's slot order, answering from the [Adapter] section of the
// scenario. Members are plain functions with the object first (a member call on x64), exported
// under the library's decorated names by gpu_control_library.def.
#include "stand_in.h"

#include <cstdint>
#include <cwchar>

namespace {

constexpr char kSection[] = "GPUControlLibrary";

void Record(const char* call) {
    standin::StandIn(kSection).Record(call);
}

struct Controller {
    void* owner = nullptr;
    void (*callback)(void*) = nullptr;
} g_controller;

struct Device {
    void* const* table;
};

uint32_t Adapter(const char* key, uint32_t fallback = 0) {
    return static_cast<uint32_t>(standin::StandIn(kSection).Integer(key, fallback));
}

int32_t Code(const char* key) {
    return static_cast<int32_t>(Adapter(key));
}

// The library's objects are checked: a call on anything else is counted.
void CheckSelf(const void* self, const void* expected) {
    if (self != expected) {
        Record("WrongObject");
    }
}

void NeverCalled(void*) {
    Record("UnexpectedSlot");
}

uint32_t GetVendor(void*) {
    return Adapter("Vendor");
}
uint32_t GetType(void*) {
    return Adapter("Type");
}
int32_t GetDeviceID(void*, uint32_t* id) {
    id[0] = Adapter("IdWord0");
    id[1] = Adapter("IdWord1");
    return Code("IdCode");
}

struct BasicInfo {
    int32_t Vendor;
    uint32_t EmptyFlags;
    wchar_t FullName[256];
    int32_t MemorySize;
    int32_t BusWidth;
};
static_assert(sizeof(BasicInfo) == 528);

int32_t GetBasicInfo(void*, BasicInfo* info) {
    info->Vendor = static_cast<int32_t>(Adapter("BasicVendor"));
    info->EmptyFlags = Adapter("EmptyFlags");
    const std::wstring name = standin::StandIn(kSection).Wide("FullName");
    std::wcsncpy(info->FullName, name.c_str(), 255);
    info->MemorySize = static_cast<int32_t>(Adapter("MemorySize"));
    info->BusWidth = static_cast<int32_t>(Adapter("BusWidth"));
    return Code("BasicCode");
}

struct MaxInfo {
    uint32_t ProcessorFrequency, MemoryFrequency;
    int32_t Voltage;
    int16_t Usage, Temperature;
};
static_assert(sizeof(MaxInfo) == 16);

int32_t GetMaxInfo(void*, MaxInfo* info) {
    info->ProcessorFrequency = Adapter("MaxProcessorFrequency");
    info->MemoryFrequency = Adapter("MaxMemoryFrequency");
    info->Voltage = static_cast<int32_t>(Adapter("MaxVoltage"));
    info->Usage = static_cast<int16_t>(Adapter("MaxUsage"));
    info->Temperature = static_cast<int16_t>(Adapter("MaxTemperature"));
    return Code("MaxCode");
}

struct CurrentInfo {
    uint32_t Reserved, State, ProcessorFrequency, MemoryFrequency;
    int32_t Voltage;
    int16_t Usage, Temperature;
};
static_assert(sizeof(CurrentInfo) == 24);

int32_t GetCurrentInfo(void*, CurrentInfo* info) {
    info->State = Adapter("State");
    info->ProcessorFrequency = Adapter("ProcessorFrequency");
    info->MemoryFrequency = Adapter("MemoryFrequency");
    info->Voltage = static_cast<int32_t>(Adapter("Voltage"));
    info->Usage = static_cast<int16_t>(Adapter("Usage"));
    info->Temperature = static_cast<int16_t>(Adapter("Temperature"));
    return Code("CurrentCode");
}

int32_t GetFanSpeed(void*, uint32_t* rpm) {
    *rpm = Adapter("FanRpm");
    return Code("FanCode");
}

void* const kDeviceTable[] = {
    reinterpret_cast<void*>(&NeverCalled), reinterpret_cast<void*>(&NeverCalled),
    reinterpret_cast<void*>(&NeverCalled), reinterpret_cast<void*>(&NeverCalled),
    reinterpret_cast<void*>(&GetVendor),   reinterpret_cast<void*>(&GetType),
    reinterpret_cast<void*>(&GetDeviceID), reinterpret_cast<void*>(&GetBasicInfo),
    reinterpret_cast<void*>(&GetMaxInfo),  reinterpret_cast<void*>(&GetCurrentInfo),
    reinterpret_cast<void*>(&GetFanSpeed),
};

} // namespace

extern "C" {

void* StandInGet() {
    return &g_controller;
}

int32_t StandInInitialize(Controller* self, void* owner, void (*callback)(void*)) {
    CheckSelf(self, &g_controller);
    Record("AdaptersInitialize");
    self->owner = owner;
    self->callback = callback;
    return Code("InitializeCode");
}

int32_t StandInUninitialize(Controller* self, void*) {
    CheckSelf(self, &g_controller);
    Record("AdaptersUninitialize");
    self->owner = nullptr;
    self->callback = nullptr;
    return 0;
}

// A refresh reports an adapter change to the owner, as the library does after a device change.
int32_t StandInRefresh(Controller* self, uint32_t) {
    CheckSelf(self, &g_controller);
    Record("AdaptersRefresh");
    if (self->callback != nullptr) {
        self->callback(self->owner);
    }
    return 0;
}

int32_t StandInCreateDevice(Controller* self, void** device) {
    CheckSelf(self, &g_controller);
    Record("CreateDevice");
    const int32_t code = Code("CreateCode");
    if (code >= 0) {
        *device = new Device{kDeviceTable};
    }
    return code;
}

int32_t StandInDestroyDevice(Controller* self, void** device) {
    CheckSelf(self, &g_controller);
    Record("DestroyDevice");
    delete static_cast<Device*>(*device);
    *device = nullptr;
    return 0;
}

} // extern "C"
