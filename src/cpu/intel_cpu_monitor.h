#pragma once

#include "cpu/cpu_answer.h"
#include "cpu/cpu_readings.h"
#include "cpu/fan_acoustic_lookup.h"
#include "cpu/xtu_delays.h"
#include "plugin_frame/base_orvex_plugin.h"
#include "plugin_frame/value_set.h"
#include "ports/helper_library.h"
#include "ports/kernel_objects.h"
#include "ports/xtu_library.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

namespace cpu {

// What the Intel monitor reaches the machine and the host through.
struct IntelCpuMonitorPorts {
    BaseOrvexPlugin& plugin; // logs; handed to the helper library's StartXTUService
    ports::KernelObjects& kernel;
    ports::HelperLibrary& helper;
    ports::XtuLibrary& xtu;
    FanAcousticLookup& acoustic;
};

// The CPU part of a monitor answer on an Intel machine: each quantity from the CPU info reader
// and, where that gives nothing, from the Intel XTU monitor. Owns the XTU wrapper from its
// initialisation (on its own thread) until the plug-in shuts down.
//
// Threads: requests and the periodic collector call GetCPUMonitorInformation, possibly at once;
// InitializeXtu runs once on its own thread. The wrapper is shared, so one that is destroyed
// while a caller still reads it lives until that caller is done.
class IntelCpuMonitor {
public:
    // isReady: the plug-in's ready flag, clear while its first-session record waits.
    IntelCpuMonitor(const IntelCpuMonitorPorts& ports, std::function<bool()> isReady,
                    XtuDelays delays = {});

    // Fills the CPU keys of answer; reader may be null.
    void GetCPUMonitorInformation(CpuReadings* reader, uint32_t cpuFanSpeed,
                                  VelmorValueSet::ValueSet& answer);
    // True when the XTU monitor can be read; starts it when it does not run.
    bool EnsureXTUMonitor();

    // The Intel work of the XTU initialisation thread: starts the XTU service, creates and
    // initialises the wrapper and signals "CPUInitializedEvent" when that succeeded.
    void InitializeXtu();
    // m_XTUIsInitial: the wrapper's Initialize succeeded.
    bool XtuIsInitial() const { return m_XTUIsInitial.load(); }
    bool HasXtu() const;
    // Stops the XTU monitor after a periodic collection.
    void StopXtuMonitor();
    // Destroys the wrapper at shutdown.
    void DestroyXtu();

private:
    std::shared_ptr<ports::XtuWrapper> Xtu() const;
    // The wrapper once its monitor runs; null (logged) when there is none.
    std::shared_ptr<ports::XtuWrapper> EnsuredXtu();
    void WriteTemperature(CpuReadings& reader, VelmorValueSet::ValueSet& core);
    void WriteVoltage(CpuReadings& reader, VelmorValueSet::ValueSet& core);
    // The XTU fallback for what the reader gave as 0.
    void WriteXtuClockAndUsage(const ReaderClockAndUsage& fromReader,
                               VelmorValueSet::ValueSet& core);
    double ReadXtuTemperature(ports::XtuWrapper& xtu);
    double ReadXtuVoltage(ports::XtuWrapper& xtu);

    BaseOrvexPlugin& m_plugin;
    ports::KernelObjects& m_kernel;
    ports::HelperLibrary& m_helper;
    ports::XtuLibrary& m_xtuLibrary;
    FanAcousticLookup& m_acoustic;
    std::function<bool()> m_isReady;
    XtuDelays m_delays;

    mutable std::mutex m_xtuLock; // guards m_pXTU itself, not the calls through it
    std::shared_ptr<ports::XtuWrapper> m_pXTU;
    std::atomic<bool> m_XTUIsInitial{false};
};

} // namespace cpu
