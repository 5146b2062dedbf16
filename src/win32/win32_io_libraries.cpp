#include "win32/win32_io_libraries.h"

#include "win32/maker_exports.h"
#include "win32/plugin_module.h"
#include "win32/wide.h"

namespace win32 {
namespace {

namespace names = maker::io;

class Win32IoLibrary final : public ports::IoLibrary {
public:
    explicit Win32IoLibrary(UniqueModule module)
        : m_module(std::move(module)), m_open(Resolve<OpenFn>(m_module.get(), names::kOpen)),
          m_readMsr(Resolve<ReadMsrFn>(m_module.get(), names::kReadMsr)),
          m_close(Resolve<CloseFn>(m_module.get(), names::kClose)) {}

    bool Complete() const override {
        return m_open != nullptr && m_readMsr != nullptr && m_close != nullptr;
    }
    bool Open(int32_t flags) override { return m_open != nullptr && m_open(flags) != 0; }
    int32_t ReadMsr(uint32_t index, uint64_t& value) override {
        return m_readMsr == nullptr ? 0 : m_readMsr(index, &value);
    }
    void Close() override {
        if (m_close != nullptr) {
            m_close();
        }
    }

private:
    using OpenFn = uint8_t (*)(int32_t);
    using ReadMsrFn = int32_t (*)(uint32_t, uint64_t*);
    using CloseFn = void (*)();

    UniqueModule m_module;
    OpenFn m_open;
    ReadMsrFn m_readMsr;
    CloseFn m_close;
};

} // namespace

ports::LoadedIoLibrary Win32IoLibraries::Load(const std::u16string& path) {
    LoadedLibrary loaded = LoadMakerLibrary(AsWide(path));
    if (!loaded.Module) {
        return {static_cast<uint32_t>(loaded.Error), nullptr};
    }
    return {ERROR_SUCCESS, std::make_unique<Win32IoLibrary>(std::move(loaded.Module))};
}

} // namespace win32
