#include "record_command.h"

#include "common/tool_text.h"
#include "host_core/answer_render.h"
#include "host_core/console_text.h"
#include "interrupt.h"
#include "recording/rml_format.h"
#include "show_commands.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

namespace orvex_host {
namespace {

// A recording that falls this far behind its nominal length has stalled.
constexpr DWORD kStallAllowanceMs = 30000;
// The log is written from the ring's newest records, up to 60 at a time, and when the host stops
// it one more record than expected may be pending: a ring of at least one page always holds
// them, where a ring of exactly the expected records would refuse the final write.
constexpr int kSmallestCapacity = 600;
// What stands for "Result" when an answer has none.
constexpr int32_t kNoResult = -100;

int32_t IntegerOf(const Tree& tree, std::string_view key, int32_t otherwise) {
    const Value* value = tree.Find(key);
    return value == nullptr ? otherwise : value->AsInt32().value_or(otherwise);
}

std::wstring FullPath(const std::string& path) {
    const std::wstring given = WindowsFolder(path);
    std::wstring full(MAX_PATH, L'\0');
    const DWORD length = GetFullPathNameW(given.c_str(), MAX_PATH, full.data(), nullptr);
    if (length == 0 || length >= MAX_PATH) {
        return given;
    }
    full.resize(length);
    return full;
}

// Commands 20 and 22 end the logging and the recording; what they answer changes nothing then.
void RecordingCommand(PluginSession& session, int32_t command, int32_t serial) {
    session.Request(Tree{{"Command", Value::Int32(command)}, {"RecordSN", Value::Int32(serial)}});
}

// Announced rounds, counted on the plug-in's sampling thread, waited for on the main thread.
class RoundWatch {
public:
    explicit RoundWatch(PluginSession& session)
        : session_(session), arrived_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {
        // The session calls this under its lock, one round at a time.
        session_.OnDataUpdated([this](int32_t round) {
            newest_.store(std::max(newest_.load(), round));
            SetEvent(arrived_.get());
        });
    }
    RoundWatch(const RoundWatch&) = delete;
    RoundWatch& operator=(const RoundWatch&) = delete;
    ~RoundWatch() { session_.OnDataUpdated(nullptr); }

    int32_t Announced() const { return newest_.load() + 1; }

    // Shows the progress until `expected` records were announced and one more after them, the
    // user interrupts, or the recording stalls; true in the first two cases. A record is counted
    // for the log only after its announcement, so the one after the last is awaited: then the
    // log holds every expected record when the host stops it.
    bool Follow(int expected, DWORD allowedMs, const Interrupt& interrupt) {
        const ULONGLONG deadline = GetTickCount64() + allowedMs;
        const HANDLE waits[] = {arrived_.get(), interrupt.Event()};
        for (int shown = -1;;) {
            const int announced = std::min(Announced(), expected);
            if (announced != shown) {
                std::fprintf(stderr, "\r%s", ProgressBar(announced, expected).c_str());
                std::fflush(stderr);
                shown = announced;
            }
            if (Announced() > expected) {
                break;
            }
            const ULONGLONG now = GetTickCount64();
            const DWORD left = now >= deadline ? 0 : static_cast<DWORD>(deadline - now);
            const DWORD woken = WaitForMultipleObjects(2, waits, FALSE, left);
            if (woken != WAIT_OBJECT_0) {
                EndLine();
                return woken == WAIT_OBJECT_0 + 1;
            }
        }
        EndLine();
        return true;
    }

private:
    // Standard error is buffered when it is a file: the line must be out before the summary.
    static void EndLine() {
        std::fprintf(stderr, "\n");
        std::fflush(stderr);
    }

    PluginSession& session_;
    win32::UniqueHandle arrived_;
    std::atomic<int32_t> newest_{-1};
};

// Command 17: the recording's serial number, or nothing with the reason on standard error.
std::optional<int32_t> StartRecording(PluginSession& session, int expected, int intervalMs) {
    const std::optional<Tree> started = AnsweredCommand(
        session, Tree{{"Command", Value::Int32(17)},
                      {"UIPid", Value::UInt32(GetCurrentProcessId())},
                      {"Capacity", Value::Int32(std::max(expected + 1, kSmallestCapacity))},
                      {"Interval", Value::Int32(intervalMs)}});
    if (!started) {
        return std::nullopt;
    }
    const int32_t result = IntegerOf(*started, "Result", kNoResult);
    const Value* record = started->Find("Record");
    if (result != 0 || record == nullptr || record->AsMap() == nullptr) {
        std::fprintf(stderr, "orvex-host: the plug-in did not start the recording (Result %d)\n",
                     result);
        return std::nullopt;
    }
    return IntegerOf(*record->AsMap(), "RecordSN", 0);
}

// Command 19: the stop-logging event the plug-in hands this process (the host has no use for
// it, but owns it), or nothing with the reason on standard error when the plug-in refused.
std::optional<win32::UniqueHandle> StartLogging(PluginSession& session, int32_t serial,
                                                const std::wstring& path) {
    const std::optional<Tree> logging =
        AnsweredCommand(session, Tree{{"Command", Value::Int32(19)},
                                      {"Path", Value::Wide(path)},
                                      {"RecordSN", Value::Int32(serial)}});
    const int32_t result = logging ? IntegerOf(*logging, "Result", kNoResult) : kNoResult;
    if (result != 0) {
        std::fprintf(stderr, "orvex-host: the plug-in refused to log to %s (Result %d)\n",
                     Utf8(path).c_str(), result);
        return std::nullopt;
    }
    const Value* event = logging->Find("StopLoggingEvent");
    const uint64_t handle = event == nullptr ? 0 : event->AsInt64().value_or(0);
    return win32::UniqueHandle(reinterpret_cast<HANDLE>(static_cast<uintptr_t>(handle)));
}

// The log read back: where it is, its interval and records, then the ten items' summary.
int Summarise(const std::string& path, const std::wstring& windowsPath) {
    const std::optional<std::vector<uint8_t>> bytes = ReadFileBytes(Utf8(windowsPath));
    if (!bytes) {
        std::fprintf(stderr, "orvex-host: %s: the log cannot be read\n", path.c_str());
        return 1;
    }
    const RmlParseResult parsed = ParseRmlLog(*bytes);
    if (!parsed.log) {
        std::fprintf(stderr, "orvex-host: %s: %s\n", path.c_str(), parsed.error.c_str());
        return 1;
    }
    std::printf("%s\n%s",
                RenderPairs({{"Log", path},
                             {"Interval", std::to_string(parsed.log->intervalMs) + " ms"},
                             {"Records", std::to_string(parsed.log->records.size())}})
                    .c_str(),
                RecordSummary(*parsed.log).c_str());
    std::fflush(stdout);
    return 0;
}

} // namespace

int Record(PluginSession& session, const RecordOptions& options, const Interrupt& interrupt) {
    const int expected = std::max(1, options.seconds * 1000 / options.intervalMs);
    const std::wstring path = FullPath(options.out);
    RoundWatch rounds(session);
    const std::optional<int32_t> serial = StartRecording(session, expected, options.intervalMs);
    if (!serial) {
        return 1;
    }
    const std::optional<win32::UniqueHandle> stopLogging = StartLogging(session, *serial, path);
    bool complete = false;
    if (stopLogging) {
        std::fprintf(stderr, "recording %d records at %d ms into %s\n", expected,
                     options.intervalMs, Utf8(path).c_str());
        std::fflush(stderr);
        const DWORD nominal = static_cast<DWORD>(expected) * static_cast<DWORD>(options.intervalMs);
        complete = rounds.Follow(expected, 2 * nominal + kStallAllowanceMs, interrupt);
    }
    RecordingCommand(session, 20, *serial);
    RecordingCommand(session, 22, *serial);
    if (!stopLogging) {
        return 1;
    }
    if (!complete) {
        std::fprintf(stderr, "orvex-host: the recording stalled after %d of %d records\n",
                     rounds.Announced(), expected);
    }
    return Summarise(options.out, path) == 0 && complete ? 0 : 1;
}

} // namespace orvex_host
