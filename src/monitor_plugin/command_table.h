#pragma once

#include "recording/record_items.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

class COrvexMonitorPlugin;
class MonitorRecorder;
namespace VelmorValueSet {
class ValueSet;
}

// The plug-in's commands by number. Each family of commands registers its own in the file that
// holds them (monitor snapshot, device information, recording); a number with no command answers
// "Command" = 255.
class CommandTable {
public:
    using Handler = void (*)(COrvexMonitorPlugin& plugin, const VelmorValueSet::ValueSet& request,
                             VelmorValueSet::ValueSet& answer);

    static constexpr int32_t kLastCommand = 65;

    // The table of every command, built once.
    static const CommandTable& Commands();

    void Register(int32_t command, Handler handler) {
        handlers_.at(static_cast<std::size_t>(command)) = handler;
    }
    // Null for 0, for numbers past the last command and for numbers without a command.
    Handler Find(int32_t command) const {
        if (command < 1 || command > kLastCommand) {
            return nullptr;
        }
        return handlers_[static_cast<std::size_t>(command)];
    }

private:
    std::array<Handler, kLastCommand + 1> handlers_{};
};

// The families, each in its own file. They are friends of the plug-in.
class MonitorSnapshotCommands {
    using ValueSet = VelmorValueSet::ValueSet;

public:
    static void Register(CommandTable& table);

private:
    static void Snapshot(COrvexMonitorPlugin& plugin, const ValueSet& request, ValueSet& answer);
    static void DiskActivity(COrvexMonitorPlugin& plugin, const ValueSet& request,
                             ValueSet& answer);
    static void CpuSnapshot(COrvexMonitorPlugin& plugin, ValueSet& answer);
    static void RunXtuInitializeOnFirstUse(COrvexMonitorPlugin& plugin);
    static int32_t CpuFanRpm(COrvexMonitorPlugin& plugin);
    static int32_t GpuTotalGraphicsPower(COrvexMonitorPlugin& plugin);
};

class DeviceInformationCommands {
    using ValueSet = VelmorValueSet::ValueSet;

public:
    static void Register(CommandTable& table);

private:
    static void DeviceInformation(COrvexMonitorPlugin& plugin, const ValueSet& request,
                                  ValueSet& answer);
    static void Phase(COrvexMonitorPlugin& plugin, const ValueSet& request, ValueSet& answer);
    static void VoltageSupport(COrvexMonitorPlugin& plugin, const ValueSet& request,
                               ValueSet& answer);
};

class RecordingCommands {
    using ValueSet = VelmorValueSet::ValueSet;

public:
    static void Register(CommandTable& table);

    // The recorder's callbacks: one sample through the plug-in's own requests, the announcement
    // of a new record, and the end of a log file.
    static void Sample(void* plugin, std::map<uint32_t, double>& values);
    static void AnnounceRound(void* plugin, int64_t serialNumber, int32_t newest);
    static void LogFinished(void* plugin, const std::u16string& path);

private:
    static void Start(COrvexMonitorPlugin& plugin, const ValueSet& request, ValueSet& answer);
    static void ReadPages(COrvexMonitorPlugin& plugin, const ValueSet& request, ValueSet& answer);
    static void StartLogging(COrvexMonitorPlugin& plugin, const ValueSet& request,
                             ValueSet& answer);
    static void StopLogging(COrvexMonitorPlugin& plugin, const ValueSet& request, ValueSet& answer);
    static void ShowRecording(COrvexMonitorPlugin& plugin, const ValueSet& request,
                              ValueSet& answer);
    static void End(COrvexMonitorPlugin& plugin, const ValueSet& request, ValueSet& answer);
    static std::shared_ptr<MonitorRecorder>
    CheckedRecorder(COrvexMonitorPlugin& plugin, const ValueSet& request, ValueSet& answer);
    static void WriteItems(COrvexMonitorPlugin& plugin, ValueSet& record,
                           std::array<RecordItemInfo, kRecordItemCount>& items);
};
