#pragma once

#include "cpu/xtu_delays.h"
#include "monitor_plugin/worker_timeouts.h"
#include "platform/recording_stop_request.h"
#include "ports/amd_sdk.h"
#include "ports/clock.h"
#include "ports/code_signatures.h"
#include "ports/cpuid.h"
#include "ports/crypto.h"
#include "ports/display_adapters.h"
#include "ports/docking_controller.h"
#include "ports/encrypt_helper.h"
#include "ports/files.h"
#include "ports/firmware_device.h"
#include "ports/helper_library.h"
#include "ports/host_heap.h"
#include "ports/io_library.h"
#include "ports/kernel_objects.h"
#include "ports/log_file.h"
#include "ports/machine_registry.h"
#include "ports/message_programs.h"
#include "ports/performance_counters.h"
#include "ports/physical_drives.h"
#include "ports/profile_strings.h"
#include "ports/registry_keys.h"
#include "ports/shared_events.h"
#include "ports/system_devices.h"
#include "ports/system_messages.h"
#include "ports/ui_process.h"
#include "ports/window_messages.h"
#include "ports/wmi.h"
#include "ports/xtu_library.h"

#include <memory>

// Everything the monitor plug-in reaches the machine through, in one place. It is filled in
// exactly twice: by the module's entry point with the Windows implementations, and by each
// native test with the simulated machine. The plug-in hands each reader the ports it needs.
struct PluginPorts {
    ports::HostHeap& heap;
    ports::KernelObjects& kernel;
    ports::Clock& clock;
    ports::UiProcesses& uiProcesses;
    ports::LogFiles& logFiles;
    ports::HelperLibrary& helper;
    ports::Files& files;
    ports::Folders& folders;
    ports::Crypto& crypto;
    ports::DisplayAdapterController& adapters;
    ports::DockingController& dock;
    ports::EncryptHelper& encryptHelper;
    ports::ProfileStrings& profileStrings;
    ports::PerformanceCounters& counters;
    ports::Wmi& wmi;
    ports::IoLibraries& ioLibraries;
    ports::CodeSignatures& codeSignatures;
    ports::XtuLibrary& xtu;
    ports::AmdSdkLibraries& amdSdk;
    ports::Cpuid& cpuid;
    ports::SystemDevices& systemDevices;
    ports::MachineRegistry& machineRegistry;
    ports::RegistryKeys& registryKeys;
    ports::FirmwareDevices& firmware;
    ports::SharedEvents& sharedEvents;
    ports::WindowMessages& windowMessages;
    ports::MessagePrograms& messagePrograms;
    ports::PhysicalDrives& physicalDrives;
    ports::SystemMessages& systemMessages;
    // How the message programs reach the plug-in's recording: bound while it is initialised.
    platform::RecordingStopRequest& recordingStopRequest;
    // How long the tuning utility's paths sleep: the product's values unless a test shortens them.
    cpu::XtuDelays xtuDelays;
    // How long the background workers and shutdown wait: likewise.
    WorkerTimeouts workerTimeouts;
    // Keeps the implementations above alive as long as the plug-in (the module makes them per
    // plug-in, since its maker libraries may not be loaded while the module itself loads).
    std::shared_ptr<const void> owner;
};
