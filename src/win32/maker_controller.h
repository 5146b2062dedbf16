#pragma once

#include "win32/plugin_module.h"

#include <cstdint>
#include <optional>

namespace win32 {

// A maker library beside the plug-in whose members run on a process-wide controller object that
// its static Get() hands out; the controller is fetched afresh before every call.
class MakerController {
public:
    MakerController(const wchar_t* fileName, const char* getName) {
        LoadedLibrary loaded = LoadBesidePlugin(fileName);
        m_module = std::move(loaded.Module);
        m_loadError = loaded.Error;
        m_get = Entry<GetFn>(getName);
    }

    DWORD LoadError() const { return m_loadError; }

    template <typename Fn>
    Fn Entry(const char* name) const {
        return Resolve<Fn>(m_module.get(), name);
    }

    // Calls the member entry with the controller first; nullopt when the entry, Get() or the
    // controller is missing.
    template <typename Fn, typename... Args>
    std::optional<int32_t> Call(Fn entry, Args... args) const {
        void* const controller = m_get != nullptr && entry != nullptr ? m_get() : nullptr;
        if (controller == nullptr) {
            return std::nullopt;
        }
        return entry(controller, args...);
    }

private:
    using GetFn = void* (*)();

    UniqueModule m_module;
    DWORD m_loadError = ERROR_SUCCESS;
    GetFn m_get = nullptr;
};

} // namespace win32
