#pragma once

// The port of the module whose Windows implementation is not part of it yet: message programs
// that never start. The module's entry point uses it until the launcher arrives.
#include "ports/message_programs.h"

class NoMessagePrograms final : public ports::MessagePrograms {
public:
    bool Start(int32_t, const std::u16string&) override { return false; }
    void Stop(int32_t) override {}
    void SetEnabled(int32_t, int32_t) override {}
};
