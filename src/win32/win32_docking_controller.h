#pragma once

#include "ports/docking_controller.h"

#include <cstdint>
#include <memory>

namespace win32 {

// ExternalGPUConfigHelper.dll beside the plug-in, bound by its exported names. The controller is
// fetched with Get() before every call; configuration records are freed with the C run-time's free
// (msvcrt), as the library allocates them.
class Win32DockingController final : public ports::DockingController {
public:
    Win32DockingController();
    ~Win32DockingController() override;

    // The system error of loading the library; 0 when it loaded.
    uint32_t LoadError() const;

    std::optional<ports::LibraryCode> Initialize(void* owner) override;
    std::optional<ports::LibraryCode> Uninitialize(void* owner) override;
    std::optional<ports::DockedGpuId> GetEGPUID() override;
    std::optional<ports::DockedGpuConfig> GetEGPUConfig() override;
    std::optional<ports::DockFanSpeed> GetFanSpeed() override;

private:
    struct Library;

    std::unique_ptr<Library> m_library;
};

} // namespace win32
