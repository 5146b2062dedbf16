#include "win32/win32_xtu_library.h"

#include "win32/maker_exports.h"
#include "win32/plugin_module.h"

#include <new>

namespace win32 {
namespace {

namespace names = maker::xtu;

// The members as x64 calls them: the object in the first argument; the constructor gives the
// object back.
using Constructor = void* (*)(void* self);
using Destructor = void (*)(void* self);
using BoolMember = bool (*)(void* self);
using VoidMember = void (*)(void* self);
using GetMonitorValueMember = double (*)(void* self, unsigned int monitorId);

struct XtuEntries {
    Constructor construct = nullptr;
    Destructor destruct = nullptr;
    BoolMember initialize = nullptr;
    VoidMember startMonitor = nullptr;
    BoolMember isMonitorRunning = nullptr;
    GetMonitorValueMember getMonitorValue = nullptr;
    VoidMember stopMonitor = nullptr;

    bool Resolve(HMODULE module) {
        construct = win32::Resolve<Constructor>(module, names::kConstructor);
        destruct = win32::Resolve<Destructor>(module, names::kDestructor);
        initialize = win32::Resolve<BoolMember>(module, names::kInitialize);
        startMonitor = win32::Resolve<VoidMember>(module, names::kStartMonitor);
        isMonitorRunning = win32::Resolve<BoolMember>(module, names::kIsMonitorRunning);
        getMonitorValue = win32::Resolve<GetMonitorValueMember>(module, names::kGetMonitorValue);
        stopMonitor = win32::Resolve<VoidMember>(module, names::kStopMonitor);
        return construct && destruct && initialize && startMonitor && isMonitorRunning &&
               getMonitorValue && stopMonitor;
    }
};

// The class is one byte large; its storage is the plug-in's.
class Win32XtuWrapper final : public ports::XtuWrapper {
public:
    Win32XtuWrapper(UniqueModule module, const XtuEntries& entries)
        : module_(std::move(module)), entries_(entries) {
        entries_.construct(object_);
    }
    ~Win32XtuWrapper() override { entries_.destruct(object_); }

    bool Initialize() override { return entries_.initialize(object_); }
    void StartMonitor() override { entries_.startMonitor(object_); }
    bool IsMonitorRunning() override { return entries_.isMonitorRunning(object_); }
    double GetMonitorValue(uint32_t monitorId) override {
        return entries_.getMonitorValue(object_, monitorId);
    }
    void StopMonitor() override { entries_.stopMonitor(object_); }

private:
    UniqueModule module_; // freed last
    XtuEntries entries_;
    alignas(16) unsigned char object_[1] = {};
};

} // namespace

std::unique_ptr<ports::XtuWrapper> Win32XtuLibrary::CreateWrapper() {
    LoadedLibrary library = LoadBesidePlugin(names::kFile);
    XtuEntries entries;
    if (!library.Module || !entries.Resolve(library.Module.get())) {
        return nullptr;
    }
    return std::unique_ptr<ports::XtuWrapper>(
        new (std::nothrow) Win32XtuWrapper(std::move(library.Module), entries));
}

} // namespace win32
