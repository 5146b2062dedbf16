// Requests a plug-in sends through the host: settings queries, toasts and rows for the host's
// data store.
#include "plugin_frame/base_orvex_plugin.h"
#include "plugin_frame/guarded_call.h"
#include "plugin_frame/orvex_message.h"
#include "plugin_frame/value_set.h"

#include <memory>
#include <new>
#include <string>

namespace {

using VelmorValueSet::ValueSet;

// The host's data store, the addressee of inserted rows.
constexpr GUID kDataStoreId = {
    0x65565C62, 0x0C9E, 0x4B2F, {0xA8, 0x11, 0xCB, 0xCC, 0x72, 0x9C, 0xA1, 0xCA}};

constexpr std::string_view kKeyCmd = "Cmd";
constexpr std::string_view kKeyRequest = "Request";
constexpr std::string_view kKeyPid = "PID";
constexpr std::string_view kKeyDestination = "Destination";
constexpr std::string_view kKeyToastTitle = "ToastTitle";
constexpr std::string_view kKeyToastContent = "ToastContent";
constexpr std::string_view kKeyToastLogo = "ToastLogo";
constexpr std::string_view kKeyTableName = "TableName";
constexpr std::string_view kKeyCount = "Count";
constexpr std::string_view kKeyColumns = "Columns";
constexpr std::string_view kKeyName = "Name";
constexpr std::string_view kKeyValue = "Value";
constexpr std::string_view kKeyPrivacyPolicyRead = "PPRead";
constexpr std::string_view kKeyCommandResult = "CommandResult";

constexpr char16_t kCmdSendRequest[] = u"SendRequest";
constexpr char16_t kCmdQueryPrefix[] = u"Query.";
constexpr char16_t kCmdToast[] = u"Toast";
constexpr char16_t kCmdInsertData[] = u"InsertData";
constexpr char16_t kQueryUwpInfo[] = u"UWPInfo";
constexpr char16_t kDefaultToastLogo[] =
    u"ms-appx:///Quillon.Core/Assets/Quillon_UWP_Crop/System/velmor_corvane_system_file_ic.png";

constexpr char16_t kLogFromFormat[] = u"(%s)%s";
constexpr char16_t kLogArraysNull[] = u"Insert data failed: some arrays are NULL.";
constexpr char16_t kLogPrivacyPolicy[] = u"Insert data failed: Privacy Policy is not read yet.";

// A request for another role travels to the plug-in type, which forwards it to the target.
ValueSet WrapForRelay(const GUID& target, const ValueSet& request, uint8_t destinationRole) {
    ValueSet relay;
    relay.SetString(kKeyCmd, kCmdSendRequest);
    ValueSet& wrapped = relay.NewMap(kKeyRequest);
    const auto pid = GuidBytes(target);
    wrapped.SetBlock(kKeyPid, pid.data(), pid.size());
    wrapped.SetUInt32(kKeyDestination, destinationRole);
    wrapped.NewMap(kKeyRequest).CopyFrom(request);
    return relay;
}

const char16_t* OrEmpty(const char16_t* text) {
    return text != nullptr ? text : u"";
}

} // namespace

HRESULT BaseOrvexPlugin::SendRequest(const GUID& target, const ValueSet& request,
                                     ValueSet& response, uint8_t destinationRole) noexcept {
    return GuardedCall(
        [&] { return SendComposedRequest(target, request, response, destinationRole); });
}

HRESULT BaseOrvexPlugin::SendComposedRequest(const GUID& target, const ValueSet& request,
                                             ValueSet& response, uint8_t destinationRole) {
    if (m_requestSender.Function == nullptr) {
        return OrvexResult::kUnsupported;
    }
    const bool relayed = destinationRole != OwnRole();
    const ValueSet relay = relayed ? WrapForRelay(target, request, destinationRole) : ValueSet{};
    const auto message =
        ComposeMessage(RequestHeader(OwnRole(), destinationRole, relayed ? m_typeId : target),
                       relayed ? relay : request);
    if (!message) {
        return OrvexResult::kFail;
    }
    uint8_t* answer = nullptr;
    uint32_t answerSize = 0;
    // The host is told the caller's target even when the header addresses the relay.
    const HRESULT result =
        m_requestSender.Function(m_requestSender.Context, this, &target, message->data(),
                                 static_cast<uint32_t>(message->size()), &answer, &answerSize);
    const ports::HostHeapBlock owned(answer, {&m_heap});
    if (answer != nullptr && answerSize != 0) {
        response.Read(answer, answerSize);
    }
    return result;
}

HRESULT BaseOrvexPlugin::Query(const char16_t* name, const ValueSet& payload,
                               ValueSet& response) noexcept {
    if (name == nullptr) {
        return OrvexResult::kUnsupported;
    }
    return GuardedCall([&] {
        ValueSet request;
        request.SetString(kKeyCmd, std::u16string(kCmdQueryPrefix) + name);
        request.NewMap(kKeyRequest).CopyFrom(payload);
        return SendComposedRequest(m_typeId, request, response, OwnRole());
    });
}

HRESULT BaseOrvexPlugin::Query(const char16_t* name, ValueSet& response) noexcept {
    return GuardedCall([&] { return Query(name, ValueSet{}, response); });
}

HRESULT BaseOrvexPlugin::Toast(std::u16string_view title, std::u16string_view content,
                               std::u16string_view logo) noexcept {
    return GuardedCall([&] {
        ValueSet request;
        request.SetString(kKeyCmd, kCmdToast);
        ValueSet& toast = request.NewMap(kKeyRequest);
        toast.SetString(kKeyToastTitle, title);
        toast.SetString(kKeyToastContent, content);
        toast.SetString(kKeyToastLogo, logo);
        ValueSet discarded;
        return SendComposedRequest(m_typeId, request, discarded, OwnRole());
    });
}

HRESULT BaseOrvexPlugin::Toast(std::u16string_view title, std::u16string_view content) noexcept {
    return Toast(title, content, kDefaultToastLogo);
}

HRESULT BaseOrvexPlugin::InsertData(std::u16string_view table, const char16_t* const* names,
                                    const char16_t* const* values, int32_t count) noexcept {
    return GuardedCall([&] { return InsertRow(table, names, values, count); });
}

HRESULT BaseOrvexPlugin::InsertRow(std::u16string_view table, const char16_t* const* names,
                                   const char16_t* const* values, int32_t count) {
    if (names == nullptr || values == nullptr) {
        Log(LogLevel::kFailure, kLogArraysNull);
        return OrvexResult::kBadCommand;
    }
    if (!PrivacyPolicyRead()) {
        Log(LogLevel::kFailure, kLogPrivacyPolicy);
        return OrvexResult::kPrivacyPolicyNotRead;
    }
    ValueSet request;
    request.SetString(kKeyCmd, kCmdInsertData);
    request.SetString(kKeyTableName, table);
    request.SetInt32(kKeyCount, count);
    ValueSet& columns = request.NewMap(kKeyColumns);
    for (int32_t i = 0; i < count; ++i) {
        ValueSet& column = columns.NewMap(std::to_string(i));
        column.SetString(kKeyName, OrEmpty(names[i]));
        column.SetString(kKeyValue, OrEmpty(values[i]));
    }
    ValueSet answer;
    const HRESULT sent = SendComposedRequest(kDataStoreId, request, answer, OwnRole());
    if (sent < 0) {
        return sent;
    }
    return answer.GetBool(kKeyCommandResult) ? OrvexResult::kOk : OrvexResult::kFail;
}

// Only an answered "UWPInfo" query can block a row: when the host cannot be asked, rows go ahead.
bool BaseOrvexPlugin::PrivacyPolicyRead() {
    ValueSet info;
    if (Query(kQueryUwpInfo, info) < 0) {
        return true;
    }
    return info.GetBool(kKeyPrivacyPolicyRead);
}

void BaseOrvexPlugin::LogFrom(int32_t level, const char16_t* source,
                              const char16_t* text) noexcept {
    Log(level, kLogFromFormat, OrEmpty(source), OrEmpty(text));
}
