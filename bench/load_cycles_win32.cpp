// Loads MonitorPlugin.dll from this program's folder (where the build puts the maker stand-ins
// beside it), uses it as the service host does and unloads it, again and again: QueryLibrary, the
// callbacks, Initialize, a recording of a few samples paged and ended, Uninitialize, Release and
// FreeLibrary. Prints the process's handles, threads, heap bytes and private bytes before the
// cycles and after them; exits with 1 when a cycle failed or handles, threads or heap bytes did
// not come back.
//
//   cmake/wine-run $PWD/build/windows/wine-prefix build/windows/bench/load_cycles_win32.exe
//   [CYCLES]
#include "host/process_figures.h"
#include "host/test_host.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <windows.h>

namespace {

using test_host::Value;

std::wstring OwnFolder() {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
    return path.substr(0, path.find_last_of(L"\\/"));
}

int32_t IntOf(const std::optional<test_host::Tree>& tree, std::string_view key) {
    return tree ? test_host::IntOf(*tree, key) : -999;
}

// One life of the plug-in; empty when every step answered as it should, else what went wrong.
std::string OneCycle(const std::wstring& folder) {
    test_host::TestHost host(folder, L"MonitorPlugin.dll", 0);
    if (host.Plugin() == nullptr || !host.InstallAll()) {
        return "MonitorPlugin.dll did not load";
    }
    if (host.Table().Initialize(host.Plugin()) != 0) {
        return "Initialize failed";
    }
    // The first sample is announced with a request to the user interface.
    const int32_t serial = test_host::StartRecording(host, 600, 5);
    if (serial == 0) {
        return "command 17 did not start a recording that sampled";
    }
    const auto read = host.SendRequest({{"Command", Value::Int32(18)},
                                        {"RecordSN", Value::Int32(serial)},
                                        {"Round", Value::Int32(0)},
                                        {"Count", Value::Int32(1)}})
                          .AnswerTree();
    if (IntOf(read, "Result") != 0) {
        return "command 18 did not read the first record";
    }
    if (IntOf(host.SendRequest({{"Command", Value::Int32(22)}}).AnswerTree(), "Result") != 0) {
        return "command 22 did not end the session";
    }
    if (host.Table().Uninitialize(host.Plugin()) != 0) {
        return "Uninitialize failed";
    }
    return {};
}

} // namespace

int main(int argc, char** argv) {
    const int cycles = argc > 1 ? std::atoi(argv[1]) : 1000;
    if (argc > 2 || cycles < 1) {
        std::fprintf(stderr, "load_cycles_win32: usage: load_cycles_win32 [CYCLES]\n");
        return 2;
    }
    const std::wstring folder = OwnFolder();
    // The first life may set up what lasts for the process (the loader, the C run-time, COM).
    std::string failure = OneCycle(folder);
    if (!failure.empty()) {
        std::fprintf(stderr, "load_cycles_win32: first cycle: %s\n", failure.c_str());
        return 1;
    }
    const test_host::ProcessFigures before = test_host::MeasureProcess();
    for (int cycle = 0; cycle < cycles; ++cycle) {
        failure = OneCycle(folder);
        if (!failure.empty()) {
            std::fprintf(stderr, "load_cycles_win32: cycle %d: %s\n", cycle, failure.c_str());
            return 1;
        }
    }
    const test_host::ProcessFigures after = test_host::MeasureProcess();
    std::printf("cycles  %d\nbefore  %s\nafter   %s\n", cycles, test_host::Describe(before).c_str(),
                test_host::Describe(after).c_str());
    std::fflush(stdout);
    return after.SameHoldings(before) ? 0 : 1;
}
