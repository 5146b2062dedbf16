#pragma once

#include "ports/crypto.h"

#include <iosfwd>
#include <span>
#include <string_view>

// `fanacoustic write TABLE FILE`, `fanacoustic print [--json] FILE`, `fanacoustic --help`: the
// tool as a function of its arguments, streams and cipher, so tests run it without a process.
// Returns the exit code: 0 done, 1 a file cannot be read or written or is not a table, 2 the
// command line is wrong.
int RunFanAcoustic(std::span<const std::string_view> args, std::ostream& out, std::ostream& err,
                   ports::Crypto& crypto);
