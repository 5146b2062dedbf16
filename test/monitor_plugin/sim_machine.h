#pragma once
// The simulated laptop native tests give the monitor plug-in: every port of its composition root
// filled from src/sim, each scriptable by the test.
#include "fanacoustic/tree_crypto.h"
#include "monitor_plugin/plugin_ports.h"
#include "sim/fake_amd_sdk.h"
#include "sim/fake_clock.h"
#include "sim/fake_code_signatures.h"
#include "sim/fake_display_adapters.h"
#include "sim/fake_docking_controller.h"
#include "sim/fake_encrypt_helper.h"
#include "sim/fake_firmware_devices.h"
#include "sim/fake_helper_library.h"
#include "sim/fake_io_libraries.h"
#include "sim/fake_message_programs.h"
#include "sim/fake_performance_counters.h"
#include "sim/fake_physical_drives.h"
#include "sim/fake_ryzen_master.h"
#include "sim/fake_system_messages.h"
#include "sim/fake_ui_processes.h"
#include "sim/fake_window_messages.h"
#include "sim/fake_wmi.h"
#include "sim/fake_xtu_library.h"
#include "sim/memory_files.h"
#include "sim/memory_log_files.h"
#include "sim/memory_profile_strings.h"
#include "sim/memory_registry_keys.h"
#include "sim/native_kernel_objects.h"
#include "sim/native_shared_events.h"

#include <cstdlib>
#include <mutex>
#include <set>

// The host's heap, safe for the plug-in's threads; it knows which blocks are still out.
class LockedHeap final : public ports::HostHeap {
public:
    ~LockedHeap() override {
        for (void* block : live_) {
            std::free(block);
        }
    }
    void* Allocate(std::size_t size) override {
        void* block = std::malloc(size == 0 ? 1 : size);
        std::lock_guard lock(mutex_);
        live_.insert(block);
        return block;
    }
    void Free(void* block) override {
        if (block == nullptr) {
            return;
        }
        std::lock_guard lock(mutex_);
        if (live_.erase(block) == 0) {
            std::abort(); // freed twice, or never ours
        }
        std::free(block);
    }
    std::size_t Live() const {
        std::lock_guard lock(mutex_);
        return live_.size();
    }

private:
    mutable std::mutex mutex_;
    std::set<void*> live_;
};

struct SimMachine {
    SimMachine() : helper(sim::FakeHelperLibrary::IntelLaptop()) {}

    PluginPorts Ports() { return Ports(messagePrograms); }
    // With other message programs than the recording fake, such as the real launcher.
    PluginPorts Ports(ports::MessagePrograms& messages) {
        return {
            .heap = heap,
            .kernel = pluginKernel != nullptr ? *pluginKernel : kernel,
            .clock = clock,
            .uiProcesses = uiProcesses,
            .logFiles = logFiles,
            .helper = helper,
            .files = files,
            .folders = files,
            .crypto = crypto,
            .adapters = adapters,
            .dock = dock,
            .encryptHelper = encryptHelper,
            .profileStrings = profileStrings,
            .counters = counters,
            .wmi = wmi,
            .ioLibraries = ioLibraries,
            .codeSignatures = codeSignatures,
            .xtu = xtu,
            .amdSdk = amdSdk,
            .cpuid = cpuid,
            .systemDevices = systemDevices,
            .machineRegistry = machineRegistry,
            .registryKeys = registryKeys,
            .firmware = firmware,
            .sharedEvents = sharedEvents,
            .windowMessages = windowMessages,
            .messagePrograms = messages,
            .physicalDrives = physicalDrives,
            .systemMessages = systemMessages,
            .recordingStopRequest = recordingStopRequest,
            .xtuDelays = {0, 0, 0}, // the tuning utility answers at once
            .workerTimeouts = workerTimeouts,
            .owner = nullptr,
        };
    }

    LockedHeap heap;
    sim::NativeKernelObjects kernel;
    // The kernel objects the plug-in gets, when not `kernel` itself (virtual time, faults).
    ports::KernelObjects* pluginKernel = nullptr;
    sim::FakeClock clock;
    sim::FakeUiProcesses uiProcesses;
    sim::MemoryLogFiles logFiles{kernel};
    sim::FakeHelperLibrary helper;
    sim::MemoryFiles files;
    ports::Crypto& crypto = TreeCrypto(); // OpenSSL natively, CNG under Wine
    sim::FakeDisplayAdapters adapters;
    sim::FakeDockingController dock;
    sim::FakeEncryptHelper encryptHelper{files};
    sim::MemoryProfileStrings profileStrings{files};
    sim::FakePerformanceCounters counters;
    sim::FakeWmi wmi;
    sim::FakeIoLibraries ioLibraries;
    sim::FakeCodeSignatures codeSignatures;
    sim::FakeXtuLibrary xtu;
    sim::FakeAmdSdk amdSdk;
    sim::FakeCpuid cpuid;
    sim::FakeSystemDevices systemDevices;
    sim::MemoryRegistry machineRegistry;
    sim::MemoryRegistryKeys registryKeys;
    sim::FakeFirmwareDevices firmware;
    sim::NativeSharedEvents sharedEvents;
    sim::FakeWindowMessages windowMessages;
    sim::FakeMessagePrograms messagePrograms;
    sim::FakePhysicalDrives physicalDrives;
    sim::FakeSystemMessages systemMessages;
    // The product's values; a test that lets time pass shortens them or runs on virtual time.
    WorkerTimeouts workerTimeouts;
    platform::RecordingStopRequest recordingStopRequest;
};
