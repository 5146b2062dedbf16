// Stand-in for the message program: it reads -T:"kind", -L:"text" and -Q as the real one gets them
// and lets the text script what it does, so tests see how a program in the user session ended.
//   -Q                  sets the kind's close event and exits with 0.
//   no text             waits for the kind's close event, then exits with kCloseExitCode.
//   -L:"exit:N"         exits at once with N.
//   -L:"ignore-close"   never ends by itself.
//   -L:"count:..."      exits with the number of arguments it was given.
#include <cstdlib>
#include <cwchar>
#include <string>
// The system headers after <windows.h> need it first.
// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on

namespace {

// Exit code of a program that obeyed the close command: distinct from a termination with 0.
constexpr int kCloseExitCode = 3;

std::wstring CloseEventName(const std::wstring& kind) {
    return L"Local\\QUILLON Message stand-in close " + kind;
}

bool StartsWith(const std::wstring& text, const wchar_t* prefix) {
    return text.rfind(prefix, 0) == 0;
}

int WaitForClose(const std::wstring& kind) {
    const HANDLE closeEvent = ::CreateEventW(nullptr, TRUE, FALSE, CloseEventName(kind).c_str());
    if (closeEvent == nullptr) {
        return 100;
    }
    ::WaitForSingleObject(closeEvent, INFINITE);
    ::CloseHandle(closeEvent);
    return kCloseExitCode;
}

int Close(const std::wstring& kind) {
    const HANDLE closeEvent = ::CreateEventW(nullptr, TRUE, FALSE, CloseEventName(kind).c_str());
    if (closeEvent == nullptr) {
        return 101;
    }
    ::SetEvent(closeEvent);
    ::CloseHandle(closeEvent);
    return 0;
}

} // namespace

int main() {
    int count = 0;
    wchar_t** arguments = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    if (arguments == nullptr) {
        return 102;
    }
    std::wstring kind;
    std::wstring text;
    bool close = false;
    for (int i = 1; i < count; ++i) {
        const std::wstring argument = arguments[i];
        if (StartsWith(argument, L"-T:")) {
            kind = argument.substr(3);
        } else if (StartsWith(argument, L"-L:")) {
            text = argument.substr(3);
        } else if (argument == L"-Q") {
            close = true;
        }
    }
    ::LocalFree(arguments);

    if (close) {
        return Close(kind);
    }
    if (StartsWith(text, L"exit:")) {
        return std::wcstol(text.c_str() + 5, nullptr, 10);
    }
    if (StartsWith(text, L"count:")) {
        return count;
    }
    if (text == L"ignore-close") {
        ::Sleep(INFINITE);
    }
    return WaitForClose(kind);
}
