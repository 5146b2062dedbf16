#include "platform/signature_check.h"

#include <algorithm>
#include <string_view>

namespace platform {
namespace {

// Paths are copied into a buffer of MAX_PATH characters.
constexpr std::size_t kMaxPath = 260;
constexpr std::u16string_view kNtPrefix = u"\\??\\";

char16_t FoldCase(char16_t c) {
    return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - u'a' + u'A') : c;
}

bool EqualIgnoringCase(std::u16string_view a, std::u16string_view b) {
    return std::ranges::equal(a, b,
                              [](char16_t x, char16_t y) { return FoldCase(x) == FoldCase(y); });
}

bool IsAcceptedSigner(const std::optional<std::u16string>& name) {
    return name && (EqualIgnoringCase(*name, kAcceptedSigner) ||
                    EqualIgnoringCase(*name, kAcceptedSignerLong));
}

} // namespace

bool GetSignatureInfo(ports::CodeSignatures& signatures, const char16_t* path,
                      ports::SignatureInfo* info) {
    if (path == nullptr || info == nullptr) {
        return false;
    }
    *info = {};
    std::u16string_view file(path);
    if (file.empty()) {
        return false;
    }
    if (file.size() >= kNtPrefix.size() &&
        EqualIgnoringCase(file.substr(0, kNtPrefix.size()), kNtPrefix)) {
        file.remove_prefix(kNtPrefix.size());
        if (file.empty()) {
            return false;
        }
    }
    const std::u16string copy(file.substr(0, kMaxPath - 1));
    const int32_t status = signatures.Verify(copy);
    if (status != 0) {
        info->Status = status;
        return false;
    }
    return signatures.ReadDetails(copy, *info);
}

void FreeSignatureInfo(ports::SignatureInfo& info) {
    info = {};
}

bool IsVelmorSigned(ports::Files& files, ports::CodeSignatures& signatures,
                    const std::u16string& path) {
    if (!files.Exists(path)) {
        return false;
    }
    ports::SignatureInfo info;
    const bool read = GetSignatureInfo(signatures, path.c_str(), &info);
    const bool matched = read && IsAcceptedSigner(info.SubjectName);
    FreeSignatureInfo(info);
    return read && matched;
}

} // namespace platform
