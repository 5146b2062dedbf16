// orvex-host: the reference host. Loads MonitorPlugin.dll as the service host does and shows
// what it answers:
//   orvex-host [OPTIONS] info | snapshot [--json] | watch
// Options: --plugin-dir DIR (default: this program's folder), --profile FILE, --log-level N,
// --host-mode N, --rows (print the rows the plug-in inserts).
#include "common/tool_text.h"
#include "host_core/answer_render.h"
#include "plugin_session.h"

#include <charconv>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace orvex_host {
namespace {

constexpr const char* kUsage =
    "usage: orvex-host [OPTIONS] info | snapshot [--json] | watch\n"
    "  info       the plug-in's identity and its device information (command 2)\n"
    "  snapshot   the monitor snapshot and disk activity (commands 1 and 3); --json for JSON\n"
    "  watch      the snapshot table again every second until interrupted\n"
    "options:\n"
    "  --plugin-dir DIR   folder of MonitorPlugin.dll (default: this program's folder)\n"
    "  --profile FILE     host profile the plug-in's queries are answered from\n"
    "  --log-level N      print the plug-in's log lines up to level N on standard error\n"
    "  --host-mode N      QueryLibrary's host mode (0 service, other: user session)\n"
    "  --rows             print the rows the plug-in asks the host to insert\n";

struct CommandLine {
    SessionOptions session;
    std::string command;
    bool json = false;
};

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

// Nothing when the command line is wrong; `error` then says why.
std::optional<CommandLine> Parse(const std::vector<std::string_view>& args, std::string& error) {
    CommandLine line;
    line.session.folder = ProgramFolder();
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string_view arg = args[i];
        const bool hasValue = i + 1 < args.size();
        if (arg == "--json") {
            line.json = true;
        } else if (arg == "--rows") {
            line.session.printRows = true;
        } else if (arg == "--plugin-dir" && hasValue) {
            line.session.folder = WindowsFolder(args[++i]);
        } else if (arg == "--profile" && hasValue) {
            const std::string path(args[++i]);
            const std::optional<std::vector<uint8_t>> bytes = ReadFileBytes(path);
            const ProfileParse parsed = ParseHostProfile(
                bytes
                    ? std::string_view(reinterpret_cast<const char*>(bytes->data()), bytes->size())
                    : std::string_view());
            if (!bytes || !parsed.profile) {
                error = path + ": " + (bytes ? parsed.error : "cannot be read");
                return std::nullopt;
            }
            line.session.profile = *parsed.profile;
        } else if ((arg == "--log-level" || arg == "--host-mode") && hasValue &&
                   Number(args[i + 1])) {
            const int value = *Number(args[++i]);
            if (arg == "--log-level") {
                line.session.logLevel = value;
            } else {
                line.session.hostMode = static_cast<uint32_t>(value);
            }
        } else if (line.command.empty() && (arg == "info" || arg == "snapshot" || arg == "watch")) {
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
    return line;
}

std::string Identity(PluginSession& session) {
    GUID id{};
    GUID typeId{};
    uint32_t version[4] = {};
    session.Table().GetId(session.Plugin(), &id);
    session.Table().GetTypeId(session.Plugin(), &typeId);
    session.Table().GetVersion(session.Plugin(), version);
    return RenderPairs({
        {"Name", Utf8(ReadText(session.Plugin(), session.Table().GetName))},
        {"Description", Utf8(ReadText(session.Plugin(), session.Table().GetDescription))},
        {"Version", std::to_string(version[0]) + "." + std::to_string(version[1]) + "." +
                        std::to_string(version[2]) + "." + std::to_string(version[3])},
        {"Identifier", RegistryForm(id)},
        {"Type identifier", RegistryForm(typeId)},
    });
}

int Info(PluginSession& session) {
    std::printf("Plug-in\n-------\n%s\n", Identity(session).c_str());
    const std::optional<Tree> device = session.Command(2);
    if (!device) {
        std::fprintf(stderr, "orvex-host: command 2 was not answered\n");
        return 1;
    }
    std::printf("%s", RenderTable("Device information (command 2)", *device).c_str());
    return 0;
}

int Snapshot(PluginSession& session, bool json) {
    const std::optional<Tree> monitor = session.Command(1);
    const std::optional<Tree> disk = session.Command(3);
    if (!monitor || !disk) {
        std::fprintf(stderr, "orvex-host: the snapshot was not answered\n");
        return 1;
    }
    if (json) {
        std::printf("{\"monitor\": %s, \"disk\": %s}\n", RenderJson(*monitor).c_str(),
                    RenderJson(*disk).c_str());
    } else {
        std::printf("%s\n%s", RenderTable("Monitor snapshot (command 1)", *monitor).c_str(),
                    RenderTable("Disk activity (command 3)", *disk).c_str());
    }
    std::fflush(stdout);
    return 0;
}

// Until the console is interrupted, which ends the process.
int Watch(PluginSession& session) {
    for (;;) {
        std::printf("\x1B[2J\x1B[H");
        if (Snapshot(session, false) != 0) {
            return 1;
        }
        Sleep(1000);
    }
}

} // namespace
} // namespace orvex_host

int main(int argc, char** argv) {
    using namespace orvex_host;
    const std::vector<std::string_view> args(argv + 1, argv + argc);
    for (const std::string_view arg : args) {
        if (arg == "--help") {
            std::printf("%s", kUsage);
            return 0;
        }
    }
    std::string error;
    const std::optional<CommandLine> line = Parse(args, error);
    if (!line) {
        std::fprintf(stderr, "orvex-host: %s\n%s", error.c_str(), kUsage);
        return 2;
    }
    PluginSession session(line->session);
    if (!session.Loaded()) {
        std::fprintf(stderr, "orvex-host: no MonitorPlugin.dll with QueryLibrary in %s\n",
                     Utf8(line->session.folder).c_str());
        return 1;
    }
    if (line->command == "info") {
        return Info(session);
    }
    return line->command == "snapshot" ? Snapshot(session, line->json) : Watch(session);
}
