#pragma once

#include "cpu/cpu_info_reader.h"
#include "sim/fake_helper_library.h"
#include "sim/fake_io_libraries.h"
#include "sim/fake_performance_counters.h"
#include "sim/fake_wmi.h"
#include "sim/memory_files.h"
#include "sim/native_kernel_objects.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

// A simulated laptop for the CPU info reader: helper library with firmware, counters, WMI, the
// vendor IO library beside the plug-in, and what the reader logged and asked to verify.
struct CpuMachine {
    static constexpr char16_t kPerformance[] =
        u"\\Processor Information(_Total)\\% Processor Performance";
    static constexpr char16_t kFrequency[] =
        u"\\Processor Information(_Total)\\Processor Frequency";
    static constexpr char16_t kOfMaximum[] =
        u"\\Processor Information(_Total)\\% of Maximum Frequency";
    static constexpr char16_t kUtility[] = u"\\Processor Information(_Total)\\% Processor Utility";
    static constexpr char16_t kMaxClockQuery[] = u"SELECT MaxClockSpeed FROM Win32_Processor";
    static constexpr char16_t kMemoryQuery[] =
        u"SELECT ConfiguredClockSpeed FROM Win32_PhysicalMemory";
    static constexpr char16_t kIoLibraryPath[] =
        u"C:\\Program Files\\Orvex\\ThrottlePlugin\\VelmorIO3_64.dll";

    struct LogLine {
        int32_t Level;
        std::u16string Source;
        std::u16string Text;
    };

    CpuMachine();

    // A processor rated at maxClock MHz whose counters all exist.
    void Processor(uint32_t maxClock, double performance, double ofMaximum, double utility);

    std::unique_ptr<cpu::CPUInfoReader> Reader(uint32_t vendor, std::u16string model = u"GA402");
    std::unique_ptr<cpu::CPUInfoReader> InitializedReader(uint32_t vendor,
                                                          std::u16string model = u"GA402");

    std::vector<LogLine> Logs() const;
    bool Logged(int32_t level, const std::u16string& text) const;
    bool LoggedText(const std::u16string& text) const;
    std::vector<std::u16string> Verified() const;

    sim::NativeKernelObjects kernel;
    sim::FakeHelperLibrary helper{sim::FakeHelperLibrary::IntelLaptop()};
    sim::FakePerformanceCounters counters;
    sim::FakeWmi wmi;
    sim::FakeIoLibraries io;
    sim::MemoryFiles files;
    int32_t verifierAnswer = 1;

private:
    mutable std::mutex m_mutex;
    std::vector<LogLine> m_logs;
    std::vector<std::u16string> m_verified;
};
