#pragma once
// The test host: loads a plug-in DLL by full path, holds the plug-in, installs the host
// callbacks, answers the plug-in's requests from a table the test gives, records what the
// plug-in logs, asks and notifies, and sends it messages as bytes.
//
// Callbacks may arrive on the plug-in's own threads, so everything recorded is guarded and
// the Wait* operations block on a condition (never poll) until the record appears.
#include "host_core/value_tree.h"
#include "host_win32/abi.h"
#include "host_win32/plugin_library.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace test_host {

// The contract, the loader and the codec are the ones the reference host uses too.
namespace abi = orvex_host::abi;
using orvex_host::Decode;
using orvex_host::Encode;
using orvex_host::EventHandlerReference;
using orvex_host::InterfaceReference;
using orvex_host::Kind;
using orvex_host::LibraryModule;
using orvex_host::PluginReference;
using orvex_host::ReadText;
using orvex_host::RegistryForm;
using orvex_host::TextSlot;
using orvex_host::Tree;
using orvex_host::Value;
using orvex_host::WindowsFolder;

struct LogLine {
    int32_t level;
    std::wstring text;
};

// Header and body as the plug-in handed them over; a short message keeps a short header.
struct RecordedMessage {
    std::vector<uint8_t> header;
    std::vector<uint8_t> body;
};

struct RecordedRequest {
    GUID target;
    RecordedMessage message;
};

struct DeviceRegistration {
    std::vector<uint8_t> filter; // the 32-byte DEV_BROADCAST_DEVICEINTERFACE_W
    uint32_t flags;
};

struct WindowMessageRegistration {
    GUID pluginId;
    uint32_t message;
    int32_t enable;
};

// What HandleMessage gave back. The host has already freed the answer with HeapFree.
struct Exchange {
    abi::Result result = 0;
    bool answerPresent = false;
    bool answerOnProcessHeap = false;
    std::vector<uint8_t> answer;

    std::optional<Tree> AnswerTree() const { return Decode(answer); }
};

// What the host answers to one request from the plug-in.
struct Reply {
    GUID target;
    std::wstring command; // the request's "Cmd"
    abi::Result result;
    Tree answer; // empty: no answer buffer at all
};

inline constexpr abi::Result kUnansweredRequest = static_cast<abi::Result>(0x80004001);

// True for a block that HeapFree(GetProcessHeap(), ...) may release.
bool OnProcessHeap(const void* block);

// An incoming message: header byte 0 the type, byte 1 the notification code, zeros after.
std::vector<uint8_t> MessageBytes(uint8_t type, uint8_t code, std::span<const uint8_t> body);

// The exact headers a plug-in puts before what it sends, to compare recorded messages with.
// Roles: 2 for the service instance, 4 for an instance in the user's session.
std::vector<uint8_t> OutgoingRequestHeader(uint8_t sourceRole, uint8_t destinationRole,
                                           const GUID& target);
std::vector<uint8_t> OutgoingNotificationHeader(uint8_t code);

class TestHost {
public:
    TestHost(const std::wstring& folder, const wchar_t* fileName, uint32_t hostMode);
    TestHost(const TestHost&) = delete;
    TestHost& operator=(const TestHost&) = delete;
    ~TestHost();

    // Null when the library, its export or the plug-in object is missing.
    abi::Plugin* Plugin() const { return plugin_.Get(); }
    const abi::PluginTable& Table() const { return plugin_.Table(); }
    const LibraryModule& Module() const { return module_; }
    PluginReference& Reference() { return plugin_; }
    abi::EventHandler* EventHandler();

    abi::Result InstallLogSink();
    abi::Result InstallRequestSender();
    abi::Result InstallNotificationSender();
    // Offers the event handler its five callbacks; answers the first setter result not 0.
    abi::Result InstallEventCallbacks();
    // All of the above; true when every setter returned 0.
    bool InstallAll();

    void AddReply(Reply reply);

    Exchange Send(std::span<const uint8_t> message, void* sender = nullptr);
    Exchange SendRequest(const Tree& body);
    Exchange SendNotification(uint8_t code, const Tree& body);

    std::vector<LogLine> Logs() const;
    std::vector<RecordedRequest> Requests() const;
    std::vector<RecordedMessage> Notifications() const;
    std::vector<DeviceRegistration> DeviceRegistrations() const;
    std::vector<GUID> PowerRegistrations() const;
    std::vector<WindowMessageRegistration> WindowMessageRegistrations() const;

    bool WaitForLog(const std::wstring& text, std::chrono::milliseconds timeout) const;
    bool WaitForNotifications(size_t count, std::chrono::milliseconds timeout) const;
    bool WaitForRequests(size_t count, std::chrono::milliseconds timeout) const;

private:
    static void OnLog(void* context, abi::Plugin* plugin, int32_t level, const wchar_t* format,
                      ...);
    static abi::Result OnRequest(void* context, abi::Plugin* plugin, const GUID* target,
                                 const uint8_t* message, uint32_t size, uint8_t** answer,
                                 uint32_t* answerSize);
    static abi::Result OnNotification(void* context, abi::Plugin* plugin, const uint8_t* message,
                                      uint32_t size);
    static void* OnDeviceRegistration(void* context, const void* filter, uint32_t flags);
    static abi::Result OnPowerRegistration(void* context, const GUID* powerSetting);
    static abi::Result OnWindowMessageRegistration(void* context, const GUID* pluginId,
                                                   uint32_t message, int32_t enable);

    template <typename Record>
    void Append(std::vector<Record>& records, Record record);
    template <typename Record>
    std::vector<Record> Snapshot(const std::vector<Record>& records) const;
    bool WaitUntil(std::chrono::milliseconds timeout, const std::function<bool()>& done) const;

    // Declaration order is teardown order reversed: the references go first (the plug-in may
    // still log while it is destroyed), then the records, and the code unloads last.
    LibraryModule module_;
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<Reply> replies_;
    std::vector<LogLine> logs_;
    std::vector<RecordedRequest> requests_;
    std::vector<RecordedMessage> notifications_;
    std::vector<DeviceRegistration> deviceRegistrations_;
    std::vector<GUID> powerRegistrations_;
    std::vector<WindowMessageRegistration> windowMessageRegistrations_;
    PluginReference plugin_;
    EventHandlerReference eventHandler_;
};

// A 32-bit integer of the tree; -999 when missing or of another kind.
int32_t IntOf(const Tree& tree, std::string_view key);

// Starts a recording for this process as the user interface (command 17) and waits until its first
// record is announced; its serial number, or 0 when it did not start or nothing was announced.
int32_t StartRecording(TestHost& host, int32_t capacity, int32_t intervalMs);

} // namespace test_host
