#pragma once

// The contract between the service host and a plug-in, in one place.
//
// Lifecycle, in call order:
//   1. The host loads the module and calls its one export, QueryLibrary(hostMode). Host mode 0 is
//      the service instance; any other value is an instance in the user's session. The plug-in
//      comes back with a reference count of 1.
//   2. The host asks for interfaces (QueryInterface) and installs its callbacks: the log sink
//      (slot 14), the request sender (16), the notification sender (26), two further callbacks
//      (27, 28) and, on the event-handler table, the five event callbacks (slots 8 to 12).
//   3. Initialize (slot 8).
//   4. Requests and notifications arrive as byte messages (HandleMessage, slot 15), system events
//      on the event-handler table; all of these may come from several host threads at once.
//   5. Uninitialize (slot 9), then the last Release (slot 2), which destroys the object through
//      slot 29.
//
// Every slot is declared in table order and nothing else is virtual here: the host reaches the
// functions by position. Nothing throws across this boundary; failures are result codes.

#include <cstddef>
#include <cstdint>

namespace VelmorValueSet {
class ValueSet;
}

using HRESULT = int32_t;

// 128-bit identifier in the Windows GUID layout. Behaviour code never sees <windows.h>, so this
// stands in for its GUID.
struct GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];

    friend constexpr bool operator==(const GUID&, const GUID&) = default;
};
static_assert(sizeof(GUID) == 16);
static_assert(offsetof(GUID, Data2) == 4 && offsetof(GUID, Data3) == 6 &&
              offsetof(GUID, Data4) == 8);

// Result codes of the plug-in interfaces.
namespace OrvexResult {
inline constexpr HRESULT kOk = 0;
inline constexpr HRESULT kNotImplemented = static_cast<HRESULT>(0xA0800000u);
inline constexpr HRESULT kBufferTooSmall = static_cast<HRESULT>(0xA0800001u);
inline constexpr HRESULT kUnsupported = static_cast<HRESULT>(0xA0800005u);
inline constexpr HRESULT kNotInitialized = static_cast<HRESULT>(0xA0800009u);
inline constexpr HRESULT kBadCommand = static_cast<HRESULT>(0xA0800010u);
inline constexpr HRESULT kPrivacyPolicyNotRead = static_cast<HRESULT>(0xA0802001u);
inline constexpr HRESULT kNoInterface = static_cast<HRESULT>(0x80004002u);     // E_NOINTERFACE
inline constexpr HRESULT kFail = static_cast<HRESULT>(0x80004005u);            // E_FAIL
inline constexpr HRESULT kOutOfMemory = static_cast<HRESULT>(0x8007000Eu);     // E_OUTOFMEMORY
inline constexpr HRESULT kInvalidArgument = static_cast<HRESULT>(0x80070057u); // E_INVALIDARG
} // namespace OrvexResult

// Interface identifiers.
inline constexpr GUID kIidUnknown = {
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
inline constexpr GUID kIidOrvexLibrary = {
    0x0BA8BAB2, 0xE856, 0x473F, {0xA2, 0x01, 0xED, 0x8E, 0x45, 0x6D, 0x3A, 0xC4}};
inline constexpr GUID kIidOrvexPlugin = {
    0x16894F40, 0xBA23, 0x4103, {0xBF, 0x0E, 0x07, 0x89, 0x80, 0xD5, 0xA8, 0xAB}};
inline constexpr GUID kIidOrvexEventHandler = {
    0x177E1540, 0xB01F, 0x446D, {0x95, 0x14, 0xAF, 0x6D, 0x23, 0xD8, 0xA6, 0x67}};
inline constexpr GUID kIidOrvexEventHandlerEx1 = {
    0xFA708192, 0xB3A2, 0x4FF1, {0xBE, 0x3A, 0x7C, 0x55, 0x44, 0x8E, 0x7A, 0x2C}};

// Every message starts with this header; the value-set body follows at offset 32.
// Bytes 1 and 2 mean different things in each direction; the host fixes that asymmetry.
// Everything a plug-in does not fill travels as zeros.
struct OrvexMessageHeader {
    uint8_t Type;                      // kMessageRequest or kMessageNotification
    uint8_t IncomingCodeOrSource;      // notification received: its code; request sent: own role
    uint8_t OutgoingCodeOrDestination; // notification sent: its code; request sent: target role
    uint8_t RequestMarker;             // request sent: kRequestMarker
    uint8_t Unused[12];
    GUID Target; // request sent: the identifier it is addressed to
};
static_assert(sizeof(OrvexMessageHeader) == 32);
static_assert(offsetof(OrvexMessageHeader, IncomingCodeOrSource) == 1);
static_assert(offsetof(OrvexMessageHeader, OutgoingCodeOrDestination) == 2);
static_assert(offsetof(OrvexMessageHeader, RequestMarker) == 3);
static_assert(offsetof(OrvexMessageHeader, Target) == 16);

inline constexpr uint32_t kMessageHeaderSize = sizeof(OrvexMessageHeader);
inline constexpr uint8_t kMessageRequest = 0xE1;
inline constexpr uint8_t kMessageNotification = 0xE4;
inline constexpr uint8_t kRequestMarker = 2;

// Roles of plug-in instances in the host's routing: the service instance (host mode 0) and an
// instance in the user's session (any other host mode).
inline constexpr uint8_t kRoleService = 2;
inline constexpr uint8_t kRoleUserSession = 4;

struct IOrvexPlugin;

// Host callbacks. Wide text is UTF-16 (the host's wchar_t).
// Log sink: printf-style wide format with Microsoft semantics ("%s" takes a wide string).
using OrvexLogSink = void (*)(void* context, IOrvexPlugin* plugin, int32_t level,
                              const char16_t* format, ...);
// Sends header + body; the host answers with a bare body it allocated on the process heap, which
// the plug-in frees there.
using OrvexRequestSender = HRESULT (*)(void* context, IOrvexPlugin* plugin, const GUID* target,
                                       const uint8_t* message, uint32_t size, uint8_t** answer,
                                       uint32_t* answerSize);
using OrvexNotificationSender = HRESULT (*)(void* context, IOrvexPlugin* plugin,
                                            const uint8_t* message, uint32_t size);
using OrvexOpaqueCallback = void*;

// Event callbacks offered by the host on the event-handler table (setters 1, 3 and 5; the
// others are kept but never called).
using OrvexRegisterDeviceNotification = void* (*)(void* context, const void* filter,
                                                  uint32_t flags);
using OrvexRegisterPowerSetting = HRESULT (*)(void* context, const GUID* powerSetting);
using OrvexRegisterWindowMessage = HRESULT (*)(void* context, const GUID* pluginId,
                                               uint32_t message, int32_t enable);

// Slots 0 to 2 of every table.
struct IOrvexUnknown {
    virtual HRESULT QueryInterface(const GUID* iid, void** out) noexcept = 0; // 0
    virtual uint32_t AddRef() noexcept = 0;                                   // 1
    virtual uint32_t Release() noexcept = 0;                                  // 2

protected:
    ~IOrvexUnknown() = default;
};

struct IOrvexLibrary : IOrvexUnknown {
    virtual HRESULT GetId(GUID* out) noexcept = 0;                                  // 3
    virtual HRESULT GetTypeId(GUID* out) noexcept = 0;                              // 4
    virtual HRESULT GetName(char16_t* buffer, uint32_t* count) noexcept = 0;        // 5
    virtual HRESULT GetDescription(char16_t* buffer, uint32_t* count) noexcept = 0; // 6
    virtual HRESULT GetVersion(uint32_t version[4]) noexcept = 0;                   // 7

protected:
    ~IOrvexLibrary() = default;
};

struct IOrvexPlugin : IOrvexLibrary {
    virtual HRESULT Initialize() noexcept = 0;                                     // 8
    virtual HRESULT Uninitialize() noexcept = 0;                                   // 9
    virtual HRESULT Reserved10() noexcept = 0;                                     // 10
    virtual HRESULT Reserved11() noexcept = 0;                                     // 11
    virtual HRESULT Reserved12(uint32_t argument, uint32_t* out) noexcept = 0;     // 12
    virtual HRESULT GetModuleList(char16_t* buffer, uint32_t* count) noexcept = 0; // 13
    virtual HRESULT SetLogCallback(OrvexLogSink fn, void* context) noexcept = 0;   // 14
    virtual HRESULT HandleMessage(void* sender, const uint8_t* message, uint32_t size,
                                  uint8_t** answer, uint32_t* answerSize) noexcept = 0;  // 15
    virtual HRESULT SetRequestSender(OrvexRequestSender fn, void* context) noexcept = 0; // 16
    virtual int32_t Reserved17() noexcept = 0;                                           // 17
    virtual int32_t Reserved18() noexcept = 0;                                           // 18
    virtual int32_t Reserved19() noexcept = 0;                                           // 19
    virtual int32_t Reserved20() noexcept = 0;                                           // 20
    virtual int32_t Reserved21() noexcept = 0;                                           // 21
    virtual int32_t Reserved22() noexcept = 0;                                           // 22
    virtual int32_t Reserved23() noexcept = 0;                                           // 23
    virtual HRESULT Reserved24() noexcept = 0;                                           // 24
    virtual HRESULT Reserved25() noexcept = 0;                                           // 25
    virtual HRESULT SetNotificationSender(OrvexNotificationSender fn,
                                          void* context) noexcept = 0;                    // 26
    virtual HRESULT SetHostCallback4(OrvexOpaqueCallback fn, void* context) noexcept = 0; // 27
    virtual HRESULT SetHostCallback5(OrvexOpaqueCallback fn, void* context) noexcept = 0; // 28
    virtual void* DeletingDestructor(uint32_t flags) noexcept = 0;                        // 29
    virtual HRESULT ProcessRequest(void* sender, VelmorValueSet::ValueSet* request,
                                   VelmorValueSet::ValueSet* response) noexcept = 0; // 30
    virtual HRESULT ReceiveNotification(uint8_t code,
                                        VelmorValueSet::ValueSet* payload) noexcept = 0; // 31

protected:
    ~IOrvexPlugin() = default;
};

// The event-handler table; the extended interface continues it with slot 14.
struct IOrvexEventHandler : IOrvexUnknown {
    virtual int32_t RemoveUpdateClientKey() noexcept = 0;                                // 3
    virtual HRESULT Reserved4() noexcept = 0;                                            // 4
    virtual HRESULT OnDeviceChange(uint32_t eventType, const void* header) noexcept = 0; // 5
    virtual HRESULT OnPowerChange(uint32_t eventType, const void* data) noexcept = 0;    // 6
    virtual HRESULT OnWindowMessageDeviceChange(uint32_t message,
                                                uintptr_t parameter) noexcept = 0; // 7
    virtual HRESULT SetEventCallback1(void* fn, void* context) noexcept = 0;       // 8
    virtual HRESULT SetEventCallback2(void* fn, void* context) noexcept = 0;       // 9
    virtual HRESULT SetEventCallback3(void* fn, void* context) noexcept = 0;       // 10
    virtual HRESULT SetEventCallback4(void* fn, void* context) noexcept = 0;       // 11
    virtual HRESULT SetEventCallback5(void* fn, void* context) noexcept = 0;       // 12
    virtual HRESULT Reserved13() noexcept = 0;                                     // 13

protected:
    ~IOrvexEventHandler() = default;
};

struct IOrvexEventHandlerEx1 : IOrvexEventHandler {
    virtual HRESULT OnUWPConnectionChange(int32_t connected) noexcept = 0; // 14

protected:
    ~IOrvexEventHandlerEx1() = default;
};
