#include "plugin_frame/base_orvex_plugin.h"

#include "plugin_frame/guarded_call.h"
#include "plugin_frame/orvex_message.h"
#include "plugin_frame/value_set.h"
#include "plugin_frame/wide_text_copy.h"

#include <algorithm>
#include <memory>

namespace {

constexpr std::string_view kKeyCmd = "Cmd";
constexpr std::string_view kKeyError = "Error";
constexpr char16_t kUnknownCommand[] = u"Unknown Command";
constexpr char16_t kLogProcessRequest[] = u"ProcessRequest, Cmd:%s";

constexpr std::size_t kCommandTableBuckets = 8;

// Writes the body of the response into a block of the host's heap; an empty body is no block.
HRESULT WriteAnswer(const VelmorValueSet::ValueSet& response, ports::HostHeap& heap,
                    uint8_t*& answer, uint32_t& answerSize) {
    uint32_t size = response.BodySize();
    if (size == 0) {
        return OrvexResult::kOk;
    }
    if (size == UINT32_MAX) {
        return OrvexResult::kFail; // too big for the 32-bit answer size
    }
    ports::HostHeapBlock block(static_cast<uint8_t*>(heap.Allocate(size)), {&heap});
    if (block == nullptr) {
        return OrvexResult::kOutOfMemory;
    }
    if (!response.Write(block.get(), size)) {
        return OrvexResult::kFail;
    }
    answer = block.release();
    answerSize = size;
    return OrvexResult::kOk;
}

} // namespace

BaseOrvexPlugin::BaseOrvexPlugin(const Identity& identity, uint32_t hostMode, ports::HostHeap& heap)
    : m_name(identity.Name), m_id(identity.Id), m_typeId(identity.TypeId),
      m_description(identity.Description), m_version(identity.Version), m_hostMode(hostMode),
      m_heap(heap) {
    m_commands.max_load_factor(1.0f);
    m_commands.rehash(kCommandTableBuckets);
}

BaseOrvexPlugin::~BaseOrvexPlugin() = default;

HRESULT BaseOrvexPlugin::QueryInterface(const GUID* iid, void** out) noexcept {
    if (out == nullptr) {
        return OrvexResult::kInvalidArgument;
    }
    *out = nullptr;
    if (iid == nullptr) {
        return OrvexResult::kInvalidArgument;
    }
    if (*iid != kIidUnknown && *iid != kIidOrvexLibrary && *iid != kIidOrvexPlugin) {
        return OrvexResult::kNoInterface;
    }
    *out = static_cast<IOrvexPlugin*>(this);
    AddRef();
    return OrvexResult::kOk;
}

uint32_t BaseOrvexPlugin::AddRef() noexcept {
    return m_refCount.fetch_add(1, std::memory_order_relaxed) + 1;
}

uint32_t BaseOrvexPlugin::Release() noexcept {
    const uint32_t count = m_refCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (count == 0) {
        DeletingDestructor(1);
    }
    return count;
}

void* BaseOrvexPlugin::DeletingDestructor(uint32_t flags) noexcept {
    // Bit 0 asks for the memory to be freed as well, as the host's compiler does it.
    if ((flags & 1u) != 0) {
        delete this;
    } else {
        this->~BaseOrvexPlugin();
    }
    return this;
}

HRESULT BaseOrvexPlugin::GetId(GUID* out) noexcept {
    if (out == nullptr) {
        return OrvexResult::kInvalidArgument;
    }
    *out = m_id;
    return OrvexResult::kOk;
}

HRESULT BaseOrvexPlugin::GetTypeId(GUID* out) noexcept {
    if (out == nullptr) {
        return OrvexResult::kInvalidArgument;
    }
    *out = m_typeId;
    return OrvexResult::kOk;
}

HRESULT BaseOrvexPlugin::GetName(char16_t* buffer, uint32_t* count) noexcept {
    return CopyWideText(m_name, buffer, count);
}

HRESULT BaseOrvexPlugin::GetDescription(char16_t* buffer, uint32_t* count) noexcept {
    return CopyWideText(m_description, buffer, count);
}

HRESULT BaseOrvexPlugin::GetVersion(uint32_t version[4]) noexcept {
    if (version == nullptr) {
        return OrvexResult::kInvalidArgument;
    }
    std::copy(m_version.begin(), m_version.end(), version);
    return OrvexResult::kOk;
}

HRESULT BaseOrvexPlugin::SetLogCallback(OrvexLogSink fn, void* context) noexcept {
    return m_logSink.Store(fn, context);
}

HRESULT BaseOrvexPlugin::SetRequestSender(OrvexRequestSender fn, void* context) noexcept {
    return m_requestSender.Store(fn, context);
}

HRESULT BaseOrvexPlugin::SetNotificationSender(OrvexNotificationSender fn, void* context) noexcept {
    return m_notificationSender.Store(fn, context);
}

HRESULT BaseOrvexPlugin::SetHostCallback4(OrvexOpaqueCallback fn, void* context) noexcept {
    return m_hostCallback4.Store(fn, context);
}

HRESULT BaseOrvexPlugin::SetHostCallback5(OrvexOpaqueCallback fn, void* context) noexcept {
    return m_hostCallback5.Store(fn, context);
}

HRESULT BaseOrvexPlugin::HandleMessage(void* sender, const uint8_t* message, uint32_t size,
                                       uint8_t** answer, uint32_t* answerSize) noexcept {
    if (answer != nullptr) {
        *answer = nullptr;
    }
    if (answerSize != nullptr) {
        *answerSize = 0;
    }
    if (message == nullptr || size < kMessageHeaderSize || answer == nullptr ||
        answerSize == nullptr) {
        return OrvexResult::kInvalidArgument;
    }
    return GuardedCall([&] { return RouteMessage(sender, message, size, *answer, *answerSize); });
}

HRESULT BaseOrvexPlugin::RouteMessage(void* sender, const uint8_t* message, uint32_t size,
                                      uint8_t*& answer, uint32_t& answerSize) {
    const uint8_t type = message[offsetof(OrvexMessageHeader, Type)];
    if (type != kMessageRequest && type != kMessageNotification) {
        return OrvexResult::kUnsupported;
    }
    // A body that does not read leaves the request empty; the command decides what that means.
    ValueSet request;
    request.Read(message + kMessageHeaderSize, size - kMessageHeaderSize);
    if (type == kMessageNotification) {
        ReceiveNotification(message[offsetof(OrvexMessageHeader, IncomingCodeOrSource)], &request);
        return OrvexResult::kOk;
    }
    ValueSet response;
    const HRESULT result = ProcessRequest(sender, &request, &response);
    const HRESULT written = WriteAnswer(response, m_heap, answer, answerSize);
    return written < 0 ? written : result;
}

HRESULT BaseOrvexPlugin::ProcessRequest(void* sender, ValueSet* request,
                                        ValueSet* response) noexcept {
    if (request == nullptr || response == nullptr) {
        return OrvexResult::kInvalidArgument;
    }
    return GuardedCall([&] { return DispatchCommand(sender, *request, *response); });
}

HRESULT BaseOrvexPlugin::DispatchCommand(void* sender, ValueSet& request, ValueSet& response) {
    const std::u16string command = request.GetString(kKeyCmd);
    Log(LogLevel::kTrace, kLogProcessRequest, command.c_str());
    const auto found = m_commands.find(command);
    if (found == m_commands.end()) {
        response.SetString(kKeyError, kUnknownCommand);
        return OrvexResult::kBadCommand;
    }
    return found->second(sender, request, response);
}

HRESULT BaseOrvexPlugin::ReceiveNotification(uint8_t, ValueSet*) noexcept {
    return OrvexResult::kOk;
}

void BaseOrvexPlugin::AddCommand(std::u16string name, Command command) {
    m_commands.insert_or_assign(std::move(name), std::move(command));
}

HRESULT BaseOrvexPlugin::Notify(uint8_t code, const ValueSet& payload) noexcept {
    return GuardedCall([&] { return SendNotification(code, payload); });
}

HRESULT BaseOrvexPlugin::SendNotification(uint8_t code, const ValueSet& payload) {
    if (m_notificationSender.Function == nullptr) {
        return OrvexResult::kUnsupported;
    }
    const auto message = ComposeMessage(NotificationHeader(code), payload);
    if (!message) {
        return OrvexResult::kFail;
    }
    return m_notificationSender.Function(m_notificationSender.Context, this, message->data(),
                                         static_cast<uint32_t>(message->size()));
}
