#pragma once

#include "ports/clock.h"
#include "ports/crypto.h"
#include "ports/files.h"
#include "ports/firmware_device.h"
#include "ports/helper_library.h"
#include "ports/host_heap.h"
#include "ports/kernel_objects.h"
#include "ports/log_file.h"
#include "ports/message_programs.h"
#include "ports/shared_events.h"
#include "ports/ui_process.h"
#include "ports/window_messages.h"

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
    ports::FirmwareDevices& firmware;
    ports::SharedEvents& sharedEvents;
    ports::WindowMessages& windowMessages;
    ports::MessagePrograms& messagePrograms;
};
