#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace gpu {

// Acoustic level (sound pressure level) by fan speed in rpm, ascending by rpm.
using FanCurve = std::map<int32_t, double>;

struct FanCurves {
    FanCurve Cpu;
    FanCurve Gpu;
};

// One point as a file stores it: rpm and level under the same index.
struct FanPoint {
    int32_t Rpm = 0;
    double Level = 0.0;
};

// A fan acoustic file is the vector that identifies it (16 bytes), the format version (1 byte)
// and the ciphertext of a value-set body holding the points of both fans.
inline constexpr uint8_t kFanAcousticVersion = 1;
inline constexpr std::size_t kFanAcousticHeaderSize = 17;

// The keys of one fan's points: "CPU.Count", "CPU.RPM0", "CPU.SPL0", ... (index in plain
// decimal).
struct FanKeys {
    std::string_view Prefix; // "CPU." or "GPU."

    std::string Count() const;
    std::string Rpm(int32_t index) const;
    std::string Level(int32_t index) const;
};
inline constexpr FanKeys kCpuFanKeys{"CPU."};
inline constexpr FanKeys kGpuFanKeys{"GPU."};

// The ciphertext of a file whose header carries the vector and version 1; nullopt otherwise (a
// file shorter than the header included).
std::optional<std::span<const uint8_t>> FanAcousticCiphertext(std::span<const uint8_t> file,
                                                              std::span<const uint8_t> vector);
// A whole file: the header for the vector, then the ciphertext.
std::vector<uint8_t> FanAcousticFile(std::span<const uint8_t> vector,
                                     std::span<const uint8_t> ciphertext);

// The curves a decrypted body gives; nullopt when it is not a value-set body. Each curve starts
// with the point (0 rpm -> 0.0), which a stored point at 0 rpm replaces; a fan's count counts its
// points, and an index below the count whose keys are missing is the point (0 rpm -> 0.0). A later
// point with the same rpm replaces an earlier one.
std::optional<FanCurves> ReadFanCurves(std::span<const uint8_t> plaintext);

// The value-set body that stores the points of both fans in the given order (what ReadFanCurves
// reads back); empty when the points do not fit in one body.
std::vector<uint8_t> WriteFanPoints(std::span<const FanPoint> cpu, std::span<const FanPoint> gpu);

} // namespace gpu
