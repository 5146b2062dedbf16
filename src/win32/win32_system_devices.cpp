#include "win32/win32_system_devices.h"

#include "win32/unique_handle.h"
#include "win32/wide.h"

#include <array>
#include <setupapi.h>

namespace win32 {
namespace {

// GUID_DEVCLASS_SYSTEM.
constexpr GUID kSystemClass = {
    0x4D36E97D, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
constexpr DWORD kHardwareIdBytes = 2048;
constexpr DWORD kDriverKeyBytes = 260;

struct DeviceListTraits {
    using Value = HDEVINFO;
    static Value Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { ::SetupDiDestroyDeviceInfoList(value); }
};
using UniqueDeviceList = UniqueAny<DeviceListTraits>;

// A text property of the device, at most `bytes` long, always terminated (a multi-string by two
// terminators); empty when it cannot be read.
template <std::size_t Characters>
std::array<char16_t, Characters + 2> ReadProperty(HDEVINFO devices, SP_DEVINFO_DATA& device,
                                                  DWORD property) {
    std::array<char16_t, Characters + 2> text{};
    ::SetupDiGetDeviceRegistryPropertyW(devices, &device, property, nullptr,
                                        reinterpret_cast<BYTE*>(text.data()),
                                        static_cast<DWORD>(Characters * sizeof(char16_t)), nullptr);
    return text;
}

// True when one of the strings of the multi-string contains part.
template <std::size_t N>
bool AnyContains(const std::array<char16_t, N>& ids, std::u16string_view part) {
    for (std::size_t start = 0; start < N && ids[start] != u'\0';) {
        const std::u16string_view id(ids.data() + start);
        if (id.find(part) != std::u16string_view::npos) {
            return true;
        }
        start += id.size() + 1;
    }
    return false;
}

} // namespace

std::optional<std::u16string>
Win32SystemDevices::FindDriverKey(std::u16string_view hardwareIdPart) {
    UniqueDeviceList devices(
        ::SetupDiGetClassDevsW(&kSystemClass, nullptr, nullptr, DIGCF_PRESENT | DIGCF_PROFILE));
    if (!devices) {
        return std::nullopt;
    }
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof(device);
    for (DWORD index = 0; ::SetupDiEnumDeviceInfo(devices.get(), index, &device); ++index) {
        const auto ids = ReadProperty<kHardwareIdBytes / sizeof(char16_t)>(devices.get(), device,
                                                                           SPDRP_HARDWAREID);
        if (AnyContains(ids, hardwareIdPart)) {
            const auto key = ReadProperty<kDriverKeyBytes / sizeof(char16_t)>(devices.get(), device,
                                                                              SPDRP_DRIVER);
            return std::u16string(key.data());
        }
    }
    return std::nullopt;
}

} // namespace win32
