#pragma once
// Owners for what loading a plug-in creates: the module (FreeLibrary) and the plug-in object
// (one reference, Release).
#include "host_win32/abi.h"

#include <string>
#include <string_view>
#include <utility>

namespace orvex_host {

// A Windows path for a folder given either in Windows form or as a Unix path under Wine
// (which maps the Unix root to drive Z:).
std::wstring WindowsFolder(std::string_view folder);

class LibraryModule {
public:
    LibraryModule() = default;
    // Loads by full path only: the plug-in must never be picked up from a search path.
    explicit LibraryModule(const std::wstring& path);
    LibraryModule(LibraryModule&& other) noexcept;
    LibraryModule& operator=(LibraryModule&& other) noexcept;
    ~LibraryModule();

    HMODULE Handle() const { return module_; }
    void* Export(const char* name) const;
    void Reset();

private:
    HMODULE module_ = nullptr;
};

// Holds one reference to an interface of the plug-in and gives it back on destruction.
template <typename Interface>
class InterfaceReference {
public:
    InterfaceReference() = default;
    explicit InterfaceReference(Interface* object) : object_(object) {}
    InterfaceReference(InterfaceReference&& other) noexcept
        : object_(std::exchange(other.object_, nullptr)) {}
    InterfaceReference& operator=(InterfaceReference&& other) noexcept {
        if (this != &other) {
            Release();
            object_ = std::exchange(other.object_, nullptr);
        }
        return *this;
    }
    ~InterfaceReference() { Release(); }

    Interface* Get() const { return object_; }
    const auto& Table() const { return *object_->table; }
    // Gives the reference back now and answers the count the plug-in reports.
    uint32_t Release() {
        Interface* object = std::exchange(object_, nullptr);
        return object == nullptr ? 0 : object->table->Release(object);
    }

private:
    Interface* object_ = nullptr;
};

using PluginReference = InterfaceReference<abi::Plugin>;
using EventHandlerReference = InterfaceReference<abi::EventHandler>;

// Two-call text read of GetName and GetDescription: ask for the size, then for the text.
using TextSlot = abi::Result (*)(abi::Plugin* self, wchar_t* buffer, uint32_t* count);
std::wstring ReadText(abi::Plugin* plugin, TextSlot slot);

// "{D22B890B-E516-4151-9943-ABF087C47073}"
std::string RegistryForm(const GUID& id);

} // namespace orvex_host
