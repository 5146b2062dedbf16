#include "host_core/plugin_messages.h"

#include "host_core/answer_render.h"

namespace orvex_host {
namespace {

constexpr size_t kHeaderBytes = 32;
constexpr uint8_t kNotificationType = 0xE4;
constexpr size_t kCodeByte = 2;

const Tree* MapAt(const Tree& tree, std::string_view key) {
    const Value* value = tree.Find(key);
    return value == nullptr ? nullptr : value->AsMap();
}

} // namespace

const Tree& UnwrapRelay(const Tree& request) {
    const Value* command = request.Find("Cmd");
    if (command == nullptr || command->AsWide() != L"SendRequest") {
        return request;
    }
    const Tree* envelope = MapAt(request, "Request");
    const Tree* inner = envelope == nullptr ? nullptr : MapAt(*envelope, "Request");
    return inner == nullptr ? request : *inner;
}

std::optional<std::string> RequestRoleProblem(const Tree& body) {
    const Value* role = body.Find("RequestRole");
    if (role == nullptr || role->Is(Kind::Wide)) {
        return std::nullopt;
    }
    return "\"RequestRole\" is of kind " + std::to_string(role->kind) + ", not a wide string (16)";
}

NotificationCheck CheckNotification(std::span<const uint8_t> message) {
    NotificationCheck check;
    if (message.size() < kHeaderBytes) {
        check.problem = "shorter than its 32-byte header";
        return check;
    }
    check.code = message[kCodeByte];
    if (message[0] != kNotificationType) {
        check.problem = "header type is not 0xE4";
        return check;
    }
    const std::optional<Tree> body = Decode(message.subspan(kHeaderBytes));
    if (!body) {
        check.problem = "body is not a value tree";
        return check;
    }
    check.problem = RequestRoleProblem(*body);
    const Value* role = body->Find("RequestRole");
    if (role == nullptr) {
        check.problem = "no \"RequestRole\"";
    } else if (const std::optional<std::wstring> text = role->AsWide()) {
        check.role = Utf8(*text);
    }
    return check;
}

} // namespace orvex_host
