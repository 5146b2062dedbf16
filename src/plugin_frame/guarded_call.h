#pragma once

#include "plugin_frame/orvex_interfaces.h"

#include <new>

// Runs body and turns any exception into a result code, so that nothing throws across the host
// interface.
template <typename Body>
HRESULT GuardedCall(Body&& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return OrvexResult::kOutOfMemory;
    } catch (...) {
        return OrvexResult::kFail;
    }
}
