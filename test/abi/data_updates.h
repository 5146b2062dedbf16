#pragma once
// The "DataUpdatedEvent" requests a recording sends the host, unwrapped from their relay to role 1.
#include "host/test_host.h"

#include <chrono>
#include <vector>

namespace abi_test {

using test_host::IntOf;

// The trees of the announcements received so far, in order.
inline std::vector<test_host::Tree> DataUpdates(const test_host::TestHost& host) {
    std::vector<test_host::Tree> updates;
    for (const auto& request : host.Requests()) {
        const auto body = test_host::Decode(request.message.body);
        if (!body || body->Find("Request") == nullptr) {
            continue;
        }
        const test_host::Tree* relay = body->Find("Request")->AsMap();
        const test_host::Value* inner = relay != nullptr ? relay->Find("Request") : nullptr;
        if (inner != nullptr && inner->AsMap() != nullptr &&
            inner->AsMap()->Find("RequestRole") != nullptr &&
            inner->AsMap()->Find("RequestRole")->AsWide() == L"DataUpdatedEvent") {
            updates.push_back(*inner->AsMap());
        }
    }
    return updates;
}

// Waits until the round has been announced.
inline bool WaitForRound(const test_host::TestHost& host, int32_t round) {
    using namespace std::chrono_literals;
    for (size_t seen = host.Requests().size();; ++seen) {
        const auto updates = DataUpdates(host);
        if (!updates.empty() && IntOf(updates.back(), "Round") >= round) {
            return true;
        }
        if (!host.WaitForRequests(seen + 1, 30s)) {
            return false;
        }
    }
}

} // namespace abi_test
