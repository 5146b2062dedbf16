#include "win32/win32_user_session.h"

#include "ports/kernel_objects.h"
#include "win32/plugin_module.h"
#include "win32/unique_handle.h"
#include "win32/wide.h"

#include <cstdint>
#include <string>
// The system headers after <windows.h> need it first.
// clang-format off
#include <windows.h>
#include <userenv.h>
#include <wtsapi32.h>
// clang-format on

namespace win32 {
namespace {

// No window, a Unicode environment block, normal priority.
constexpr DWORD kCreationFlags =
    CREATE_NO_WINDOW | CREATE_UNICODE_ENVIRONMENT | NORMAL_PRIORITY_CLASS;
static_assert(kCreationFlags == 0x08000420);
// What the shell's token is duplicated with for CreateProcessWithTokenW.
constexpr DWORD kShellTokenAccess = TOKEN_QUERY | TOKEN_DUPLICATE | TOKEN_ASSIGN_PRIMARY |
                                    TOKEN_ADJUST_DEFAULT | TOKEN_ADJUST_SESSIONID;
static_assert(kShellTokenAccess == 0x18B);
constexpr DWORD kNoConsoleSession = 0xFFFFFFFF;

using UniqueEnvironment = UniqueAny<NullIsEmpty<void*, &::DestroyEnvironmentBlock>>;

class Win32SessionProcess final : public ports::SessionProcess {
public:
    Win32SessionProcess(UniqueHandle process, DWORD id) noexcept
        : process_(std::move(process)), id_(id) {}

    bool WaitForExit(uint32_t timeoutMs) override {
        return ::WaitForSingleObject(process_.get(), timeoutMs) == WAIT_OBJECT_0;
    }
    std::optional<uint32_t> ExitCode() override {
        DWORD code = 0;
        if (!::GetExitCodeProcess(process_.get(), &code)) {
            return std::nullopt;
        }
        return code;
    }
    void Terminate(uint32_t exitCode) override { ::TerminateProcess(process_.get(), exitCode); }
    uint32_t Id() const override { return id_; }

private:
    UniqueHandle process_;
    DWORD id_;
};

// Takes over the handles CreateProcess* filled in: the process is kept, its primary thread is not
// needed.
std::unique_ptr<ports::SessionProcess> Adopt(const PROCESS_INFORMATION& info) {
    UniqueHandle thread(info.hThread);
    UniqueHandle process(info.hProcess);
    return ports::MadeOrNull([&] {
        return std::make_unique<Win32SessionProcess>(std::move(process), info.dwProcessId);
    });
}

// CreateProcess* may write into the command line, so it gets its own copy.
std::wstring Writable(const std::u16string& commandLine) {
    return std::wstring(AsWide(commandLine));
}

std::unique_ptr<ports::SessionProcess> LaunchAsUser(HANDLE userToken,
                                                    const std::u16string& commandLine) {
    UniqueHandle primary;
    if (!::DuplicateTokenEx(userToken, MAXIMUM_ALLOWED, nullptr, SecurityIdentification,
                            TokenPrimary, primary.put())) {
        return nullptr;
    }
    UniqueEnvironment environment;
    ::CreateEnvironmentBlock(environment.put(), primary.get(), FALSE);
    std::wstring line = Writable(commandLine);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION info{};
    if (!::CreateProcessAsUserW(primary.get(), nullptr, line.data(), nullptr, nullptr, FALSE,
                                kCreationFlags, environment.get(), nullptr, &startup, &info)) {
        return nullptr;
    }
    return Adopt(info);
}

// Without a user token to query, the increase-quota privilege is needed to start a process with
// another token; false when this process does not hold it.
bool EnableIncreaseQuotaPrivilege() {
    UniqueHandle token;
    TOKEN_PRIVILEGES privileges{};
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY,
                            token.put()) ||
        !::LookupPrivilegeValueW(nullptr, L"SeIncreaseQuotaPrivilege",
                                 &privileges.Privileges[0].Luid)) {
        return false;
    }
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    ::AdjustTokenPrivileges(token.get(), FALSE, &privileges, 0, nullptr, nullptr);
    return ::GetLastError() == ERROR_SUCCESS;
}

std::unique_ptr<ports::SessionProcess> LaunchAsShellUser(const std::u16string& commandLine) {
    if (!EnableIncreaseQuotaPrivilege()) {
        return nullptr;
    }
    const HWND shell = ::GetShellWindow();
    DWORD shellProcessId = 0;
    if (shell == nullptr || ::GetWindowThreadProcessId(shell, &shellProcessId) == 0 ||
        shellProcessId == 0) {
        return nullptr;
    }
    UniqueHandle shellProcess(::OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, shellProcessId));
    UniqueHandle shellToken;
    UniqueHandle primary;
    if (!shellProcess ||
        !::OpenProcessToken(shellProcess.get(), TOKEN_DUPLICATE, shellToken.put()) ||
        !::DuplicateTokenEx(shellToken.get(), kShellTokenAccess, nullptr, SecurityImpersonation,
                            TokenPrimary, primary.put())) {
        return nullptr;
    }
    std::wstring line = Writable(commandLine);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION info{};
    if (!::CreateProcessWithTokenW(primary.get(), 0, nullptr, line.data(), kCreationFlags, nullptr,
                                   nullptr, &startup, &info)) {
        return nullptr;
    }
    return Adopt(info);
}

} // namespace

std::unique_ptr<ports::SessionProcess> Win32UserSession::Launch(const std::u16string& commandLine) {
    const DWORD session = ::WTSGetActiveConsoleSessionId();
    if (session == kNoConsoleSession) {
        return nullptr;
    }
    UniqueHandle userToken;
    if (::WTSQueryUserToken(session, userToken.put())) {
        return LaunchAsUser(userToken.get(), commandLine);
    }
    return LaunchAsShellUser(commandLine);
}

std::u16string Win32UserSession::MessageProgramPath() {
    static const std::wstring path = OwnModuleFolder() + L"\\QUILLON Message.exe";
    return AsUtf16(path.c_str());
}

} // namespace win32
