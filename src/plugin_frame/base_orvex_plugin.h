#pragma once

#include "plugin_frame/orvex_interfaces.h"
#include "ports/host_heap.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>

namespace VelmorValueSet {
class ValueSet;
}

// Log levels of the host's sink.
namespace LogLevel {
inline constexpr int32_t kNotable = 1;
inline constexpr int32_t kZeroReading = 2;
inline constexpr int32_t kFailure = 3;
inline constexpr int32_t kProgress = 4;
inline constexpr int32_t kSupport = 5;
inline constexpr int32_t kTrace = 6;
} // namespace LogLevel

// What every plug-in has in common: identity, reference counting, the host callbacks, the message
// entry with its default dispatch by command table, and the requests and notifications a plug-in
// sends to the host.
class BaseOrvexPlugin : public IOrvexPlugin {
public:
    using ValueSet = VelmorValueSet::ValueSet;
    using Command = std::function<HRESULT(void* sender, ValueSet& request, ValueSet& response)>;

    struct Identity {
        const char16_t* Name;
        GUID Id;
        GUID TypeId;
        const char16_t* Description;
        std::array<uint32_t, 4> Version;
    };

    // The host's callbacks are stored as (function, context) pairs.
    template <typename Fn>
    struct HostCallback {
        Fn Function = nullptr;
        void* Context = nullptr;

        HRESULT Store(Fn fn, void* context) {
            Function = fn;
            Context = context;
            return OrvexResult::kOk;
        }
    };

    BaseOrvexPlugin(const Identity& identity, uint32_t hostMode, ports::HostHeap& heap);
    BaseOrvexPlugin(const BaseOrvexPlugin&) = delete;
    BaseOrvexPlugin& operator=(const BaseOrvexPlugin&) = delete;

    // IOrvexLibrary
    HRESULT QueryInterface(const GUID* iid, void** out) noexcept override;
    uint32_t AddRef() noexcept override;
    uint32_t Release() noexcept override;
    HRESULT GetId(GUID* out) noexcept override;
    HRESULT GetTypeId(GUID* out) noexcept override;
    HRESULT GetName(char16_t* buffer, uint32_t* count) noexcept override;
    HRESULT GetDescription(char16_t* buffer, uint32_t* count) noexcept override;
    HRESULT GetVersion(uint32_t version[4]) noexcept override;

    // IOrvexPlugin: the parts every plug-in shares.
    HRESULT SetLogCallback(OrvexLogSink fn, void* context) noexcept override;
    HRESULT HandleMessage(void* sender, const uint8_t* message, uint32_t size, uint8_t** answer,
                          uint32_t* answerSize) noexcept override;
    HRESULT SetRequestSender(OrvexRequestSender fn, void* context) noexcept override;
    int32_t Reserved23() noexcept override { return 0; }
    HRESULT Reserved24() noexcept override { return OrvexResult::kNotImplemented; }
    HRESULT Reserved25() noexcept override { return OrvexResult::kNotImplemented; }
    HRESULT SetNotificationSender(OrvexNotificationSender fn, void* context) noexcept override;
    HRESULT SetHostCallback4(OrvexOpaqueCallback fn, void* context) noexcept override;
    HRESULT SetHostCallback5(OrvexOpaqueCallback fn, void* context) noexcept override;
    void* DeletingDestructor(uint32_t flags) noexcept override;
    HRESULT ProcessRequest(void* sender, ValueSet* request, ValueSet* response) noexcept override;
    HRESULT ReceiveNotification(uint8_t code, ValueSet* payload) noexcept override;

    // Messages to the host.
    HRESULT Notify(uint8_t code, const ValueSet& payload) noexcept;
    HRESULT SendRequest(const GUID& target, const ValueSet& request, ValueSet& response,
                        uint8_t destinationRole) noexcept;
    HRESULT Query(const char16_t* name, const ValueSet& payload, ValueSet& response) noexcept;
    HRESULT Query(const char16_t* name, ValueSet& response) noexcept;
    HRESULT Toast(std::u16string_view title, std::u16string_view content,
                  std::u16string_view logo) noexcept;
    HRESULT Toast(std::u16string_view title, std::u16string_view content) noexcept;
    HRESULT InsertData(std::u16string_view table, const char16_t* const* names,
                       const char16_t* const* values, int32_t count) noexcept;

    // Passes the format and its arguments straight to the host's sink; nothing while none is set.
    template <typename... Args>
    void Log(int32_t level, const char16_t* format, Args... args) noexcept {
        static_assert(((std::is_arithmetic_v<Args> || std::is_pointer_v<Args>)&&...),
                      "the sink takes numbers and pointers (wide text as const char16_t*)");
        if (m_logSink.Function != nullptr) {
            m_logSink.Function(m_logSink.Context, this, level, format, args...);
        }
    }
    // Logs "(source)text" for components outside the plug-in class.
    void LogFrom(int32_t level, const char16_t* source, const char16_t* text) noexcept;

    uint32_t HostMode() const { return m_hostMode; }
    uint8_t OwnRole() const { return m_hostMode == 0 ? kRoleService : kRoleUserSession; }

protected:
    virtual ~BaseOrvexPlugin();

    void AddCommand(std::u16string name, Command command);
    ports::HostHeap& Heap() const { return m_heap; }

private:
    HRESULT RouteMessage(void* sender, const uint8_t* message, uint32_t size, uint8_t*& answer,
                         uint32_t& answerSize);
    HRESULT DispatchCommand(void* sender, ValueSet& request, ValueSet& response);
    HRESULT SendComposedRequest(const GUID& target, const ValueSet& request, ValueSet& response,
                                uint8_t destinationRole);
    HRESULT SendNotification(uint8_t code, const ValueSet& payload);
    HRESULT InsertRow(std::u16string_view table, const char16_t* const* names,
                      const char16_t* const* values, int32_t count);
    bool PrivacyPolicyRead();

    std::unordered_map<std::u16string, Command> m_commands;
    const char16_t* m_name;
    GUID m_id;
    GUID m_typeId;
    const char16_t* m_description;
    std::array<uint32_t, 4> m_version;
    std::atomic<uint32_t> m_refCount{1};
    HostCallback<OrvexLogSink> m_logSink;
    HostCallback<OrvexRequestSender> m_requestSender;
    HostCallback<OrvexNotificationSender> m_notificationSender;
    HostCallback<OrvexOpaqueCallback> m_hostCallback4;
    HostCallback<OrvexOpaqueCallback> m_hostCallback5;
    uint32_t m_hostMode;
    ports::HostHeap& m_heap;
};
