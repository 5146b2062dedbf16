#include "win32/win32_firmware_devices.h"

#include "ports/kernel_objects.h"
#include "win32/unique_handle.h"
#include "win32/wide.h"

namespace win32 {
namespace {

class Win32FirmwareDevice final : public ports::FirmwareDevice {
public:
    explicit Win32FirmwareDevice(UniqueFileHandle file) : file_(std::move(file)) {}
    ports::AcpiDeviceHandle Handle() const override { return file_.get(); }

private:
    UniqueFileHandle file_;
};

} // namespace

std::unique_ptr<ports::FirmwareDevice> Win32FirmwareDevices::Open(const std::u16string& path) {
    UniqueFileHandle file(::CreateFileW(AsWide(path), GENERIC_READ | GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                        0, nullptr));
    if (!file) {
        return nullptr;
    }
    return ports::MadeOrNull(
        [&] { return std::make_unique<Win32FirmwareDevice>(std::move(file)); });
}

} // namespace win32
