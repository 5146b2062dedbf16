#pragma once
// The plug-in's binary contract as a host sees it, declared from the published ABI alone:
// tables of function pointers with fixed slot numbers. On x64 Windows a member call and a
// free call with the object as first argument are the same, so each entry takes the object
// first. Lifecycle in call order: QueryLibrary, QueryInterface, the callback setters,
// Initialize, messages and events, Uninitialize, the last Release.
#include <cstddef>
#include <cstdint>
#include <windows.h>

namespace orvex_host::abi {

using Result = int32_t;

struct Plugin;
struct EventHandler;

using QueryLibraryEntry = Plugin* (*)(uint32_t hostMode);

// Host callbacks installed through the plug-in's setters.
using LogSink = void (*)(void* context, Plugin* plugin, int32_t level, const wchar_t* format, ...);
using RequestSender = Result (*)(void* context, Plugin* plugin, const GUID* target,
                                 const uint8_t* message, uint32_t size, uint8_t** answer,
                                 uint32_t* answerSize);
using NotificationSender = Result (*)(void* context, Plugin* plugin, const uint8_t* message,
                                      uint32_t size);

// Callbacks offered to the event handler (its setters 1, 3 and 5; 2 and 4 are stored only).
using DeviceNotificationRegistration = void* (*)(void* context, const void* filter, uint32_t flags);
using PowerSettingRegistration = Result (*)(void* context, const GUID* powerSetting);
using WindowMessageRegistration = Result (*)(void* context, const GUID* pluginId, uint32_t message,
                                             int32_t enable);

struct PluginTable {
    Result (*QueryInterface)(Plugin* self, const GUID* iid, void** out);
    uint32_t (*AddRef)(Plugin* self);
    uint32_t (*Release)(Plugin* self);
    Result (*GetId)(Plugin* self, GUID* out);
    Result (*GetTypeId)(Plugin* self, GUID* out);
    Result (*GetName)(Plugin* self, wchar_t* buffer, uint32_t* count);
    Result (*GetDescription)(Plugin* self, wchar_t* buffer, uint32_t* count);
    Result (*GetVersion)(Plugin* self, uint32_t version[4]);
    Result (*Initialize)(Plugin* self);
    Result (*Uninitialize)(Plugin* self);
    Result (*Reserved10)(Plugin* self);
    Result (*Reserved11)(Plugin* self);
    Result (*Reserved12)(Plugin* self, uint32_t argument, uint32_t* out);
    Result (*GetModuleList)(Plugin* self, wchar_t* buffer, uint32_t* count);
    Result (*SetLogCallback)(Plugin* self, LogSink sink, void* context);
    Result (*HandleMessage)(Plugin* self, void* sender, const uint8_t* message, uint32_t size,
                            uint8_t** answer, uint32_t* answerSize);
    Result (*SetRequestSender)(Plugin* self, RequestSender sender, void* context);
    int32_t (*Reserved17)(Plugin* self);
    int32_t (*Reserved18)(Plugin* self);
    int32_t (*Reserved19)(Plugin* self);
    int32_t (*Reserved20)(Plugin* self);
    int32_t (*Reserved21)(Plugin* self);
    int32_t (*Reserved22)(Plugin* self);
    int32_t (*Reserved23)(Plugin* self);
    Result (*Reserved24)(Plugin* self);
    Result (*Reserved25)(Plugin* self);
    Result (*SetNotificationSender)(Plugin* self, NotificationSender sender, void* context);
    Result (*SetHostCallback4)(Plugin* self, void* callback, void* context);
    Result (*SetHostCallback5)(Plugin* self, void* callback, void* context);
    void* (*DeletingDestructor)(Plugin* self, uint32_t flags);
    // Slots 30 and 31 take the plug-in's private value-set type; only the plug-in calls them.
    const void* ProcessRequest;
    const void* ReceiveNotification;
};

struct EventHandlerTable {
    Result (*QueryInterface)(EventHandler* self, const GUID* iid, void** out);
    uint32_t (*AddRef)(EventHandler* self);
    uint32_t (*Release)(EventHandler* self);
    int32_t (*RemoveUpdateClientKey)(EventHandler* self);
    Result (*Reserved4)(EventHandler* self);
    Result (*OnDeviceChange)(EventHandler* self, uint32_t eventType, const void* header);
    Result (*OnPowerChange)(EventHandler* self, uint32_t eventType, const void* data);
    Result (*OnWindowMessageDeviceChange)(EventHandler* self, uint32_t message,
                                          uintptr_t parameter);
    Result (*SetEventCallback1)(EventHandler* self, void* callback, void* context);
    Result (*SetEventCallback2)(EventHandler* self, void* callback, void* context);
    Result (*SetEventCallback3)(EventHandler* self, void* callback, void* context);
    Result (*SetEventCallback4)(EventHandler* self, void* callback, void* context);
    Result (*SetEventCallback5)(EventHandler* self, void* callback, void* context);
    Result (*Reserved13)(EventHandler* self);
    Result (*OnUWPConnectionChange)(EventHandler* self, int32_t connected);
};

struct Plugin {
    const PluginTable* table;
};

struct EventHandler {
    const EventHandlerTable* table;
};

// The slot numbers are the contract: a misplaced entry must not compile.
#define TEST_HOST_SLOT(Table, entry, slot)                                                         \
    static_assert(offsetof(Table, entry) == (slot) * sizeof(void*), #entry " is not slot " #slot)
TEST_HOST_SLOT(PluginTable, QueryInterface, 0);
TEST_HOST_SLOT(PluginTable, GetVersion, 7);
TEST_HOST_SLOT(PluginTable, Reserved12, 12);
TEST_HOST_SLOT(PluginTable, SetLogCallback, 14);
TEST_HOST_SLOT(PluginTable, HandleMessage, 15);
TEST_HOST_SLOT(PluginTable, SetRequestSender, 16);
TEST_HOST_SLOT(PluginTable, Reserved17, 17);
TEST_HOST_SLOT(PluginTable, Reserved23, 23);
TEST_HOST_SLOT(PluginTable, Reserved25, 25);
TEST_HOST_SLOT(PluginTable, SetNotificationSender, 26);
TEST_HOST_SLOT(PluginTable, SetHostCallback5, 28);
TEST_HOST_SLOT(PluginTable, DeletingDestructor, 29);
TEST_HOST_SLOT(PluginTable, ReceiveNotification, 31);
static_assert(sizeof(PluginTable) == 32 * sizeof(void*));
TEST_HOST_SLOT(EventHandlerTable, RemoveUpdateClientKey, 3);
TEST_HOST_SLOT(EventHandlerTable, OnWindowMessageDeviceChange, 7);
TEST_HOST_SLOT(EventHandlerTable, SetEventCallback1, 8);
TEST_HOST_SLOT(EventHandlerTable, SetEventCallback5, 12);
TEST_HOST_SLOT(EventHandlerTable, OnUWPConnectionChange, 14);
static_assert(sizeof(EventHandlerTable) == 15 * sizeof(void*));
#undef TEST_HOST_SLOT

// Interface identifiers every plug-in answers (the last two only where it handles events).
inline constexpr GUID kUniversalInterface{
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
inline constexpr GUID kPluginInterface{
    0x0BA8BAB2, 0xE856, 0x473F, {0xA2, 0x01, 0xED, 0x8E, 0x45, 0x6D, 0x3A, 0xC4}};
inline constexpr GUID kPluginInterface2{
    0x16894F40, 0xBA23, 0x4103, {0xBF, 0x0E, 0x07, 0x89, 0x80, 0xD5, 0xA8, 0xAB}};
inline constexpr GUID kEventHandlerInterface{
    0x177E1540, 0xB01F, 0x446D, {0x95, 0x14, 0xAF, 0x6D, 0x23, 0xD8, 0xA6, 0x67}};
inline constexpr GUID kEventHandlerEx1Interface{
    0xFA708192, 0xB3A2, 0x4FF1, {0xBE, 0x3A, 0x7C, 0x55, 0x44, 0x8E, 0x7A, 0x2C}};

// Message header: 32 bytes before every body.
inline constexpr size_t kHeaderSize = 32;
inline constexpr uint8_t kRequestType = 0xE1;
inline constexpr uint8_t kNotificationType = 0xE4;

} // namespace orvex_host::abi
