#pragma once
// What a well-formed answer of the service instance holds, by command: the echo, or the keys that
// stand in for it, and nothing else where the command writes nothing else. Used wherever answers
// arrive in bulk (storms, fault injection, fuzzing) and cannot each be checked by value.
#include "plugin_frame/orvex_interfaces.h"
#include "plugin_frame/value_set.h"

#include <cstdint>
#include <string_view>

namespace answer_shape {

inline bool HoldsInt32(const VelmorValueSet::ValueSet& answer, std::string_view key,
                       int32_t value) {
    const auto* found = answer.Find(key);
    return found != nullptr && found->GetKind() == VelmorValueSet::Kind::Int32 &&
           answer.GetInt32(key) == value;
}

// True when `answer`, returned with `result`, is what the service instance answers to `command`.
inline bool AnswersCommand(int32_t command, HRESULT result,
                           const VelmorValueSet::ValueSet& answer) {
    if (result == OrvexResult::kBadCommand) {
        // A recording request the recorder or the ring refused says why, and only that.
        return command >= 17 && command <= 22 && answer.Count() == 1 &&
               answer.Find("Error") != nullptr;
    }
    if (result != OrvexResult::kOk) {
        return false;
    }
    switch (command) {
    case 1:
        return HoldsInt32(answer, "Command", 1) && answer.Contains("GPUTGP") &&
               answer.Contains("AvailableMemorySize");
    case 2:
    case 16:
        return HoldsInt32(answer, "Command", command);
    case 3:
        return answer.Contains("Result") && answer.Contains("Status") &&
               !answer.Contains("Command");
    case 17:
    case 18:
    case 19:
    case 20:
    case 21:
    case 22:
        return HoldsInt32(answer, "Command", command) && answer.Contains("Result");
    case 65:
        return answer.Count() == 1 && answer.GetBool("IsSupportVoltage");
    default:
        return answer.Count() == 1 && HoldsInt32(answer, "Command", 255);
    }
}

} // namespace answer_shape
