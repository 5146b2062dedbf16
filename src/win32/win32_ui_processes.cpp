#include "win32/win32_ui_processes.h"

#include "ports/kernel_objects.h"
#include "win32/handle_waitable.h"

#include <cstdint>
#include <optional>
#include <vector>
// The system headers after <windows.h> need it first.
// clang-format off
#include <windows.h>
#include <wtsapi32.h>
// clang-format on

namespace win32 {
namespace {

constexpr DWORD kUiProcessRights = SYNCHRONIZE | PROCESS_DUP_HANDLE;
static_assert(kUiProcessRights == 0x100040);
// The least a token needs to be read and impersonated; the process, only to open its token.
constexpr DWORD kClientTokenRights = TOKEN_QUERY | TOKEN_DUPLICATE;
constexpr DWORD kClientProcessRights = PROCESS_QUERY_LIMITED_INFORMATION;
constexpr DWORD kNoConsoleSession = 0xFFFFFFFF;

std::optional<DWORD> SessionOf(HANDLE token) {
    DWORD session = 0;
    DWORD size = 0;
    if (!::GetTokenInformation(token, TokenSessionId, &session, sizeof session, &size)) {
        return std::nullopt;
    }
    return session;
}

// The token's user as a copy of its SID; empty when it cannot be read.
std::vector<BYTE> UserOf(HANDLE token) {
    DWORD size = 0;
    ::GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<BYTE> user(size);
    if (size < sizeof(TOKEN_USER) ||
        !::GetTokenInformation(token, TokenUser, user.data(), size, &size)) {
        return {};
    }
    const PSID sid = reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid;
    if (!::IsValidSid(sid)) {
        return {};
    }
    const auto* bytes = static_cast<const BYTE*>(sid);
    return std::vector<BYTE>(bytes, bytes + ::GetLengthSid(sid));
}

// Whether the token belongs to the user logged on at the active console, in that session.
bool IsConsoleUser(HANDLE token) {
    const DWORD console = ::WTSGetActiveConsoleSessionId();
    if (console == kNoConsoleSession || SessionOf(token) != console) {
        return false;
    }
    UniqueHandle consoleToken;
    if (!::WTSQueryUserToken(console, consoleToken.put())) {
        return false;
    }
    std::vector<BYTE> client = UserOf(token);
    std::vector<BYTE> consoleUser = UserOf(consoleToken.get());
    return !client.empty() && !consoleUser.empty() && ::EqualSid(client.data(), consoleUser.data());
}

class Win32UserImpersonation final : public ports::UserImpersonation {
public:
    ~Win32UserImpersonation() override { Revert(); }
    bool Revert() override {
        if (!reverted_) {
            reverted_ = ::RevertToSelf() != FALSE;
            return reverted_;
        }
        return true;
    }

private:
    bool reverted_ = false;
};

class Win32UiProcess final : public ports::UiProcess, public HandleWaitable {
public:
    Win32UiProcess(UniqueHandle process, DWORD processId) noexcept
        : HandleWaitable(std::move(process)), processId_(processId) {}

    // The handle held keeps the process ID from being reused, so opening it again by ID reaches
    // the same process.
    std::unique_ptr<ports::UserImpersonation> ImpersonateConsoleUser() override {
        UniqueHandle process(::OpenProcess(kClientProcessRights, FALSE, processId_));
        UniqueHandle token;
        if (!process || !::OpenProcessToken(process.get(), kClientTokenRights, token.put()) ||
            !IsConsoleUser(token.get())) {
            return nullptr;
        }
        if (!::ImpersonateLoggedOnUser(token.get())) {
            return nullptr;
        }
        auto impersonation =
            ports::MadeOrNull([] { return std::make_unique<Win32UserImpersonation>(); });
        if (!impersonation) {
            ::RevertToSelf();
        }
        return impersonation;
    }

    uint64_t ShareEvent(ports::Event& event) override {
        const auto* source = dynamic_cast<const HandleWaitable*>(&event);
        HANDLE duplicate = nullptr;
        if (source == nullptr ||
            !::DuplicateHandle(::GetCurrentProcess(), source->Handle(), Handle(), &duplicate, 0,
                               FALSE, DUPLICATE_SAME_ACCESS)) {
            return 0;
        }
        return reinterpret_cast<uintptr_t>(duplicate);
    }

private:
    DWORD processId_;
};

} // namespace

std::unique_ptr<ports::UiProcess> Win32UiProcesses::Open(uint32_t processId) {
    UniqueHandle process(::OpenProcess(kUiProcessRights, FALSE, processId));
    if (!process) {
        return nullptr;
    }
    return ports::MadeOrNull(
        [&] { return std::make_unique<Win32UiProcess>(std::move(process), processId); });
}

} // namespace win32
