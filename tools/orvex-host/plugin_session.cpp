#include "plugin_session.h"

#include "host_core/answer_render.h"
#include "host_core/plugin_messages.h"
#include "host_win32/ms_format.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

namespace orvex_host {
namespace {

PluginSession& SessionOf(void* context) {
    return *static_cast<PluginSession*>(context);
}

// Answers cross to the plug-in on the process heap, which it frees with HeapFree.
uint8_t* OnProcessHeap(const std::vector<uint8_t>& bytes) {
    auto* block = static_cast<uint8_t*>(HeapAlloc(GetProcessHeap(), 0, bytes.size()));
    if (block != nullptr) {
        std::memcpy(block, bytes.data(), bytes.size());
    }
    return block;
}

} // namespace

PluginSession::PluginSession(SessionOptions options)
    : options_(std::move(options)), module_(options_.folder + L"\\MonitorPlugin.dll") {
    auto query = reinterpret_cast<abi::QueryLibraryEntry>(module_.Export("QueryLibrary"));
    if (query == nullptr) {
        return;
    }
    plugin_ = InterfaceReference<abi::Plugin>(query(options_.hostMode));
    if (!Loaded()) {
        return;
    }
    Table().SetLogCallback(Plugin(), &OnLog, this);
    Table().SetRequestSender(Plugin(), &OnRequest, this);
    Table().SetNotificationSender(Plugin(), &OnNotification, this);
    initializeResult_ = Table().Initialize(Plugin());
}

PluginSession::~PluginSession() {
    if (Loaded()) {
        Table().Uninitialize(Plugin());
        plugin_.Release();
    }
}

std::optional<Tree> PluginSession::Request(const Tree& body, abi::Result* result) {
    const std::vector<uint8_t> encoded = Encode(body);
    std::vector<uint8_t> message(abi::kHeaderSize, 0);
    message[0] = abi::kRequestType;
    message.insert(message.end(), encoded.begin(), encoded.end());
    uint8_t* answer = nullptr;
    uint32_t answerSize = 0;
    const abi::Result code =
        Table().HandleMessage(Plugin(), nullptr, message.data(),
                              static_cast<uint32_t>(message.size()), &answer, &answerSize);
    if (result != nullptr) {
        *result = code;
    }
    std::optional<Tree> tree;
    if (code >= 0) {
        tree = answer == nullptr ? std::optional<Tree>(Tree{}) : Decode({answer, answerSize});
    }
    if (answer != nullptr) {
        HeapFree(GetProcessHeap(), 0, answer);
    }
    return tree;
}

std::optional<Tree> PluginSession::Command(int32_t command) {
    return Request(Tree{{"Command", Value::Int32(command)}});
}

void PluginSession::OnDataUpdated(std::function<void(int32_t)> callback) {
    const std::lock_guard lock(mutex_);
    dataUpdated_ = std::move(callback);
}

void PluginSession::OnLog(void* context, abi::Plugin*, int32_t level, const wchar_t* format, ...) {
    PluginSession& session = SessionOf(context);
    if (level > session.options_.logLevel || format == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    std::string text = Utf8(FormatMs(format, arguments));
    va_end(arguments);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
        text.pop_back();
    }
    const std::lock_guard lock(session.mutex_);
    std::fprintf(stderr, "[plug-in %d] %s\n", level, text.c_str());
}

abi::Result PluginSession::OnRequest(void* context, abi::Plugin*, const GUID*,
                                     const uint8_t* message, uint32_t size, uint8_t** answer,
                                     uint32_t* answerSize) {
    PluginSession& session = SessionOf(context);
    if (answer != nullptr) {
        *answer = nullptr;
    }
    if (answerSize != nullptr) {
        *answerSize = 0;
    }
    if (message == nullptr || size < abi::kHeaderSize) {
        return kUnknownRequest;
    }
    const std::optional<Tree> request =
        Decode({message + abi::kHeaderSize, size - abi::kHeaderSize});
    if (!request) {
        return kUnknownRequest;
    }
    const HostReply reply = AnswerHostRequest(session.options_.profile, *request);
    {
        const std::lock_guard lock(session.mutex_);
        if (reply.problem) {
            std::fprintf(stderr, "orvex-host: a request of the plug-in: %s\n",
                         reply.problem->c_str());
        }
        if (reply.row && session.options_.printRows) {
            std::printf("row %s\n", RowText(*reply.row).c_str());
            std::fflush(stdout);
        }
        if (reply.dataUpdated && session.dataUpdated_) {
            session.dataUpdated_(reply.round);
        }
    }
    if (!reply.answer.Empty() && answer != nullptr && answerSize != nullptr) {
        const std::vector<uint8_t> bytes = Encode(reply.answer);
        *answer = OnProcessHeap(bytes);
        *answerSize = *answer == nullptr ? 0 : static_cast<uint32_t>(bytes.size());
    }
    return reply.result;
}

// The plug-in announces device changes; a notification its clients could not read is reported.
abi::Result PluginSession::OnNotification(void* context, abi::Plugin*, const uint8_t* message,
                                          uint32_t size) {
    PluginSession& session = SessionOf(context);
    const NotificationCheck check = CheckNotification(
        message == nullptr ? std::span<const uint8_t>() : std::span<const uint8_t>(message, size));
    const std::lock_guard lock(session.mutex_);
    if (check.problem) {
        std::fprintf(stderr, "orvex-host: notification %d: %s\n", check.code,
                     check.problem->c_str());
    } else if (session.options_.logLevel > 0) {
        std::fprintf(stderr, "[notification %d] %s\n", check.code, check.role.c_str());
    }
    return 0;
}

} // namespace orvex_host
