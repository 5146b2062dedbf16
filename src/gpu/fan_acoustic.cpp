#include "gpu/fan_acoustic.h"

#include "gpu/fan_acoustic_key.h"

#include <new>

namespace gpu {
namespace {

// Follows the program-data folder. The plug-in has always spelled the separators doubled here;
// Windows reads a doubled separator as one.
constexpr std::u16string_view kFileStem =
    u"\\\\Velmor\\\\Quillon Config\\\\Data\\\\Quillon_Config.FanAcoustic.";
constexpr std::u16string_view kFileSuffix = u".cfg";

} // namespace

FanAcoustic::FanAcoustic(ports::Crypto& crypto, ports::Files& files, ports::Folders& folders)
    : decryptor_(crypto.NewAesCipher(kFanAcousticKey, kFanAcousticVector)), files_(files),
      folders_(folders) {}

std::u16string FanAcoustic::FilePath(std::u16string_view programData,
                                     std::u16string_view modelName) {
    return std::u16string(programData).append(kFileStem).append(modelName).append(kFileSuffix);
}

int32_t FanAcoustic::Load(const std::u16string& modelName) {
    loaded_ = 0;
    if (modelName.empty()) {
        return loaded_;
    }
    // Running out of memory on a file of absurd size is one more silent failure.
    try {
        auto curves = ReadCurves(modelName);
        if (curves) {
            curves_ = std::move(*curves);
            loaded_ = !curves_.Cpu.empty() && !curves_.Gpu.empty() ? 1 : 0;
        }
    } catch (const std::bad_alloc&) {
    }
    return loaded_;
}

std::optional<FanCurves> FanAcoustic::ReadCurves(const std::u16string& modelName) {
    const auto folder = folders_.ProgramData();
    if (!folder) {
        return std::nullopt;
    }
    const std::u16string path = FilePath(*folder, modelName);
    if (!files_.Exists(path)) {
        return std::nullopt;
    }
    const auto file = files_.ReadAll(path);
    const auto ciphertext = file ? FanAcousticCiphertext(*file, kFanAcousticVector) : std::nullopt;
    const auto plaintext = ciphertext ? decryptor_->Decrypt(*ciphertext) : std::nullopt;
    return plaintext ? ReadFanCurves(*plaintext) : std::nullopt;
}

int32_t FanAcoustic::Lookup(int32_t fan, int32_t rpm, double& level) const {
    if (loaded_ == 0 || rpm < 0) {
        return 0;
    }
    const FanCurve& curve = fan == kCpuFan ? curves_.Cpu : curves_.Gpu;
    const auto above = curve.lower_bound(rpm);
    if (above == curve.end()) {
        level = curve.rbegin()->second;
    } else if (above->first == rpm) {
        level = above->second;
    } else {
        // Every curve holds a point at 0 rpm and rpm >= 0, so a point lies below this one, at
        // r1 >= 0: neither difference overflows.
        const auto [r1, l1] = *std::prev(above);
        const auto [r2, l2] = *above;
        level = l1 + static_cast<double>(rpm - r1) * (l2 - l1) / static_cast<double>(r2 - r1);
    }
    return 1;
}

} // namespace gpu
