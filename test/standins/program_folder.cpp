#include "scenario_file.h"

#include <windows.h>

namespace standin {

std::filesystem::path ProgramFolder() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return std::filesystem::path(path).parent_path();
        }
        path.resize(path.size() * 2);
    }
}

} // namespace standin
