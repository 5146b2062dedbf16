#pragma once
// The reference host's command line:
//   orvex-host [OPTIONS] info | snapshot [--json] | watch
//              | record --out FILE.rml [--seconds N] [--interval MS]
//              | serve [--port N] [--requests N] [--seconds N]
#include "plugin_session.h"
#include "record_command.h"
#include "serve_command.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvex_host {

extern const char* const kUsage;

struct CommandLine {
    SessionOptions session;
    std::string command;
    bool json = false;
    RecordOptions record;
    ServeOptions serve;
};

// Nothing when the command line is wrong; `error` then says why.
std::optional<CommandLine> ParseCommandLine(const std::vector<std::string_view>& args,
                                            std::string& error);

} // namespace orvex_host
