#pragma once

#include "plugin_frame/base_orvex_plugin.h"

#include <cstdint>

// The hardware-monitoring plug-in: the plug-in table through BaseOrvexPlugin and, as a second
// table of the same object, the event handler the host delivers system events to.
class COrvexMonitorPlugin final : public BaseOrvexPlugin, public IOrvexEventHandlerEx1 {
public:
    COrvexMonitorPlugin(uint32_t hostMode, ports::HostHeap& heap);

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

private:
    ~COrvexMonitorPlugin() override;

    // The host's event callbacks: device-notification registration, power-setting registration
    // and window-message registration, with two more the host offers and this plug-in keeps.
    HostCallback<void*> m_fnRegisterDeviceNotificationParam;
    HostCallback<void*> m_fnEventCallback2;
    HostCallback<void*> m_fnRegisterPowerSettingParam;
    HostCallback<void*> m_fnEventCallback4;
    HostCallback<void*> m_fnRegisterWindowMessageParam;
};
