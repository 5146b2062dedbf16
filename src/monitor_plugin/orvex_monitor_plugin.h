#pragma once

#include "gpu/fan_acoustic.h"
#include "monitor_plugin/background_workers.h"
#include "monitor_plugin/command_table.h"
#include "monitor_plugin/cpu_side.h"
#include "monitor_plugin/disk_activity.h"
#include "monitor_plugin/gpu_side.h"
#include "monitor_plugin/plugin_ports.h"
#include "plugin_frame/base_orvex_plugin.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class MonitorRecorder;

// The hardware-monitoring plug-in: the plug-in table through BaseOrvexPlugin and, as a second
// table of the same object, the event handler the host delivers system events to.
//
// Threads: host threads call requests, notifications and events at any time after Initialize;
// the workers, the tuning-utility initialisation thread and the recorder's sampling thread run
// alongside. Command 1 and the workers' CPU collection hold the monitor lock; the recorder is
// shared under a lock of its own, so a request never sees it half destroyed.
class COrvexMonitorPlugin final : public BaseOrvexPlugin, public IOrvexEventHandlerEx1 {
public:
    COrvexMonitorPlugin(uint32_t hostMode, const PluginPorts& ports);

    // Slots 0 to 2 of both tables.
    HRESULT QueryInterface(const GUID* iid, void** out) noexcept override;
    uint32_t AddRef() noexcept override { return BaseOrvexPlugin::AddRef(); }
    uint32_t Release() noexcept override { return BaseOrvexPlugin::Release(); }

    // IOrvexPlugin
    HRESULT Initialize() noexcept override;
    HRESULT Uninitialize() noexcept override;
    HRESULT Reserved10() noexcept override { return OrvexResult::kOk; }
    HRESULT Reserved11() noexcept override { return OrvexResult::kOk; }
    HRESULT Reserved12(uint32_t argument, uint32_t* out) noexcept override;
    HRESULT GetModuleList(char16_t* buffer, uint32_t* count) noexcept override;
    int32_t Reserved17() noexcept override { return 1; }
    int32_t Reserved18() noexcept override { return 0; }
    int32_t Reserved19() noexcept override { return 1; }
    int32_t Reserved20() noexcept override { return 0; }
    int32_t Reserved21() noexcept override { return 35; }
    int32_t Reserved22() noexcept override { return 1; }
    int32_t Reserved23() noexcept override { return 0; }
    HRESULT ProcessRequest(void* sender, ValueSet* request, ValueSet* response) noexcept override;
    HRESULT ReceiveNotification(uint8_t code, ValueSet* payload) noexcept override;

    // IOrvexEventHandlerEx1
    int32_t RemoveUpdateClientKey() noexcept override;
    HRESULT Reserved4() noexcept override { return OrvexResult::kOk; }
    HRESULT OnDeviceChange(uint32_t eventType, const void* header) noexcept override;
    HRESULT OnPowerChange(uint32_t eventType, const void* data) noexcept override;
    HRESULT OnWindowMessageDeviceChange(uint32_t message, uintptr_t parameter) noexcept override;
    HRESULT SetEventCallback1(void* fn, void* context) noexcept override;
    HRESULT SetEventCallback2(void* fn, void* context) noexcept override;
    HRESULT SetEventCallback3(void* fn, void* context) noexcept override;
    HRESULT SetEventCallback4(void* fn, void* context) noexcept override;
    HRESULT SetEventCallback5(void* fn, void* context) noexcept override;
    HRESULT Reserved13() noexcept override { return OrvexResult::kOk; }
    HRESULT OnUWPConnectionChange(int32_t connected) noexcept override;

    IOrvexEventHandlerEx1* EventHandler() { return this; }

    // The adapter-change callback the adapter controller is given: the adapters the recording
    // measures are gone, so the recording ends and the clients hear of the change.
    void HandleDeviceChangedEvent() noexcept;

    // For the workers and the system events.
    int32_t CpuVendor() const { return m_cpuVendor; }
    int32_t ProductLine() const { return m_productLine; }
    // The firmware's graphics-switch flag ("DSTS" of 0x00090019, bit 0x10000).
    int32_t SkarnSwitch() const { return m_dstsFlag; }
    ports::CriticalSection& MonitorLock() { return *m_monitorLock; }
    // The record flag: clear while the first-session record waits, which makes the tuning
    // utility's start wait longer.
    bool RecordFlag() const { return m_recordFlag != 0; }
    void SetRecordFlag(bool set) { m_recordFlag = set ? 1 : 0; }
    ports::Event* FirstUserSessionStartEvent() {
        return SharedEvent(m_hFirstUserSessionStartEvent).get();
    }
    ports::Event* PowerResumeEvent() { return SharedEvent(m_hPowerResumeEvent).get(); }
    // A client of the user's session is connected (OnUWPConnectionChange): the tuning utility's
    // monitor then keeps running after a collection.
    bool ClientConnected() const { return m_clientConnected != 0; }
    CpuSide& Cpu() { return *m_cpu; }
    // The model's fan acoustic table, loaded by Initialize and only read afterwards.
    const gpu::FanAcoustic& FanAcousticTable() const { return m_fanAcoustic; }
    GpuSide& Gpu() { return *m_gpu; }
    // Stops any log of the recording and ends the recording session.
    void DestroyRecorder();

    // The AMD GPU values a companion component pushes ("AMDMonitorNotify"). Written without a
    // lock, field by field, so a reader may see a mix of two notifications.
    struct AmdGpuMonitorCache {
        std::atomic<int32_t> Count{0};
        std::atomic<int32_t> CurrentGPUFrequency{0};
        std::atomic<int32_t> CurrentMemoryFrequency{0};
        std::atomic<int32_t> GPUVoltage{0};
        std::atomic<int32_t> MaxGPUProcessorFreq{0};
        std::atomic<int32_t> MaxGPUMemoryFreq{0};
        std::atomic<int32_t> MaxGPUVoltage{0};
        std::atomic<int32_t> FanSpeed{0};
        std::atomic<int16_t> GPUUsage{0};
        std::atomic<int16_t> GPUTemp{0};
        std::atomic<int32_t> GPUState{0};
    };
    const AmdGpuMonitorCache& AmdGpuMonitor() const { return m_amdGpuMonitor; }
    bool AmdUpdateStarted() const { return m_amdUpdateStarted != 0; }
    bool AmdUpdatePending() const { return m_amdUpdatePending != 0; }

private:
    friend class MonitorSnapshotCommands;
    friend class DeviceInformationCommands;
    friend class RecordingCommands;

    ~COrvexMonitorPlugin() override;

    // Initialize, in its steps.
    void QueryProductLine();
    void InitializeServiceInstance();
    void InitializeUserSessionInstance();
    void RegisterDeviceNotification();
    void RegisterPowerSettings();
    void RegisterHotkeyMessage();
    void ReadDstsFlag();
    void StartXtuInitializeThread();

    HRESULT Dispatch(ValueSet& request, ValueSet& response);

    // Notifications.
    void StoreAmdGpuMonitor(const ValueSet& payload);
    void SignalAmdUpdate();

    std::shared_ptr<MonitorRecorder> Recorder();

    // System events.
    void OnPowerSettingChange(const void* data);
    void OnPowerSourceReport(uint32_t value);
    void OnLidSwitchReport(uint32_t value);
    void RecordSysInfoByEvent(uint32_t reason);

    std::shared_ptr<ports::Event> SharedEvent(const std::shared_ptr<ports::Event>& event);
    void SetSharedEvent(std::shared_ptr<ports::Event>& event, std::shared_ptr<ports::Event> value);

    PluginPorts m_ports; // first: the readers below reach the machine through it
    gpu::FanAcoustic m_fanAcoustic;
    std::unique_ptr<CpuSide> m_cpu;
    std::unique_ptr<GpuSide> m_gpu;
    DiskActivity m_diskActivity;
    std::unique_ptr<BackgroundWorkers> m_workers;
    const CommandTable& m_commands;

    std::atomic<int32_t> m_initialised{0};
    int32_t m_cpuVendor = 0;
    int32_t m_productLine = 128;
    std::u16string m_modelName;
    std::unique_ptr<ports::FirmwareDevice> m_hRavikACPI;
    std::atomic<int32_t> m_used{1};
    std::atomic<int32_t> m_firstRun{1};
    std::atomic<int32_t> m_recordFlag{1};
    // Every tuning-utility initialisation thread started; the object outlives each of them.
    std::vector<std::unique_ptr<ports::Thread>> m_hXTUInitializeThreads;
    void* m_hDevNotify = nullptr;
    int32_t m_acdcRegistered = 0;
    int32_t m_lidRegistered = 0;
    uint32_t m_ravikHotkeyMessage = 0;
    int32_t m_dstsFlag = 0;
    std::unique_ptr<ports::CriticalSection> m_monitorLock;
    // The two global events; the workers hold them too, and host threads set the power-resume
    // one while Initialize or Uninitialize may replace it.
    mutable std::mutex m_sharedEventsLock;
    std::shared_ptr<ports::Event> m_hFirstUserSessionStartEvent;
    std::shared_ptr<ports::Event> m_hPowerResumeEvent;
    std::atomic<int32_t> m_clientConnected{0};
    // What the power-setting reports said last (-1: nothing yet). The first report after
    // registration only states the current value and is dropped.
    std::atomic<int32_t> m_powerSource{-1};
    std::atomic<int32_t> m_lidState{-1};
    std::atomic<uint8_t> m_firstAcdc{1};
    std::atomic<uint8_t> m_firstLid{1};
    std::vector<std::u16string> m_moduleList;

    std::mutex m_recorderLock;
    std::shared_ptr<MonitorRecorder> m_recorder;

    AmdGpuMonitorCache m_amdGpuMonitor;
    std::atomic<int32_t> m_amdUpdateStarted{0};
    std::atomic<int32_t> m_amdUpdatePending{0};

    // The host's event callbacks: device-notification registration, power-setting registration
    // and window-message registration, with two more the host offers and this plug-in keeps.
    HostCallback<void*> m_fnRegisterDeviceNotificationParam;
    HostCallback<void*> m_fnEventCallback2;
    HostCallback<void*> m_fnRegisterPowerSettingParam;
    HostCallback<void*> m_fnEventCallback4;
    HostCallback<void*> m_fnRegisterWindowMessageParam;
};
