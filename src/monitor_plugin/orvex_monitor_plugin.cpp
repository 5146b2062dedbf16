#include "monitor_plugin/orvex_monitor_plugin.h"

namespace {

const BaseOrvexPlugin::Identity kMonitorIdentity = {
    u"Monitor Plugin",
    {0xD22B890B, 0xE516, 0x4151, {0x99, 0x43, 0xAB, 0xF0, 0x87, 0xC4, 0x70, 0x73}},
    {0xEA96AA9C, 0x93AD, 0x4BB9, {0xA5, 0x39, 0x41, 0xD6, 0x2F, 0x18, 0xED, 0xB7}},
    u"Monitor System Information",
    {3, 2, 14, 0},
};

} // namespace

COrvexMonitorPlugin::COrvexMonitorPlugin(uint32_t hostMode, ports::HostHeap& heap)
    : BaseOrvexPlugin(kMonitorIdentity, hostMode, heap) {}

COrvexMonitorPlugin::~COrvexMonitorPlugin() = default;

HRESULT COrvexMonitorPlugin::QueryInterface(const GUID* iid, void** out) noexcept {
    if (out == nullptr || iid == nullptr ||
        (*iid != kIidOrvexEventHandler && *iid != kIidOrvexEventHandlerEx1)) {
        return BaseOrvexPlugin::QueryInterface(iid, out);
    }
    *out = EventHandler();
    AddRef();
    return OrvexResult::kOk;
}

HRESULT COrvexMonitorPlugin::Initialize() noexcept {
    return OrvexResult::kOk;
}

HRESULT COrvexMonitorPlugin::Uninitialize() noexcept {
    return OrvexResult::kOk;
}

HRESULT COrvexMonitorPlugin::Reserved12(uint32_t, uint32_t* out) noexcept {
    if (out != nullptr) {
        *out = 0;
    }
    return OrvexResult::kOk;
}

HRESULT COrvexMonitorPlugin::GetModuleList(char16_t*, uint32_t*) noexcept {
    return OrvexResult::kOk;
}

int32_t COrvexMonitorPlugin::RemoveUpdateClientKey() noexcept {
    return 0;
}

HRESULT COrvexMonitorPlugin::OnDeviceChange(uint32_t, const void*) noexcept {
    return OrvexResult::kOk;
}

HRESULT COrvexMonitorPlugin::OnPowerChange(uint32_t, const void*) noexcept {
    return OrvexResult::kOk;
}

HRESULT COrvexMonitorPlugin::OnWindowMessageDeviceChange(uint32_t, uintptr_t) noexcept {
    return OrvexResult::kOk;
}

HRESULT COrvexMonitorPlugin::SetEventCallback1(void* fn, void* context) noexcept {
    return m_fnRegisterDeviceNotificationParam.Store(fn, context);
}

HRESULT COrvexMonitorPlugin::SetEventCallback2(void* fn, void* context) noexcept {
    return m_fnEventCallback2.Store(fn, context);
}

HRESULT COrvexMonitorPlugin::SetEventCallback3(void* fn, void* context) noexcept {
    return m_fnRegisterPowerSettingParam.Store(fn, context);
}

HRESULT COrvexMonitorPlugin::SetEventCallback4(void* fn, void* context) noexcept {
    return m_fnEventCallback4.Store(fn, context);
}

HRESULT COrvexMonitorPlugin::SetEventCallback5(void* fn, void* context) noexcept {
    return m_fnRegisterWindowMessageParam.Store(fn, context);
}

HRESULT COrvexMonitorPlugin::OnUWPConnectionChange(int32_t) noexcept {
    return OrvexResult::kOk;
}
