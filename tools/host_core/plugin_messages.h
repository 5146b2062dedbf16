#pragma once
// What the plug-in sends its host, read as a host must: requests it relays to another role come
// wrapped in a "SendRequest" envelope, and every event it announces names itself under
// "RequestRole", which a receiver only recognises as a wide string.
#include "host_core/value_tree.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace orvex_host {

// The request inside a relay envelope ({"Cmd" = "SendRequest", "Request" = {"PID",
// "Destination", "Request" = inner}}), or `request` itself when it is not one.
const Tree& UnwrapRelay(const Tree& request);

// Says what is wrong with a body's "RequestRole" when it is present but not a wide string;
// nothing when it is absent or right.
std::optional<std::string> RequestRoleProblem(const Tree& body);

// A notification as the host received it: its code (header byte 2), the event it names, and
// what is wrong with it, if anything.
struct NotificationCheck {
    uint8_t code = 0;
    std::string role;
    std::optional<std::string> problem;
};

NotificationCheck CheckNotification(std::span<const uint8_t> message);

} // namespace orvex_host
