#include "monitor_host.h"

#include "monitor_plugin/orvex_monitor_plugin.h"
#include "ms_printf.h"

#include <algorithm>
#include <cstdarg>
#include <optional>

using VelmorValueSet::ValueSet;

void MonitorHost::Install(COrvexMonitorPlugin& plugin, bool events) {
    plugin.SetLogCallback(&OnLog, this);
    plugin.SetRequestSender(&OnRequest, this);
    plugin.SetNotificationSender(&OnNotification, this);
    if (events) {
        plugin.SetEventCallback1(reinterpret_cast<void*>(&OnDeviceRegistration), this);
        plugin.SetEventCallback3(reinterpret_cast<void*>(&OnPowerRegistration), this);
        plugin.SetEventCallback5(reinterpret_cast<void*>(&OnWindowMessage), this);
    }
}

void MonitorHost::AnswerQuery(const std::u16string& name, std::function<void(ValueSet&)> fill,
                              HRESULT result) {
    std::lock_guard lock(mutex_);
    queries_[u"Query." + name] = {std::move(fill), result};
}

ValueSet MonitorHost::Decode(const std::vector<uint8_t>& body) {
    ValueSet set;
    set.Read(body.data(), static_cast<uint32_t>(body.size()));
    return set;
}

std::vector<MonitorHost::LogLine> MonitorHost::Logs() const {
    std::lock_guard lock(mutex_);
    return logs_;
}

std::vector<std::string> MonitorHost::LinesAt(int32_t level) const {
    std::vector<std::string> lines;
    for (const LogLine& line : Logs()) {
        if (line.level == level) {
            lines.push_back(line.text);
        }
    }
    return lines;
}

bool MonitorHost::Logged(int32_t level, std::string_view text) const {
    const auto lines = LinesAt(level);
    return std::find(lines.begin(), lines.end(), text) != lines.end();
}

int MonitorHost::Count(int32_t level, std::string_view text) const {
    const auto lines = LinesAt(level);
    return static_cast<int>(std::count(lines.begin(), lines.end(), text));
}

std::vector<std::string> MonitorHost::Trace() const {
    std::vector<std::string> trace;
    for (const LogLine& line : Logs()) {
        trace.push_back(std::to_string(line.level) + " " + line.text);
    }
    return trace;
}

void MonitorHost::ClearLogs() {
    std::lock_guard lock(mutex_);
    logs_.clear();
}

bool MonitorHost::WaitForLog(int32_t level, std::string_view text, int count) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::minutes(1), [&] {
        return std::count_if(logs_.begin(), logs_.end(), [&](const LogLine& line) {
                   return line.level == level && line.text == text;
               }) >= count;
    });
}

std::u16string MonitorHost::Row::Value(std::u16string_view column) const {
    for (const auto& [name, value] : Columns) {
        if (name == column) {
            return value;
        }
    }
    return {};
}

namespace {

// The row of an "InsertData" request; nothing for any other request.
std::optional<MonitorHost::Row> InsertedRow(const ValueSet& body) {
    if (body.GetString("Cmd") != u"InsertData") {
        return std::nullopt;
    }
    MonitorHost::Row row{body.GetString("TableName"), {}};
    if (const ValueSet* columns = body.FindMap("Columns")) {
        for (int32_t i = 0; i < body.GetInt32("Count"); ++i) {
            if (const ValueSet* column = columns->FindMap(std::to_string(i))) {
                row.Columns.emplace_back(column->GetString("Name"), column->GetString("Value"));
            }
        }
    }
    return row;
}

} // namespace

std::vector<MonitorHost::Row> MonitorHost::Rows() const {
    std::vector<Row> rows;
    for (const Request& request : Requests()) {
        if (auto row = InsertedRow(request.Body())) {
            rows.push_back(std::move(*row));
        }
    }
    return rows;
}

bool MonitorHost::WaitForRows(std::size_t count) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::minutes(1), [&] {
        return static_cast<std::size_t>(
                   std::count_if(requests_.begin(), requests_.end(), [](const Request& request) {
                       return InsertedRow(request.Body()).has_value();
                   })) >= count;
    });
}

std::vector<MonitorHost::Request> MonitorHost::Requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

std::vector<MonitorHost::Notification> MonitorHost::Notifications() const {
    std::lock_guard lock(mutex_);
    return notifications_;
}

std::vector<ValueSet> MonitorHost::DataUpdates() const {
    std::vector<ValueSet> updates;
    for (const Request& request : Requests()) {
        ValueSet body = request.Body();
        const ValueSet* relay = body.FindMap("Request");
        const ValueSet* inner = relay != nullptr ? relay->FindMap("Request") : nullptr;
        if (inner != nullptr && inner->GetString("RequestRole") == u"DataUpdatedEvent") {
            ValueSet copy;
            copy.CopyFrom(*inner);
            updates.push_back(std::move(copy));
        }
    }
    return updates;
}

bool MonitorHost::WaitForRound(int32_t round) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::minutes(1), [&] { return newestRound_ >= round; });
}

std::vector<std::vector<uint8_t>> MonitorHost::DeviceFilters() const {
    std::lock_guard lock(mutex_);
    return deviceFilters_;
}

std::vector<uint32_t> MonitorHost::DeviceFlags() const {
    std::lock_guard lock(mutex_);
    return deviceFlags_;
}

std::vector<GUID> MonitorHost::PowerSettings() const {
    std::lock_guard lock(mutex_);
    return powerSettings_;
}

std::vector<std::pair<uint32_t, int32_t>> MonitorHost::WindowMessages() const {
    std::lock_guard lock(mutex_);
    return windowMessages_;
}

void MonitorHost::OnLog(void* context, IOrvexPlugin*, int32_t level, const char16_t* format, ...) {
    auto& host = *static_cast<MonitorHost*>(context);
    va_list args;
    va_start(args, format);
    std::string text = ToUtf8(FormatMs(format, args));
    va_end(args);
    {
        std::lock_guard lock(host.mutex_);
        host.logs_.push_back({level, std::move(text)});
    }
    host.changed_.notify_all();
}

HRESULT MonitorHost::OnRequest(void* context, IOrvexPlugin*, const GUID* target,
                               const uint8_t* message, uint32_t size, uint8_t** answer,
                               uint32_t* answerSize) {
    auto& host = *static_cast<MonitorHost*>(context);
    *answer = nullptr;
    *answerSize = 0;
    Request request{*target,
                    {message, message + std::min<uint32_t>(size, kMessageHeaderSize)},
                    {message + std::min<uint32_t>(size, kMessageHeaderSize), message + size}};
    const ValueSet body = request.Body();
    const ValueSet* relay = body.FindMap("Request");
    const ValueSet* inner = relay != nullptr ? relay->FindMap("Request") : nullptr;
    const int32_t round = inner != nullptr && inner->GetString("RequestRole") == u"DataUpdatedEvent"
                              ? inner->GetInt32("Round")
                              : -1;

    QueryAnswer reply{nullptr, 0};
    {
        std::lock_guard lock(host.mutex_);
        host.requests_.push_back(std::move(request));
        host.newestRound_ = std::max(host.newestRound_, round);
        const auto found = host.queries_.find(body.GetString("Cmd"));
        if (found != host.queries_.end()) {
            reply = found->second;
        }
    }
    host.changed_.notify_all();
    if (reply.fill) {
        ValueSet filled;
        reply.fill(filled);
        uint32_t replySize = filled.BodySize();
        if (replySize != 0) {
            *answer = static_cast<uint8_t*>(host.heap_.Allocate(replySize));
            filled.Write(*answer, replySize);
            *answerSize = replySize;
        }
    }
    return reply.result;
}

HRESULT MonitorHost::OnNotification(void* context, IOrvexPlugin*, const uint8_t* message,
                                    uint32_t size) {
    auto& host = *static_cast<MonitorHost*>(context);
    if (size < kMessageHeaderSize) {
        return 0;
    }
    std::lock_guard lock(host.mutex_);
    host.notifications_.push_back(
        {message[2], std::vector<uint8_t>(message + kMessageHeaderSize, message + size)});
    return 0;
}

void* MonitorHost::OnDeviceRegistration(void* context, const void* filter, uint32_t flags) {
    auto& host = *static_cast<MonitorHost*>(context);
    const auto* bytes = static_cast<const uint8_t*>(filter);
    std::lock_guard lock(host.mutex_);
    host.deviceFilters_.emplace_back(bytes, bytes + 32);
    host.deviceFlags_.push_back(flags);
    return host.deviceNotificationHandle;
}

HRESULT MonitorHost::OnPowerRegistration(void* context, const GUID* setting) {
    auto& host = *static_cast<MonitorHost*>(context);
    std::lock_guard lock(host.mutex_);
    host.powerSettings_.push_back(*setting);
    return host.powerRegistrationResult;
}

HRESULT MonitorHost::OnWindowMessage(void* context, const GUID*, uint32_t message, int32_t enable) {
    auto& host = *static_cast<MonitorHost*>(context);
    std::lock_guard lock(host.mutex_);
    host.windowMessages_.emplace_back(message, enable);
    return 0;
}
