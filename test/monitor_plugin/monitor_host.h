#pragma once
// The host side of the monitor plug-in for native tests, safe for the plug-in's own threads: it
// records log lines (formatted with Microsoft printf rules), requests, notifications and the
// event registrations, answers the host queries the test scripts, and lets a test wait for a
// record to appear.
#include "plugin_frame/orvex_interfaces.h"
#include "plugin_frame/value_set.h"
#include "ports/host_heap.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

class COrvexMonitorPlugin;

class MonitorHost {
public:
    struct LogLine {
        int32_t level;
        std::string text; // UTF-8
    };
    struct Request {
        GUID target;
        std::vector<uint8_t> header;
        std::vector<uint8_t> body;
        VelmorValueSet::ValueSet Body() const { return Decode(body); }
    };
    struct Notification {
        uint8_t code;
        std::vector<uint8_t> body;
        VelmorValueSet::ValueSet Body() const { return Decode(body); }
    };
    // One row the plug-in inserted into the host's store: table, then (name, value) per column.
    struct Row {
        std::u16string Table;
        std::vector<std::pair<std::u16string, std::u16string>> Columns;
        // The value of the column (empty when it is not there).
        std::u16string Value(std::u16string_view column) const;
    };
    static VelmorValueSet::ValueSet Decode(const std::vector<uint8_t>& body);

    explicit MonitorHost(ports::HostHeap& heap) : heap_(heap) {}

    // Log sink, request and notification senders; the event callbacks only with events.
    void Install(COrvexMonitorPlugin& plugin, bool events = true);

    // The answer to "Query.NAME" (empty: no answer) and the result the host returns for it.
    void AnswerQuery(const std::u16string& name,
                     std::function<void(VelmorValueSet::ValueSet&)> fill, HRESULT result = 0);

    std::vector<LogLine> Logs() const;
    std::vector<std::string> LinesAt(int32_t level) const;
    bool Logged(int32_t level, std::string_view text) const;
    // How many times the line was logged at the level.
    int Count(int32_t level, std::string_view text) const;
    // Every line, in order, as "level text".
    std::vector<std::string> Trace() const;
    void ClearLogs();
    // Waits until the line has been logged at the level `count` times; false after a minute.
    bool WaitForLog(int32_t level, std::string_view text, int count = 1) const;
    // The "InsertData" rows sent so far, in order.
    std::vector<Row> Rows() const;
    // Waits until `count` rows have been sent; false after a minute.
    bool WaitForRows(std::size_t count) const;
    std::vector<Request> Requests() const;
    std::vector<Notification> Notifications() const;
    // The "DataUpdatedEvent" trees the plug-in sent, unwrapped from their relay.
    std::vector<VelmorValueSet::ValueSet> DataUpdates() const;
    // Waits until the newest announced round is at least `round`; false after a minute.
    bool WaitForRound(int32_t round) const;

    std::vector<std::vector<uint8_t>> DeviceFilters() const;
    std::vector<uint32_t> DeviceFlags() const;
    std::vector<GUID> PowerSettings() const;
    std::vector<std::pair<uint32_t, int32_t>> WindowMessages() const;

    HRESULT powerRegistrationResult = 0;
    void* deviceNotificationHandle = reinterpret_cast<void*>(0x5150);

private:
    static void OnLog(void* context, IOrvexPlugin* plugin, int32_t level, const char16_t* format,
                      ...);
    static HRESULT OnRequest(void* context, IOrvexPlugin* plugin, const GUID* target,
                             const uint8_t* message, uint32_t size, uint8_t** answer,
                             uint32_t* answerSize);
    static HRESULT OnNotification(void* context, IOrvexPlugin* plugin, const uint8_t* message,
                                  uint32_t size);
    static void* OnDeviceRegistration(void* context, const void* filter, uint32_t flags);
    static HRESULT OnPowerRegistration(void* context, const GUID* setting);
    static HRESULT OnWindowMessage(void* context, const GUID* pluginId, uint32_t message,
                                   int32_t enable);

    struct QueryAnswer {
        std::function<void(VelmorValueSet::ValueSet&)> fill;
        HRESULT result;
    };

    ports::HostHeap& heap_;
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::map<std::u16string, QueryAnswer> queries_;
    std::vector<LogLine> logs_;
    std::vector<Request> requests_;
    std::vector<Notification> notifications_;
    int32_t newestRound_ = -1;
    std::vector<std::vector<uint8_t>> deviceFilters_;
    std::vector<uint32_t> deviceFlags_;
    std::vector<GUID> powerSettings_;
    std::vector<std::pair<uint32_t, int32_t>> windowMessages_;
};
