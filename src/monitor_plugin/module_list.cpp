#include "monitor_plugin/module_list.h"

#include <algorithm>
#include <array>

namespace {

constexpr char16_t kPluginFolder[] = u"\\ThrottlePlugin\\";
// The longest path the list holds (MAX_PATH without its terminator).
constexpr std::size_t kMaxPath = 259;

// In the order the host is told them. The last four are the maker's libraries installed beside
// the plug-in that no code here binds: its Intel overclocking library, profile helper, XML helper
// and the graphics helper of its gaming line.
constexpr std::array<const char16_t*, 11> kModules = {
    u"MonitorPlugin.dll",           u"ExternalGPUConfigHelper.dll", u"VelmorIO3_64.dll",
    u"AMDCPULibrary.dll",           u"GPUControlLibrary.dll",       u"NativeCorvaneHelper.dll",
    u"XTUWrapperForNativeCode.dll", u"IntelOverclockingSDK.dll",    u"VelmorProfileHelper.dll",
    u"VelmorXmlHelper.dll",         u"QuillonGraphicsHelper.dll",
};

} // namespace

std::vector<std::u16string> MonitorModuleList() {
    std::vector<std::u16string> modules;
    for (const char16_t* file : kModules) {
        std::u16string path = std::u16string(kPluginFolder) + file;
        path.resize(std::min(path.size(), kMaxPath));
        modules.push_back(std::move(path));
    }
    return modules;
}

HRESULT CopyModuleList(const std::vector<std::u16string>& modules, char16_t* buffer,
                       uint32_t* count) noexcept {
    if (count == nullptr) {
        return OrvexResult::kInvalidArgument;
    }
    std::size_t need = 1;
    for (const auto& path : modules) {
        need += path.empty() ? 0 : path.size() + 1;
    }
    const auto needed = static_cast<uint32_t>(need);
    if (buffer == nullptr || *count < needed) {
        *count = needed;
        return OrvexResult::kBufferTooSmall;
    }
    std::fill_n(buffer, *count, u'\0');
    char16_t* next = buffer;
    for (const auto& path : modules) {
        if (!path.empty()) {
            next = std::copy(path.begin(), path.end(), next) + 1;
        }
    }
    *count = needed;
    return OrvexResult::kOk;
}
