#include "answer_bytes.h"

#include "answer_shape.h"
#include "plugin_frame/value_set.h"

namespace abi_test {

bool AnswerBytesFitCommand(int32_t command, int32_t result, std::span<const uint8_t> answer) {
    VelmorValueSet::ValueSet tree;
    return tree.Read(answer.data(), static_cast<uint32_t>(answer.size())) &&
           answer_shape::AnswersCommand(command, result, tree) &&
           (command != 18 || tree.GetInt32("Result") == 0);
}

} // namespace abi_test
