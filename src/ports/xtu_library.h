#pragma once

#include <cstdint>
#include <memory>

namespace ports {

// One object of the Intel XTU monitor wrapper (XTUWrapperForNativeCode.dll). Destroying it runs
// the library's destructor on the object and frees it.
class XtuWrapper {
public:
    virtual ~XtuWrapper() = default;

    virtual bool Initialize() = 0;
    virtual void StartMonitor() = 0;
    virtual bool IsMonitorRunning() = 0;
    virtual double GetMonitorValue(uint32_t monitorId) = 0;
    virtual void StopMonitor() = 0;
};

// The XTU wrapper library beside the plug-in.
class XtuLibrary {
public:
    virtual ~XtuLibrary() = default;

    // A constructed wrapper object; null when the library or one of its entries is missing or the
    // object cannot be allocated.
    virtual std::unique_ptr<XtuWrapper> CreateWrapper() = 0;
};

} // namespace ports
