#pragma once

#include "plugin_frame/orvex_interfaces.h"
#include "plugin_frame/value_set.h"
#include "ports/host_heap.h"

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

// A heap that knows which of its blocks are still out, so tests can see who frees what.
class CountingHeap final : public ports::HostHeap {
public:
    ~CountingHeap() override;
    void* Allocate(std::size_t size) override;
    void Free(void* block) override;

    std::size_t Live() const { return m_live.size(); }
    std::size_t Allocations() const { return m_allocations; }
    bool Owns(const void* block) const;
    void FailNextAllocation() { m_failNext = true; }

private:
    std::set<const void*> m_live;
    std::size_t m_allocations = 0;
    bool m_failNext = false;
};

// The host side of a plug-in: records every log line, request and notification the plug-in sends
// and answers requests as the test scripts it.
class FakeHost {
public:
    struct LogLine {
        int32_t level;
        std::u16string text;
    };
    struct SentRequest {
        GUID target;                  // the identifier the host was given
        std::vector<uint8_t> message; // header and body as sent
    };
    // Fills the answer for a request and gives the result the host returns.
    using Answerer = std::function<HRESULT(const SentRequest&, VelmorValueSet::ValueSet& answer)>;

    FakeHost();

    // Installs the log sink, the request sender and the notification sender.
    void Install(IOrvexPlugin& plugin);

    CountingHeap& Heap() { return m_heap; }

    std::vector<LogLine> logs;
    std::vector<SentRequest> requests;
    std::vector<std::vector<uint8_t>> notifications;
    Answerer answer; // default: empty answer, result 0
    HRESULT notificationResult = 0;
    IOrvexPlugin* lastCaller = nullptr;

    // Lines logged at the level, as UTF-8.
    std::vector<std::string> LinesAt(int32_t level) const;
    bool Logged(int32_t level, std::string_view text) const;

    static VelmorValueSet::ValueSet BodyOf(const std::vector<uint8_t>& message);

private:
    static void LogSink(void* context, IOrvexPlugin* plugin, int32_t level, const char16_t* format,
                        ...);
    static HRESULT SendRequest(void* context, IOrvexPlugin* plugin, const GUID* target,
                               const uint8_t* message, uint32_t size, uint8_t** answer,
                               uint32_t* answerSize);
    static HRESULT SendNotification(void* context, IOrvexPlugin* plugin, const uint8_t* message,
                                    uint32_t size);

    CountingHeap m_heap;
};
