#pragma once

#include "ports/display_adapters.h"

#include <cstdint>
#include <memory>

namespace win32 {

// GPUControlLibrary.dll beside the plug-in, bound by its exported names. The controller is fetched
// with Get() before every call; a device is a library object whose virtual table is called slot by
// slot, and it goes back through DestroyDevice when its port object is destroyed.
class Win32DisplayAdapters final : public ports::DisplayAdapterController {
public:
    Win32DisplayAdapters();
    ~Win32DisplayAdapters() override;

    // The system error of loading the library; 0 when it loaded.
    uint32_t LoadError() const;

    std::optional<ports::LibraryCode> Initialize(void* owner, ChangeCallback callback) override;
    std::optional<ports::LibraryCode> Uninitialize(void* owner) override;
    std::optional<ports::LibraryCode> Refresh(uint32_t flags) override;
    std::optional<ports::CreatedDevice> CreateDevice() override;

private:
    struct Library;
    class Device;

    std::unique_ptr<Library> m_library;
};

} // namespace win32
