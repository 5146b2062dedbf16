#pragma once

#include "cpu/cpu_readings.h"
#include "ports/event.h"
#include "ports/files.h"
#include "ports/helper_library.h"
#include "ports/io_library.h"
#include "ports/kernel_objects.h"
#include "ports/performance_counters.h"
#include "ports/wmi.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace cpu {

// The parts of the machine the CPU info reader reads.
struct CpuInfoPorts {
    ports::KernelObjects& Kernel;
    ports::HelperLibrary& Helper;
    ports::PerformanceCounters& Counters;
    ports::Wmi& Wmi;
    ports::IoLibraries& IoLibraries;
    ports::Folders& Folders;
};

// The plug-in's own processor readings that need no vendor SDK: effective clock and utilisation
// from performance counters, rated clock and memory clock from WMI, temperature and core voltage
// from the firmware, and on the one model that has it the core voltage from a model-specific
// register through the vendor IO library. Every reading is cached, so a failed read answers the
// last good value. Readers may be called from several threads at once.
class CPUInfoReader final : public CpuReadings {
public:
    // (level, source, message); the source is always "CPUInfoReader". Empty: nothing is logged.
    using Logger = std::function<void(int32_t, const char16_t*, const char16_t*)>;
    // Takes a library's full path; non-zero when its code signature is acceptable.
    using LibraryVerifier = std::function<int32_t(const std::u16string&)>;

    CPUInfoReader(const CpuInfoPorts& ports, uint32_t cpuVendor, std::u16string modelName);
    CPUInfoReader(const CPUInfoReader&) = delete;
    CPUInfoReader& operator=(const CPUInfoReader&) = delete;
    ~CPUInfoReader() override;

    // Bound by the plug-in after construction, before Initialize.
    Logger logger;
    LibraryVerifier libraryVerifier;

    // Detects firmware temperature and voltage support and makes the query lock; once only.
    void Initialize(ports::AcpiDeviceHandle acpiDevice);

    bool IsVoltageSupported(bool probe) override;
    double GetFrequency() override;
    double GetUtilization() override;
    uint16_t GetTemperature() override;
    double GetVoltage() override;
    uint32_t GetMemoryClockSpeed() override;
    bool CollectQueryData() override;

    // Opens the counter query if none is open; the PDH status, 0 on success.
    uint32_t StartPDH();
    // Closes the counter query; the next reading opens it again.
    void Stop();
    // Stops, closes the query lock and clears the initialised state.
    void Release();

    static int32_t QueryWmiValue(ports::Wmi& wmi, const std::u16string& wql,
                                 ports::WmiValues& values);
    // The one 32-bit property the query gives; E_FAIL, destination untouched, unless exactly one.
    static int32_t QueryWmiSingleValue(ports::Wmi& wmi, const std::u16string& wql, uint32_t* value);

private:
    struct FirmwareReading;

    FirmwareReading CallFirmware(uint32_t deviceId);
    bool DetectVoltageSupport();
    bool LoadIoLibrary();
    void RefreshWmiMaxClockSpeed();
    uint32_t StartQuery();
    void CloseQuery();
    // Runs read with the query lock held and the query open; answers the cached value after it.
    template <typename Read>
    double ReadWithQuery(const double& cached, Read read);
    bool LockQuery();
    void UnlockQuery(bool locked);
    void Stop(bool logAlways);
    template <typename... Args>
    void Log(int32_t level, const char16_t* format, Args... args);

    CpuInfoPorts m_ports;
    const uint32_t cpuVendor;
    const std::u16string modelName;
    bool initialised = false;
    ports::AcpiDeviceHandle acpiDevice = nullptr;
    std::unique_ptr<ports::Event> queryLock;

    // The counter query and what it reads; guarded by m_queryState (the lock event serialises
    // readers as the system's named object, the mutex keeps CollectQueryData, which does not wait
    // for the event, from meeting a query being closed).
    std::mutex m_queryState;
    std::unique_ptr<ports::CounterQuery> pdhQuery;
    ports::CounterHandle performanceCounter = 0;
    ports::CounterHandle frequencyCounter = 0;
    ports::CounterHandle maxFrequencyCounter = 0;
    ports::CounterHandle utilityCounter = 0;
    double frequency = 0.0;
    double utilization = 0.0;

    std::atomic<uint32_t> memoryFrequency{0};
    std::atomic<uint16_t> temperature{0};
    std::atomic<double> voltage{0.0};
    std::atomic<bool> voltageSupported{false};
    std::atomic<bool> biosTemperatureSupported{false};
    std::atomic<bool> modelMatched{false};
    std::atomic<uint32_t> wmiMaxClockSpeed{0};

    // The vendor IO library, kept loaded from detection until the reader goes; its register reads
    // (open, read, close) run one at a time.
    std::mutex m_ioLibraryUse;
    std::unique_ptr<ports::IoLibrary> m_ioLibrary;
};

} // namespace cpu
