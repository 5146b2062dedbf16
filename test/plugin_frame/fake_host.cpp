#include "fake_host.h"

#include "ms_printf.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>

CountingHeap::~CountingHeap() {
    for (const void* block : m_live) {
        std::free(const_cast<void*>(block));
    }
}

void* CountingHeap::Allocate(std::size_t size) {
    if (m_failNext) {
        m_failNext = false;
        return nullptr;
    }
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block != nullptr) {
        m_live.insert(block);
        ++m_allocations;
    }
    return block;
}

void CountingHeap::Free(void* block) {
    if (block == nullptr) {
        return;
    }
    if (m_live.erase(block) == 0) {
        std::abort(); // freed twice, or never ours
    }
    std::free(block);
}

bool CountingHeap::Owns(const void* block) const {
    return m_live.count(block) != 0;
}

FakeHost::FakeHost()
    : answer([](const SentRequest&, VelmorValueSet::ValueSet&) { return HRESULT{0}; }) {}

void FakeHost::Install(IOrvexPlugin& plugin) {
    plugin.SetLogCallback(&LogSink, this);
    plugin.SetRequestSender(&SendRequest, this);
    plugin.SetNotificationSender(&SendNotification, this);
}

std::vector<std::string> FakeHost::LinesAt(int32_t level) const {
    std::vector<std::string> lines;
    for (const LogLine& line : logs) {
        if (line.level == level) {
            lines.push_back(ToUtf8(line.text));
        }
    }
    return lines;
}

bool FakeHost::Logged(int32_t level, std::string_view text) const {
    const auto lines = LinesAt(level);
    return std::find(lines.begin(), lines.end(), text) != lines.end();
}

VelmorValueSet::ValueSet FakeHost::BodyOf(const std::vector<uint8_t>& message) {
    VelmorValueSet::ValueSet body;
    if (message.size() >= kMessageHeaderSize) {
        body.Read(message.data() + kMessageHeaderSize,
                  static_cast<uint32_t>(message.size() - kMessageHeaderSize));
    }
    return body;
}

void FakeHost::LogSink(void* context, IOrvexPlugin* plugin, int32_t level, const char16_t* format,
                       ...) {
    auto& host = *static_cast<FakeHost*>(context);
    host.lastCaller = plugin;
    va_list args;
    va_start(args, format);
    host.logs.push_back({level, FormatMs(format, args)});
    va_end(args);
}

HRESULT FakeHost::SendRequest(void* context, IOrvexPlugin* plugin, const GUID* target,
                              const uint8_t* message, uint32_t size, uint8_t** answer,
                              uint32_t* answerSize) {
    auto& host = *static_cast<FakeHost*>(context);
    host.lastCaller = plugin;
    host.requests.push_back({*target, std::vector<uint8_t>(message, message + size)});
    VelmorValueSet::ValueSet reply;
    const HRESULT result = host.answer(host.requests.back(), reply);
    uint32_t replySize = reply.BodySize();
    *answer = nullptr;
    *answerSize = 0;
    if (replySize != 0) {
        *answer = static_cast<uint8_t*>(host.m_heap.Allocate(replySize));
        reply.Write(*answer, replySize);
        *answerSize = replySize;
    }
    return result;
}

HRESULT FakeHost::SendNotification(void* context, IOrvexPlugin* plugin, const uint8_t* message,
                                   uint32_t size) {
    auto& host = *static_cast<FakeHost*>(context);
    host.lastCaller = plugin;
    host.notifications.emplace_back(message, message + size);
    return host.notificationResult;
}
