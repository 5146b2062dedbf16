#pragma once

#include <optional>
#include <string>
#include <string_view>

// Running another program from a tool: finding it the way a shell would, and feeding it text.

// The first file named `program` (or `program.exe`) in the folders of `searchPath`, a list in
// the form of the PATH variable (':' separated, ';' on Windows); nullopt when none exists.
std::optional<std::string> FindProgram(std::string_view program, std::string_view searchPath);

// The PATH of this process; empty when it has none.
std::string ProcessSearchPath();

// Runs `programPath` with no arguments, writes `input` to its standard input and waits for it.
// Its standard output and error go where this process's go. Returns its exit code, or nullopt
// when it could not be started.
std::optional<int> RunWithInput(const std::string& programPath, std::string_view input);
