#include "win32/win32_display_adapters.h"

#include "win32/maker_controller.h"
#include "win32/maker_exports.h"

namespace win32 {

namespace {

// The slots of IDisplayAdapterDevice's virtual table; the four before them are never called.
enum DeviceSlot : std::size_t {
    kGetVendor = 4,
    kGetType = 5,
    kGetDeviceID = 6,
    kGetBasicInfo = 7,
    kGetMaxInfo = 8,
    kGetCurrentInfo = 9,
    kGetFanSpeed = 10,
};

using InitializeFn = int32_t (*)(void* self, void* owner,
                                 ports::DisplayAdapterController::ChangeCallback callback);
using UninitializeFn = int32_t (*)(void* self, void* owner);
using RefreshFn = int32_t (*)(void* self, uint32_t flags);
using DeviceFn = int32_t (*)(void* self, void** device);
using NumberFn = uint32_t (*)(void* self);
template <typename Record>
using RecordFn = int32_t (*)(void* self, Record* record);

} // namespace

struct Win32DisplayAdapters::Library {
    MakerController controller{maker::adapters::kFile, maker::adapters::kGet};
    InitializeFn initialize = controller.Entry<InitializeFn>(maker::adapters::kInitialize);
    UninitializeFn uninitialize = controller.Entry<UninitializeFn>(maker::adapters::kUninitialize);
    RefreshFn refresh = controller.Entry<RefreshFn>(maker::adapters::kRefresh);
    DeviceFn createDevice = controller.Entry<DeviceFn>(maker::adapters::kCreateDevice);
    DeviceFn destroyDevice = controller.Entry<DeviceFn>(maker::adapters::kDestroyDevice);
};

// A device of the library: calls go through its own table with the object first, as a member
// call does on x64.
class Win32DisplayAdapters::Device final : public ports::DisplayAdapterDevice {
public:
    Device(void* object, const Library& library) : m_object(object), m_library(library) {}
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    ~Device() override { m_library.controller.Call(m_library.destroyDevice, &m_object); }

    uint32_t GetVendor() override { return Slot<NumberFn>(kGetVendor)(m_object); }
    uint32_t GetType() override { return Slot<NumberFn>(kGetType)(m_object); }
    ports::LibraryCode GetDeviceID(ports::GPUDeviceID& id) override {
        return Slot<RecordFn<ports::GPUDeviceID>>(kGetDeviceID)(m_object, &id);
    }
    ports::LibraryCode GetBasicInfo(ports::GPUBasicInfo& info) override {
        return Slot<RecordFn<ports::GPUBasicInfo>>(kGetBasicInfo)(m_object, &info);
    }
    ports::LibraryCode GetMaxInfo(ports::GPUMaxInfo& info) override {
        return Slot<RecordFn<ports::GPUMaxInfo>>(kGetMaxInfo)(m_object, &info);
    }
    ports::LibraryCode GetCurrentInfo(ports::GPUCurrentInfo& info) override {
        return Slot<RecordFn<ports::GPUCurrentInfo>>(kGetCurrentInfo)(m_object, &info);
    }
    ports::LibraryCode GetFanSpeed(uint32_t& rpm) override {
        return Slot<RecordFn<uint32_t>>(kGetFanSpeed)(m_object, &rpm);
    }

private:
    template <typename Fn>
    Fn Slot(std::size_t index) const {
        void* const* table = *static_cast<void* const* const*>(m_object);
        return reinterpret_cast<Fn>(table[index]);
    }

    void* m_object;
    const Library& m_library;
};

Win32DisplayAdapters::Win32DisplayAdapters() : m_library(std::make_unique<Library>()) {}

Win32DisplayAdapters::~Win32DisplayAdapters() = default;

uint32_t Win32DisplayAdapters::LoadError() const {
    return m_library->controller.LoadError();
}

std::optional<ports::LibraryCode> Win32DisplayAdapters::Initialize(void* owner,
                                                                   ChangeCallback callback) {
    return m_library->controller.Call(m_library->initialize, owner, callback);
}

std::optional<ports::LibraryCode> Win32DisplayAdapters::Uninitialize(void* owner) {
    return m_library->controller.Call(m_library->uninitialize, owner);
}

std::optional<ports::LibraryCode> Win32DisplayAdapters::Refresh(uint32_t flags) {
    return m_library->controller.Call(m_library->refresh, flags);
}

std::optional<ports::CreatedDevice> Win32DisplayAdapters::CreateDevice() {
    void* object = nullptr;
    const auto code = m_library->controller.Call(m_library->createDevice, &object);
    if (!code) {
        return std::nullopt;
    }
    ports::CreatedDevice created{*code, nullptr};
    if (ports::Succeeded(created.Code) && object != nullptr) {
        created.Device = std::make_unique<Device>(object, *m_library);
    }
    return created;
}

} // namespace win32
