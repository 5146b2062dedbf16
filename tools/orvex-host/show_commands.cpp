#include "show_commands.h"

#include "host_core/answer_render.h"
#include "interrupt.h"

#include <cstdio>

namespace orvex_host {
namespace {

constexpr abi::Result kNotInitialised = static_cast<abi::Result>(0xA0800009);
constexpr DWORD kWatchPeriodMs = 1000;

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

} // namespace

std::optional<Tree> AnsweredCommand(PluginSession& session, const Tree& request) {
    abi::Result result = 0;
    std::optional<Tree> answer = session.Request(request, &result);
    if (answer && !answer->Empty()) {
        return answer;
    }
    const Value* command = request.Find("Command");
    std::fprintf(stderr, "orvex-host: command %d was not answered: ",
                 command == nullptr ? 0 : command->AsInt32().value_or(0));
    if (answer) {
        std::fprintf(stderr, "the answer is empty");
        if (session.Options().hostMode != 0) {
            std::fprintf(stderr, " (in host mode %u the plug-in answers no command)",
                         session.Options().hostMode);
        }
    } else {
        std::fprintf(stderr, "HandleMessage returned 0x%08lX",
                     static_cast<unsigned long>(static_cast<uint32_t>(result)));
        if (result == kNotInitialised) {
            std::fprintf(
                stderr, " (not initialised: Initialize returned 0x%08lX)",
                static_cast<unsigned long>(static_cast<uint32_t>(session.InitializeResult())));
        }
    }
    std::fprintf(stderr, "\n");
    return std::nullopt;
}

std::optional<Tree> AnsweredCommand(PluginSession& session, int32_t command) {
    return AnsweredCommand(session, Tree{{"Command", Value::Int32(command)}});
}

std::optional<SnapshotAnswers> TakeSnapshot(PluginSession& session) {
    std::optional<Tree> monitor = AnsweredCommand(session, 1);
    std::optional<Tree> disk = monitor ? AnsweredCommand(session, 3) : std::nullopt;
    if (!disk) {
        return std::nullopt;
    }
    return SnapshotAnswers{std::move(*monitor), std::move(*disk)};
}

std::string SnapshotJson(const SnapshotAnswers& snapshot) {
    return "{\"monitor\": " + RenderJson(snapshot.monitor) +
           ", \"disk\": " + RenderJson(snapshot.disk) + "}\n";
}

int Info(PluginSession& session) {
    std::printf("Plug-in\n-------\n%s\n", Identity(session).c_str());
    std::fflush(stdout);
    const std::optional<Tree> device = AnsweredCommand(session, 2);
    if (!device) {
        return 1;
    }
    std::printf("%s", RenderTable("Device information (command 2)", *device).c_str());
    std::fflush(stdout);
    return 0;
}

int Snapshot(PluginSession& session, bool json) {
    const std::optional<SnapshotAnswers> snapshot = TakeSnapshot(session);
    if (!snapshot) {
        return 1;
    }
    if (json) {
        std::printf("%s", SnapshotJson(*snapshot).c_str());
    } else {
        std::printf("%s\n%s",
                    RenderTable("Monitor snapshot (command 1)", snapshot->monitor).c_str(),
                    RenderTable("Disk activity (command 3)", snapshot->disk).c_str());
    }
    std::fflush(stdout);
    return 0;
}

int Watch(PluginSession& session, const Interrupt& interrupt) {
    do {
        std::printf("\x1B[2J\x1B[H");
        if (Snapshot(session, false) != 0) {
            return 1;
        }
    } while (WaitForSingleObject(interrupt.Event(), kWatchPeriodMs) == WAIT_TIMEOUT);
    return 0;
}

} // namespace orvex_host
