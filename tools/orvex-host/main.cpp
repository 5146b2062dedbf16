// orvex-host: the reference host. Loads MonitorPlugin.dll as the service host does and shows
// what it answers, records it, or serves it over HTTP (see command_line.cpp for the usage).
#include "command_line.h"
#include "cpu_monitor_start.h"
#include "host_core/answer_render.h"
#include "interrupt.h"
#include "record_command.h"
#include "serve_command.h"
#include "show_commands.h"

#include <cstdio>

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
    const std::optional<CommandLine> line = ParseCommandLine(args, error);
    if (!line) {
        std::fprintf(stderr, "orvex-host: %s\n%s", error.c_str(), kUsage);
        return 2;
    }
    const Interrupt interrupt;
    PluginSession session(line->session);
    if (!session.Loaded()) {
        std::fprintf(stderr, "orvex-host: no MonitorPlugin.dll with QueryLibrary in %s\n",
                     Utf8(line->session.folder).c_str());
        return 1;
    }
    if (line->command == "info") {
        return Info(session);
    }
    AwaitCpuMonitor(session, interrupt);
    if (line->command == "snapshot") {
        return Snapshot(session, line->json);
    }
    if (line->command == "record") {
        return Record(session, line->record, interrupt);
    }
    if (line->command == "serve") {
        return Serve(session, line->serve, interrupt);
    }
    return Watch(session, interrupt);
}
