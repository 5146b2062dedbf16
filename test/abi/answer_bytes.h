#pragma once
// The native tests' answer check for answers that arrive as bytes. Apart from the test host's
// source, since the plug-in's own declarations and <windows.h> do not meet in one file.
#include <cstdint>
#include <span>

namespace abi_test {

// True when the bytes decode as a value-set body that answers `command` with `result` as the
// service instance does (test/monitor_plugin/answer_shape.h); for command 18 also "Result" = 0.
bool AnswerBytesFitCommand(int32_t command, int32_t result, std::span<const uint8_t> answer);

} // namespace abi_test
