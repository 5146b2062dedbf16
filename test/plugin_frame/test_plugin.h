#pragma once

#include "expected_values.h"
#include "plugin_frame/base_orvex_plugin.h"
#include "plugin_frame/value_set.h"

#include <optional>
#include <utility>

// The smallest concrete plug-in on the frame, with the monitor plug-in's identity, so tests can
// reach everything the base does and see when it is destroyed.
class TestPlugin final : public BaseOrvexPlugin {
public:
    static constexpr GUID kId = expected::kMonitorId;
    static constexpr GUID kTypeId = expected::kMonitorTypeId;

    TestPlugin(uint32_t hostMode, ports::HostHeap& heap, bool* destroyed = nullptr)
        : BaseOrvexPlugin(
              {u"Monitor Plugin", kId, kTypeId, u"Monitor System Information", {3, 2, 14, 0}},
              hostMode, heap),
          m_destroyed(destroyed) {}

    HRESULT Initialize() noexcept override { return 0; }
    HRESULT Uninitialize() noexcept override { return 0; }
    HRESULT Reserved10() noexcept override { return 0; }
    HRESULT Reserved11() noexcept override { return 0; }
    HRESULT Reserved12(uint32_t, uint32_t*) noexcept override { return 0; }
    HRESULT GetModuleList(char16_t*, uint32_t*) noexcept override { return 0; }
    int32_t Reserved17() noexcept override { return 0; }
    int32_t Reserved18() noexcept override { return 0; }
    int32_t Reserved19() noexcept override { return 0; }
    int32_t Reserved20() noexcept override { return 0; }
    int32_t Reserved21() noexcept override { return 0; }
    int32_t Reserved22() noexcept override { return 0; }

    // Records the notifications the base routes here, when asked to.
    HRESULT ReceiveNotification(uint8_t code, VelmorValueSet::ValueSet* payload) noexcept override {
        if (!m_recordNotifications) {
            return BaseOrvexPlugin::ReceiveNotification(code, payload);
        }
        notifiedCode = code;
        notifiedPayload.emplace();
        notifiedPayload->CopyFrom(*payload);
        return notificationResult;
    }

    void RecordNotifications() { m_recordNotifications = true; }

    using BaseOrvexPlugin::AddCommand;

    std::optional<uint8_t> notifiedCode;
    std::optional<VelmorValueSet::ValueSet> notifiedPayload;
    HRESULT notificationResult = static_cast<HRESULT>(0x80004005u);

private:
    ~TestPlugin() override {
        if (m_destroyed != nullptr) {
            *m_destroyed = true;
        }
    }

    bool* m_destroyed;
    bool m_recordNotifications = false;
};

// Owns one reference for the test's lifetime.
struct PluginRef {
    TestPlugin* plugin;
    explicit PluginRef(TestPlugin* p) : plugin(p) {}
    ~PluginRef() { plugin->Release(); }
    PluginRef(const PluginRef&) = delete;
    PluginRef& operator=(const PluginRef&) = delete;
    TestPlugin* operator->() const { return plugin; }
    TestPlugin& operator*() const { return *plugin; }
};
