#include "win32/win32_docking_controller.h"

#include "win32/maker_controller.h"
#include "win32/maker_exports.h"

#include <cstdlib>

namespace win32 {

namespace {

using InitializeFn = int32_t (*)(void* self, void* owner, void (*callback)(void*));
using UninitializeFn = int32_t (*)(void* self, void* owner);
using GetIdFn = int32_t (*)(void* self, ports::GPUDeviceID* id);
// Each record begins with the two identity words; the rest is the library's own.
using GetConfigFn = int32_t (*)(void* self, ports::GPUDeviceID** records, uint16_t* count,
                                uint32_t* size);
using GetFanSpeedFn = int32_t (*)(void* self, uint32_t* rpm, uint32_t* acoustic);

} // namespace

struct Win32DockingController::Library {
    MakerController controller{maker::dock::kFile, maker::dock::kGet};
    InitializeFn initialize = controller.Entry<InitializeFn>(maker::dock::kInitialize);
    UninitializeFn uninitialize = controller.Entry<UninitializeFn>(maker::dock::kUninitialize);
    GetIdFn getEgpuId = controller.Entry<GetIdFn>(maker::dock::kGetEGPUID);
    GetConfigFn getEgpuConfig = controller.Entry<GetConfigFn>(maker::dock::kGetEGPUConfig);
    GetFanSpeedFn getFanSpeed = controller.Entry<GetFanSpeedFn>(maker::dock::kGetFanSpeed);
};

Win32DockingController::Win32DockingController() : m_library(std::make_unique<Library>()) {}

Win32DockingController::~Win32DockingController() = default;

uint32_t Win32DockingController::LoadError() const {
    return m_library->controller.LoadError();
}

std::optional<ports::LibraryCode> Win32DockingController::Initialize(void* owner) {
    return m_library->controller.Call(m_library->initialize, owner, nullptr);
}

std::optional<ports::LibraryCode> Win32DockingController::Uninitialize(void* owner) {
    return m_library->controller.Call(m_library->uninitialize, owner);
}

std::optional<ports::DockedGpuId> Win32DockingController::GetEGPUID() {
    ports::DockedGpuId docked;
    const auto code = m_library->controller.Call(m_library->getEgpuId, &docked.Id);
    if (!code) {
        return std::nullopt;
    }
    docked.Code = *code;
    return docked;
}

std::optional<ports::DockedGpuConfig> Win32DockingController::GetEGPUConfig() {
    ports::GPUDeviceID* records = nullptr;
    uint16_t count = 0;
    uint32_t size = 0;
    const auto code = m_library->controller.Call(m_library->getEgpuConfig, &records, &count, &size);
    if (!code) {
        return std::nullopt;
    }
    ports::DockedGpuConfig config{*code, std::nullopt};
    if (records != nullptr) {
        if (ports::Succeeded(config.Code)) {
            config.FirstId = records[0];
        }
        std::free(records);
    }
    return config;
}

std::optional<ports::DockFanSpeed> Win32DockingController::GetFanSpeed() {
    ports::DockFanSpeed fan;
    const auto code = m_library->controller.Call(m_library->getFanSpeed, &fan.Rpm, &fan.Acoustic);
    if (!code) {
        return std::nullopt;
    }
    fan.Code = *code;
    return fan;
}

} // namespace win32
