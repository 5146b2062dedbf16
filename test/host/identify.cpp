// Loads a plug-in through the test host and prints who it says it is:
//   identify [FOLDER]   (default: the build tree's MonitorPlugin.dll folder)
#include "host/test_host.h"

#include <iostream>

namespace {

std::string Narrow(const std::wstring& text) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                         nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(), size,
                        nullptr, nullptr);
    return narrow;
}

} // namespace

int main(int argc, char** argv) {
    const std::string folder = argc > 1 ? argv[1] : MONITOR_PLUGIN_DIR;
    test_host::TestHost host(test_host::WindowsFolder(folder), L"MonitorPlugin.dll", 0);
    if (host.Plugin() == nullptr) {
        std::cerr << "identify: no plug-in in " << folder << "\n";
        return 1;
    }
    const test_host::abi::PluginTable& table = host.Table();
    GUID typeId{};
    uint32_t version[4] = {};
    table.GetTypeId(host.Plugin(), &typeId);
    table.GetVersion(host.Plugin(), version);
    std::cout << "Name:            " << Narrow(test_host::ReadText(host.Plugin(), table.GetName))
              << "\nType identifier: " << test_host::RegistryForm(typeId)
              << "\nVersion:         " << version[0] << '.' << version[1] << '.' << version[2]
              << '.' << version[3] << "\n";
    return 0;
}
