#include "command_line.h"

#include "common/tool_text.h"
#include "host_core/answer_render.h"

#include <charconv>

namespace orvex_host {

const char* const kUsage =
    "usage: orvex-host [OPTIONS] COMMAND\n"
    "commands:\n"
    "  info                 the plug-in's identity and its device information (command 2)\n"
    "  snapshot [--json]    the monitor snapshot and disk activity (commands 1 and 3)\n"
    "  watch                the snapshot table again every second until Ctrl+C\n"
    "  record --out FILE.rml [--seconds N] [--interval MS]\n"
    "                       a recording logged to FILE.rml (default 10 s at 1000 ms) with a\n"
    "                       progress bar, then each item's minimum, mean and maximum\n"
    "  serve [--port N] [--requests N] [--seconds N]\n"
    "                       /data.json and /metrics on 127.0.0.1:N (default 8080, 0: any free\n"
    "                       port), refreshed at most once a second, until Ctrl+C or N requests\n"
    "                       or N seconds\n"
    "options:\n"
    "  --plugin-dir DIR     folder of MonitorPlugin.dll (default: this program's folder)\n"
    "  --profile FILE       host profile the plug-in's queries are answered from (default:\n"
    "                       host.profile in this program's folder, when there is one)\n"
    "  --log-level N        print the plug-in's log lines up to level N on standard error\n"
    "  --host-mode N        QueryLibrary's host mode (0 service, other: user session)\n"
    "  --print-rows         print the rows the plug-in asks the host to insert\n";

namespace {

constexpr wchar_t kDefaultProfileName[] = L"host.profile";

std::optional<int> Number(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value)
                                                                    : std::nullopt;
}

std::wstring ProgramFolder() {
    std::wstring path(MAX_PATH, L'\0');
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), MAX_PATH);
    path.resize(length);
    return path.substr(0, path.find_last_of(L"\\/"));
}

bool ReadProfile(const std::string& path, HostProfile& profile, std::string& error) {
    const std::optional<std::vector<uint8_t>> bytes = ReadFileBytes(path);
    const ProfileParse parsed = ParseHostProfile(
        bytes ? std::string_view(reinterpret_cast<const char*>(bytes->data()), bytes->size())
              : std::string_view());
    if (!bytes || !parsed.profile) {
        error = path + ": " + (bytes ? parsed.error : "cannot be read");
        return false;
    }
    profile = *parsed.profile;
    return true;
}

// The numeric options: where each goes and the smallest value it takes.
struct NumberOption {
    std::string_view name;
    int minimum;
    int maximum;
};
constexpr NumberOption kNumberOptions[] = {
    {"--log-level", 0, 6},      {"--host-mode", 0, 255}, {"--seconds", 1, 86400},
    {"--interval", 1, 3600000}, {"--port", 0, 65535},    {"--requests", 1, 1000000},
};

void Store(CommandLine& line, std::string_view name, int value, int& seconds) {
    if (name == "--log-level") {
        line.session.logLevel = value;
    } else if (name == "--host-mode") {
        line.session.hostMode = static_cast<uint32_t>(value);
    } else if (name == "--seconds") {
        seconds = value;
    } else if (name == "--interval") {
        line.record.intervalMs = value;
    } else if (name == "--port") {
        line.serve.port = value;
    } else {
        line.serve.requests = value;
    }
}

const NumberOption* FindNumberOption(std::string_view name) {
    for (const NumberOption& option : kNumberOptions) {
        if (option.name == name) {
            return &option;
        }
    }
    return nullptr;
}

bool IsCommand(std::string_view arg) {
    return arg == "info" || arg == "snapshot" || arg == "watch" || arg == "record" ||
           arg == "serve";
}

} // namespace

std::optional<CommandLine> ParseCommandLine(const std::vector<std::string_view>& args,
                                            std::string& error) {
    CommandLine line;
    line.session.folder = ProgramFolder();
    // A laptop's folder carries its host profile beside the host; --profile overrides it.
    const std::string besideHost = Utf8(line.session.folder + L"\\" + kDefaultProfileName);
    if (ReadFileBytes(besideHost) && !ReadProfile(besideHost, line.session.profile, error)) {
        return std::nullopt;
    }
    int seconds = 0;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string_view arg = args[i];
        const bool hasValue = i + 1 < args.size();
        const NumberOption* numeric = FindNumberOption(arg);
        if (arg == "--json") {
            line.json = true;
        } else if (arg == "--print-rows") {
            line.session.printRows = true;
        } else if (arg == "--plugin-dir" && hasValue) {
            line.session.folder = WindowsFolder(args[++i]);
        } else if (arg == "--out" && hasValue) {
            line.record.out = args[++i];
        } else if (arg == "--profile" && hasValue) {
            if (!ReadProfile(std::string(args[++i]), line.session.profile, error)) {
                return std::nullopt;
            }
        } else if (numeric != nullptr && hasValue) {
            const std::optional<int> value = Number(args[++i]);
            if (!value || *value < numeric->minimum || *value > numeric->maximum) {
                error = std::string(arg) + " takes a number from " +
                        std::to_string(numeric->minimum) + " to " +
                        std::to_string(numeric->maximum);
                return std::nullopt;
            }
            Store(line, arg, *value, seconds);
        } else if (line.command.empty() && IsCommand(arg)) {
            line.command = arg;
        } else {
            error = "unexpected argument: " + std::string(arg);
            return std::nullopt;
        }
    }
    if (line.command.empty()) {
        error = "no command";
        return std::nullopt;
    }
    if (line.command == "record" && line.record.out.empty()) {
        error = "record needs --out FILE.rml";
        return std::nullopt;
    }
    if (seconds != 0) {
        line.record.seconds = seconds;
        line.serve.seconds = seconds;
    }
    return line;
}

} // namespace orvex_host
