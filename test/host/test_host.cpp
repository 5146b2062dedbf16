#include "test_host.h"

#include "host_win32/ms_format.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <utility>

namespace test_host {
using orvex_host::FormatMs;
namespace {

TestHost& HostOf(void* context) {
    return *static_cast<TestHost*>(context);
}

RecordedMessage Split(const uint8_t* message, uint32_t size) {
    if (message == nullptr) {
        return {};
    }
    const size_t headerSize = std::min<size_t>(size, abi::kHeaderSize);
    return {{message, message + headerSize}, {message + headerSize, message + size}};
}

std::wstring CommandOf(std::span<const uint8_t> body) {
    const auto tree = Decode(body);
    const Value* command = tree ? tree->Find("Cmd") : nullptr;
    return command != nullptr ? command->AsWide().value_or(L"") : L"";
}

// Answers cross the boundary on the process heap, in both directions.
uint8_t* ProcessHeapCopy(const std::vector<uint8_t>& bytes) {
    auto* block = static_cast<uint8_t*>(HeapAlloc(GetProcessHeap(), 0, bytes.size()));
    if (block != nullptr) {
        std::memcpy(block, bytes.data(), bytes.size());
    }
    return block;
}

// Opaque notification handles handed to the plug-in; never dereferenced by anyone.
void* FakeNotificationHandle(size_t index) {
    return reinterpret_cast<void*>(static_cast<uintptr_t>(0x4E000 + index));
}

} // namespace

bool OnProcessHeap(const void* block) {
    return block != nullptr && HeapValidate(GetProcessHeap(), 0, block) != FALSE;
}

std::vector<uint8_t> MessageBytes(uint8_t type, uint8_t code, std::span<const uint8_t> body) {
    std::vector<uint8_t> bytes(abi::kHeaderSize + body.size(), 0);
    bytes[0] = type;
    bytes[1] = code;
    std::copy(body.begin(), body.end(), bytes.begin() + abi::kHeaderSize);
    return bytes;
}

std::vector<uint8_t> OutgoingRequestHeader(uint8_t sourceRole, uint8_t destinationRole,
                                           const GUID& target) {
    std::vector<uint8_t> header(abi::kHeaderSize, 0);
    header[0] = abi::kRequestType;
    header[1] = sourceRole;
    header[2] = destinationRole;
    header[3] = 2;
    std::memcpy(&header[16], &target, sizeof target);
    return header;
}

std::vector<uint8_t> OutgoingNotificationHeader(uint8_t code) {
    std::vector<uint8_t> header(abi::kHeaderSize, 0);
    header[0] = abi::kNotificationType;
    header[2] = code;
    return header;
}

TestHost::TestHost(const std::wstring& folder, const wchar_t* fileName, uint32_t hostMode)
    : module_(folder + L"\\" + fileName) {
    auto entry = reinterpret_cast<abi::QueryLibraryEntry>(module_.Export("QueryLibrary"));
    if (entry != nullptr) {
        plugin_ = PluginReference(entry(hostMode));
    }
}

TestHost::~TestHost() = default;

abi::EventHandler* TestHost::EventHandler() {
    if (eventHandler_.Get() == nullptr && Plugin() != nullptr) {
        void* out = nullptr;
        if (Table().QueryInterface(Plugin(), &abi::kEventHandlerEx1Interface, &out) == 0) {
            eventHandler_ = EventHandlerReference(static_cast<abi::EventHandler*>(out));
        }
    }
    return eventHandler_.Get();
}

abi::Result TestHost::InstallLogSink() {
    return Table().SetLogCallback(Plugin(), &OnLog, this);
}

abi::Result TestHost::InstallRequestSender() {
    return Table().SetRequestSender(Plugin(), &OnRequest, this);
}

abi::Result TestHost::InstallNotificationSender() {
    return Table().SetNotificationSender(Plugin(), &OnNotification, this);
}

abi::Result TestHost::InstallEventCallbacks() {
    abi::EventHandler* handler = EventHandler();
    if (handler == nullptr) {
        return static_cast<abi::Result>(0x80004002);
    }
    const abi::EventHandlerTable& table = *handler->table;
    // Setters 2 and 4 are stored and never called; they get a callback that must stay unused.
    void* const unused = reinterpret_cast<void*>(&OnPowerRegistration);
    const abi::Result results[] = {
        table.SetEventCallback1(handler, reinterpret_cast<void*>(&OnDeviceRegistration), this),
        table.SetEventCallback2(handler, unused, this),
        table.SetEventCallback3(handler, reinterpret_cast<void*>(&OnPowerRegistration), this),
        table.SetEventCallback4(handler, unused, this),
        table.SetEventCallback5(handler, reinterpret_cast<void*>(&OnWindowMessageRegistration),
                                this),
    };
    const auto* failed =
        std::find_if(std::begin(results), std::end(results), [](auto r) { return r != 0; });
    return failed == std::end(results) ? 0 : *failed;
}

bool TestHost::InstallAll() {
    return InstallLogSink() == 0 && InstallRequestSender() == 0 &&
           InstallNotificationSender() == 0 && InstallEventCallbacks() == 0;
}

void TestHost::AddReply(Reply reply) {
    std::lock_guard lock(mutex_);
    replies_.push_back(std::move(reply));
}

Exchange TestHost::Send(std::span<const uint8_t> message, void* sender) {
    uint8_t* answer = nullptr;
    uint32_t answerSize = 0;
    Exchange exchange;
    exchange.result =
        Table().HandleMessage(Plugin(), sender, message.data(),
                              static_cast<uint32_t>(message.size()), &answer, &answerSize);
    if (answer != nullptr) {
        exchange.answerPresent = true;
        exchange.answerOnProcessHeap = OnProcessHeap(answer);
        exchange.answer.assign(answer, answer + answerSize);
        HeapFree(GetProcessHeap(), 0, answer);
    }
    return exchange;
}

Exchange TestHost::SendRequest(const Tree& body) {
    return Send(MessageBytes(abi::kRequestType, 0, Encode(body)));
}

Exchange TestHost::SendNotification(uint8_t code, const Tree& body) {
    return Send(MessageBytes(abi::kNotificationType, code, Encode(body)));
}

template <typename Record>
void TestHost::Append(std::vector<Record>& records, Record record) {
    {
        std::lock_guard lock(mutex_);
        records.push_back(std::move(record));
    }
    changed_.notify_all();
}

void TestHost::OnLog(void* context, abi::Plugin*, int32_t level, const wchar_t* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::wstring text = FormatMs(format, arguments);
    va_end(arguments);
    TestHost& host = HostOf(context);
    host.Append(host.logs_, LogLine{level, std::move(text)});
}

abi::Result TestHost::OnRequest(void* context, abi::Plugin*, const GUID* target,
                                const uint8_t* message, uint32_t size, uint8_t** answer,
                                uint32_t* answerSize) {
    TestHost& host = HostOf(context);
    RecordedRequest request{target != nullptr ? *target : GUID{}, Split(message, size)};
    const std::wstring command = CommandOf(request.message.body);
    abi::Result result = kUnansweredRequest;
    std::vector<uint8_t> answerBody;
    {
        std::lock_guard lock(host.mutex_);
        for (const Reply& reply : host.replies_) {
            if (IsEqualGUID(reply.target, request.target) && reply.command == command) {
                result = reply.result;
                answerBody = Encode(reply.answer);
                break;
            }
        }
    }
    host.Append(host.requests_, std::move(request));
    if (answer != nullptr && answerSize != nullptr) {
        *answer = answerBody.empty() ? nullptr : ProcessHeapCopy(answerBody);
        *answerSize = *answer == nullptr ? 0 : static_cast<uint32_t>(answerBody.size());
    }
    return result;
}

abi::Result TestHost::OnNotification(void* context, abi::Plugin*, const uint8_t* message,
                                     uint32_t size) {
    TestHost& host = HostOf(context);
    host.Append(host.notifications_, Split(message, size));
    return 0;
}

void* TestHost::OnDeviceRegistration(void* context, const void* filter, uint32_t flags) {
    TestHost& host = HostOf(context);
    constexpr size_t kFilterSize = 32;
    const auto* bytes = static_cast<const uint8_t*>(filter);
    DeviceRegistration registration{bytes == nullptr
                                        ? std::vector<uint8_t>{}
                                        : std::vector<uint8_t>(bytes, bytes + kFilterSize),
                                    flags};
    size_t index = 0;
    {
        std::lock_guard lock(host.mutex_);
        index = host.deviceRegistrations_.size();
        host.deviceRegistrations_.push_back(std::move(registration));
    }
    host.changed_.notify_all();
    return FakeNotificationHandle(index);
}

abi::Result TestHost::OnPowerRegistration(void* context, const GUID* powerSetting) {
    TestHost& host = HostOf(context);
    host.Append(host.powerRegistrations_, powerSetting != nullptr ? *powerSetting : GUID{});
    return 0;
}

abi::Result TestHost::OnWindowMessageRegistration(void* context, const GUID* pluginId,
                                                  uint32_t message, int32_t enable) {
    TestHost& host = HostOf(context);
    host.Append(
        host.windowMessageRegistrations_,
        WindowMessageRegistration{pluginId != nullptr ? *pluginId : GUID{}, message, enable});
    return 0;
}

template <typename Record>
std::vector<Record> TestHost::Snapshot(const std::vector<Record>& records) const {
    std::lock_guard lock(mutex_);
    return records;
}

std::vector<LogLine> TestHost::Logs() const {
    return Snapshot(logs_);
}
std::vector<RecordedRequest> TestHost::Requests() const {
    return Snapshot(requests_);
}
std::vector<RecordedMessage> TestHost::Notifications() const {
    return Snapshot(notifications_);
}
std::vector<DeviceRegistration> TestHost::DeviceRegistrations() const {
    return Snapshot(deviceRegistrations_);
}
std::vector<GUID> TestHost::PowerRegistrations() const {
    return Snapshot(powerRegistrations_);
}
std::vector<WindowMessageRegistration> TestHost::WindowMessageRegistrations() const {
    return Snapshot(windowMessageRegistrations_);
}

bool TestHost::WaitUntil(std::chrono::milliseconds timeout,
                         const std::function<bool()>& done) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, timeout, done);
}

bool TestHost::WaitForLog(const std::wstring& text, std::chrono::milliseconds timeout) const {
    return WaitUntil(timeout, [&] {
        return std::any_of(logs_.begin(), logs_.end(),
                           [&](const LogLine& line) { return line.text == text; });
    });
}

bool TestHost::WaitForNotifications(size_t count, std::chrono::milliseconds timeout) const {
    return WaitUntil(timeout, [&] { return notifications_.size() >= count; });
}

bool TestHost::WaitForRequests(size_t count, std::chrono::milliseconds timeout) const {
    return WaitUntil(timeout, [&] { return requests_.size() >= count; });
}

int32_t IntOf(const Tree& tree, std::string_view key) {
    const Value* value = tree.Find(key);
    return value != nullptr ? value->AsInt32().value_or(-999) : -999;
}

int32_t StartRecording(TestHost& host, int32_t capacity, int32_t intervalMs) {
    const size_t asked = host.Requests().size();
    const auto started = host.SendRequest({{"Command", Value::Int32(17)},
                                           {"UIPid", Value::UInt32(GetCurrentProcessId())},
                                           {"Capacity", Value::Int32(capacity)},
                                           {"Interval", Value::Int32(intervalMs)}})
                             .AnswerTree();
    const Value* record = started ? started->Find("Record") : nullptr;
    const Tree* fields = record != nullptr ? record->AsMap() : nullptr;
    const Value* serial = fields != nullptr ? fields->Find("RecordSN") : nullptr;
    if (serial == nullptr || !host.WaitForRequests(asked + 1, std::chrono::seconds(30))) {
        return 0;
    }
    return serial->AsInt32().value_or(0);
}

} // namespace test_host
