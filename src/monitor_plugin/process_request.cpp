// The plug-in's request entry: the prologue every request goes through and the dispatch by
// "Command" to the families of commands.
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "plugin_frame/value_set.h"

#include <exception>
#include <string>

namespace {

constexpr std::string_view kKeyCommand = "Command";
constexpr std::string_view kKeyError = "Error";
constexpr int32_t kUnknownCommand = 255;

constexpr char16_t kLogBegin[] = u"ProcessRequest : Begin";
constexpr char16_t kLogEnd[] = u"ProcessRequest : End";

// The recorder and the ring report in plain English; the answer carries the text as it is.
std::u16string Widened(const char* text) {
    std::u16string wide;
    for (const char* c = text; *c != '\0'; ++c) {
        wide.push_back(static_cast<char16_t>(static_cast<unsigned char>(*c)));
    }
    return wide;
}

} // namespace

HRESULT COrvexMonitorPlugin::ProcessRequest(void*, ValueSet* request, ValueSet* response) noexcept {
    Log(LogLevel::kTrace, kLogBegin);
    if (m_initialised == 0) {
        return OrvexResult::kNotInitialized;
    }
    if (request == nullptr || response == nullptr) {
        return OrvexResult::kInvalidArgument;
    }
    try {
        return Dispatch(*request, *response);
    } catch (const std::exception& error) {
        // A request the recorder or the ring refused: the answer says why and the plug-in goes on.
        response->Clear();
        response->SetString(kKeyError, Widened(error.what()));
    } catch (...) {
        response->Clear();
        response->SetString(kKeyError, u"Unknown error");
    }
    Log(LogLevel::kTrace, kLogEnd);
    return OrvexResult::kBadCommand;
}

HRESULT COrvexMonitorPlugin::Dispatch(ValueSet& request, ValueSet& response) {
    if (HostMode() != 0) {
        // An instance in the user's session answers every request empty.
        static_cast<void>(request.Find(kKeyCommand));
        Log(LogLevel::kTrace, kLogEnd);
        return OrvexResult::kOk;
    }
    Log(LogLevel::kTrace, u"Initial XTU : %d", m_cpu->XTUReady() ? 1 : 0);
    const int32_t command = request.GetInt32(kKeyCommand);
    // The blank at the end is part of the text.
    Log(LogLevel::kTrace, u"Monitor Plugin - Command %d ", command);
    if (const auto handler = m_commands.Find(command)) {
        handler(*this, request, response);
    } else {
        response.SetInt32(kKeyCommand, kUnknownCommand);
    }
    Log(LogLevel::kTrace, kLogEnd);
    return OrvexResult::kOk;
}
