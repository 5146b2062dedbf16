// XTUWrapperForNativeCode.dll for the Windows tests. MinGW cannot give a C++ class the MSVC
// names, so the members are plain functions taking the object first (the x64 member call) and
// exported under the decorated names by xtu_wrapper_stand_in.def. It answers from its
// [XTUWrapperForNativeCode] section: initialize [1], what Initialize answers; value.N, the monitor
// value of identifier N in upper-case hexadecimal [0.0]. The object is the caller's one
// byte: the constructor marks it, and every later call records whether it got the same object.

#include "stand_in.h"

#include <cstdint>
#include <cstdio>

namespace {

constexpr char kSection[] = "XTUWrapperForNativeCode";
constexpr unsigned char kMark = 0xA5;
bool monitorRunning = false;

const char* Object(void* self) {
    return self != nullptr && *static_cast<unsigned char*>(self) == kMark ? "ok" : "bad";
}

void RecordCall(const char* member, void* self) {
    char line[128];
    std::snprintf(line, sizeof line, "%s %s", member, Object(self));
    standin::StandIn(kSection).Record(line);
}

} // namespace

extern "C" {

void* XtuConstruct(void* self) {
    *static_cast<unsigned char*>(self) = kMark;
    RecordCall("construct", self);
    return self;
}

void XtuDestruct(void* self) {
    RecordCall("destruct", self);
    *static_cast<unsigned char*>(self) = 0;
}

bool XtuInitialize(void* self) {
    RecordCall("Initialize", self);
    return standin::StandIn(kSection).Double("initialize", 1.0) != 0.0;
}

void XtuStartMonitor(void* self) {
    RecordCall("StartMonitor", self);
    monitorRunning = true;
}

bool XtuIsMonitorRunning(void* self) {
    RecordCall("IsMonitorRunning", self);
    return monitorRunning;
}

double XtuGetMonitorValue(void* self, unsigned int monitorId) {
    char line[128];
    std::snprintf(line, sizeof line, "GetMonitorValue %s %X", Object(self), monitorId);
    const standin::StandIn scenario(kSection);
    scenario.Record(line);
    char key[32];
    std::snprintf(key, sizeof key, "value.%X", monitorId);
    return scenario.Double(key, 0.0);
}

void XtuStopMonitor(void* self) {
    RecordCall("StopMonitor", self);
    monitorRunning = false;
}

} // extern "C"
