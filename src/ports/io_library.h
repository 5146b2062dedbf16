#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace ports {

// The vendor IO library (VelmorIO3_64.dll) through which model-specific registers are read.
// Destroying it unloads the module.
class IoLibrary {
public:
    virtual ~IoLibrary() = default;

    // All three entries (open, read, close) were found.
    virtual bool Complete() const = 0;
    // VELMORIO_OPEN_WO_MSG: true when the driver could be opened.
    virtual bool Open(int32_t flags) = 0;
    // VELMORIO_ReadMSR: its result; value is written only when the library writes it.
    virtual int32_t ReadMsr(uint32_t index, uint64_t& value) = 0;
    // VELMORIO_Close.
    virtual void Close() = 0;
};

struct LoadedIoLibrary {
    uint32_t Error = 0;                 // the system's error when the load failed
    std::unique_ptr<IoLibrary> Library; // null when the load failed
};

class IoLibraries {
public:
    virtual ~IoLibraries() = default;
    // Loads the library by its full path.
    virtual LoadedIoLibrary Load(const std::u16string& path) = 0;
};

} // namespace ports
