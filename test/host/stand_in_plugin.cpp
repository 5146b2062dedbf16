// A stand-in plug-in for the test host's own tests: just enough of the binary contract to show
// that the host loads, calls back, answers, records and unloads correctly. It relays each
// request body to the host as its own request and each notification back as its own.
#include "host_win32/abi.h"

#include <atomic>
#include <cstring>
#include <string_view>

namespace {

using orvex_host::abi::Plugin;
using orvex_host::abi::PluginTable;
using orvex_host::abi::Result;

constexpr Result kNoInterface = static_cast<Result>(0x80004002);
constexpr Result kInvalidArgument = static_cast<Result>(0x80070057);
constexpr Result kBufferTooSmall = static_cast<Result>(0xA0800001);
constexpr Result kUnsupported = static_cast<Result>(0xA0800005);
constexpr std::wstring_view kName = L"Stand-in";

// The target of the relayed requests.
constexpr GUID kRelayTarget{0x5A5A0001, 0x0002, 0x0003, {4, 5, 6, 7, 8, 9, 10, 11}};

std::atomic<int> liveObjects{0};

struct StandIn {
    Plugin base;
    std::atomic<uint32_t> references{1};
    orvex_host::abi::LogSink log = nullptr;
    void* logContext = nullptr;
    orvex_host::abi::RequestSender request = nullptr;
    void* requestContext = nullptr;
    orvex_host::abi::NotificationSender notify = nullptr;
    void* notifyContext = nullptr;
};

StandIn& Self(Plugin* plugin) {
    return *reinterpret_cast<StandIn*>(plugin);
}

Result QueryInterface(Plugin* plugin, const GUID* iid, void** out) {
    *out = nullptr;
    if (!IsEqualGUID(*iid, orvex_host::abi::kUniversalInterface) &&
        !IsEqualGUID(*iid, orvex_host::abi::kPluginInterface)) {
        return kNoInterface;
    }
    *out = plugin;
    ++Self(plugin).references;
    return 0;
}

uint32_t AddRef(Plugin* plugin) {
    return ++Self(plugin).references;
}

uint32_t Release(Plugin* plugin) {
    const uint32_t count = --Self(plugin).references;
    if (count == 0) {
        delete &Self(plugin);
        --liveObjects;
    }
    return count;
}

Result GetName(Plugin*, wchar_t* buffer, uint32_t* count) {
    const auto need = static_cast<uint32_t>(kName.size() + 1);
    if (*count < need) {
        *count = need;
        return kBufferTooSmall;
    }
    if (buffer == nullptr) {
        return kInvalidArgument;
    }
    std::memcpy(buffer, kName.data(), need * sizeof(wchar_t)); // the literal's terminator too
    return 0;
}

Result SetLogCallback(Plugin* plugin, orvex_host::abi::LogSink sink, void* context) {
    Self(plugin).log = sink;
    Self(plugin).logContext = context;
    return 0;
}

Result SetRequestSender(Plugin* plugin, orvex_host::abi::RequestSender sender, void* context) {
    Self(plugin).request = sender;
    Self(plugin).requestContext = context;
    return 0;
}

Result SetNotificationSender(Plugin* plugin, orvex_host::abi::NotificationSender sender,
                             void* context) {
    Self(plugin).notify = sender;
    Self(plugin).notifyContext = context;
    return 0;
}

// Relays the body as a request of its own and hands the host's answer back as its answer.
Result Relay(StandIn& self, const uint8_t* message, uint32_t size, uint8_t** answer,
             uint32_t* answerSize) {
    if (self.log != nullptr) {
        self.log(self.logContext, &self.base, 6, L"Relay %s, %d bytes", L"request", size - 32);
    }
    if (self.request == nullptr) {
        return kUnsupported;
    }
    auto* outgoing = static_cast<uint8_t*>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size));
    outgoing[0] = orvex_host::abi::kRequestType;
    std::memcpy(outgoing + 32, message + 32, size - 32);
    uint8_t* hostAnswer = nullptr;
    uint32_t hostAnswerSize = 0;
    const Result result = self.request(self.requestContext, &self.base, &kRelayTarget, outgoing,
                                       size, &hostAnswer, &hostAnswerSize);
    HeapFree(GetProcessHeap(), 0, outgoing);
    if (hostAnswer != nullptr) {
        *answer = static_cast<uint8_t*>(HeapAlloc(GetProcessHeap(), 0, hostAnswerSize));
        std::memcpy(*answer, hostAnswer, hostAnswerSize);
        *answerSize = hostAnswerSize;
        HeapFree(GetProcessHeap(), 0, hostAnswer);
    }
    return result;
}

Result NotifyBack(StandIn& self, const uint8_t* message, uint32_t size) {
    if (self.notify == nullptr) {
        return kUnsupported;
    }
    uint8_t outgoing[64] = {};
    const uint32_t bodySize = size - 32 < 32 ? size - 32 : 32;
    outgoing[0] = orvex_host::abi::kNotificationType;
    outgoing[2] = message[1];
    std::memcpy(outgoing + 32, message + 32, bodySize);
    self.notify(self.notifyContext, &self.base, outgoing, 32 + bodySize);
    return 0;
}

Result HandleMessage(Plugin* plugin, void*, const uint8_t* message, uint32_t size, uint8_t** answer,
                     uint32_t* answerSize) {
    if (size < 32) {
        return kUnsupported;
    }
    switch (message[0]) {
    case orvex_host::abi::kRequestType:
        return Relay(Self(plugin), message, size, answer, answerSize);
    case orvex_host::abi::kNotificationType:
        return NotifyBack(Self(plugin), message, size);
    default:
        return kUnsupported;
    }
}

constexpr PluginTable kTable = [] {
    PluginTable table{};
    table.QueryInterface = &QueryInterface;
    table.AddRef = &AddRef;
    table.Release = &Release;
    table.GetName = &GetName;
    table.SetLogCallback = &SetLogCallback;
    table.HandleMessage = &HandleMessage;
    table.SetRequestSender = &SetRequestSender;
    table.SetNotificationSender = &SetNotificationSender;
    return table;
}();

} // namespace

extern "C" __declspec(dllexport) Plugin* QueryLibrary(uint32_t) {
    auto* plugin = new StandIn{};
    plugin->base.table = &kTable;
    ++liveObjects;
    return &plugin->base;
}

extern "C" __declspec(dllexport) int StandInLiveObjects() {
    return liveObjects;
}
