#include "plugin_frame/wide_text_copy.h"

#include <algorithm>

HRESULT CopyWideText(std::u16string_view text, char16_t* buffer, uint32_t* count) noexcept {
    if (count == nullptr) {
        return OrvexResult::kInvalidArgument;
    }
    const auto need = static_cast<uint32_t>(text.size() + 1);
    if (*count < need) {
        *count = need;
        return OrvexResult::kBufferTooSmall;
    }
    if (buffer == nullptr) {
        return OrvexResult::kInvalidArgument;
    }
    std::copy(text.begin(), text.end(), buffer);
    buffer[text.size()] = u'\0';
    return OrvexResult::kOk;
}
