#include "common/child_process.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#if defined(_WIN32)
#define popen _popen
#define pclose _pclose
constexpr char kListSeparator = ';';
constexpr char kQuote = '"';
#else
#include <sys/wait.h>
constexpr char kListSeparator = ':';
constexpr char kQuote = '\'';
#endif

namespace {

bool IsProgramFile(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

// Under POSIX shells a quoted word ends at the next single quote, so one inside is spliced
// in as '\''; Windows paths cannot hold a double quote at all.
std::string QuotedForShell(const std::string& path) {
    std::string quoted(1, kQuote);
    for (const char c : path) {
        quoted += c == '\'' && kQuote == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + kQuote;
}

int ExitCodeOf(int status) {
#if defined(_WIN32)
    return status;
#else
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
#endif
}

} // namespace

std::optional<std::string> FindProgram(std::string_view program, std::string_view searchPath) {
    while (!searchPath.empty()) {
        const size_t end = std::min(searchPath.find(kListSeparator), searchPath.size());
        const std::filesystem::path folder(searchPath.substr(0, end));
        searchPath.remove_prefix(std::min(end + 1, searchPath.size()));
        if (folder.empty()) {
            continue;
        }
        for (const std::string& name : {std::string(program), std::string(program) + ".exe"}) {
            if (IsProgramFile(folder / name)) {
                return (folder / name).string();
            }
        }
    }
    return std::nullopt;
}

std::string ProcessSearchPath() {
    const char* path = std::getenv("PATH");
    return path == nullptr ? std::string() : std::string(path);
}

std::optional<int> RunWithInput(const std::string& programPath, std::string_view input) {
    std::FILE* child = popen(QuotedForShell(programPath).c_str(), "w");
    if (child == nullptr) {
        return std::nullopt;
    }
    std::fwrite(input.data(), 1, input.size(), child);
    const int status = pclose(child);
    return status == -1 ? std::nullopt : std::optional<int>(ExitCodeOf(status));
}
