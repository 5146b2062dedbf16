// Stand-in for the message program: it reads -T:"kind", -L:"text" and -Q as the real one gets them
// and lets the text script what it does, so tests see how a program in the user session ended.
//   -Q                  sets the kind's close event and exits with 0.
//   otherwise           sets the kind's started event, then waits for the kind's close event and
//                       exits with kCloseExitCode, or for the kind's stop event (the user
//                       pressing stop) and exits with 1.
//   -L:"exit:N"         exits at once with N.
//   -L:"...ignore-close" (a text ending so, such as a log path) never ends by itself.
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
// Exit code of the recording message when the user asks to stop the recording.
constexpr int kStopExitCode = 1;

// The stand-in's named events of a kind: "started", "close", "stop".
std::wstring EventName(const wchar_t* what, const std::wstring& kind) {
    return std::wstring(L"Local\\QUILLON Message stand-in ") + what + L" " + kind;
}

void Signal(const std::wstring& name) {
    if (const HANDLE event = ::CreateEventW(nullptr, TRUE, FALSE, name.c_str())) {
        ::SetEvent(event);
        ::CloseHandle(event);
    }
}

bool StartsWith(const std::wstring& text, const wchar_t* prefix) {
    return text.rfind(prefix, 0) == 0;
}

bool EndsWith(const std::wstring& text, const std::wstring& suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

int WaitForCloseOrStop(const std::wstring& kind) {
    const HANDLE events[] = {
        ::CreateEventW(nullptr, TRUE, FALSE, EventName(L"close", kind).c_str()),
        ::CreateEventW(nullptr, TRUE, FALSE, EventName(L"stop", kind).c_str()),
    };
    int exitCode = 100;
    if (events[0] != nullptr && events[1] != nullptr) {
        Signal(EventName(L"started", kind));
        const DWORD which = ::WaitForMultipleObjects(2, events, FALSE, INFINITE);
        exitCode = which == WAIT_OBJECT_0 + 1 ? kStopExitCode : kCloseExitCode;
    }
    for (const HANDLE event : events) {
        if (event != nullptr) {
            ::CloseHandle(event);
        }
    }
    return exitCode;
}

int Close(const std::wstring& kind) {
    const HANDLE closeEvent =
        ::CreateEventW(nullptr, TRUE, FALSE, EventName(L"close", kind).c_str());
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
    if (EndsWith(text, L"ignore-close")) {
        ::Sleep(INFINITE);
    }
    return WaitForCloseOrStop(kind);
}
