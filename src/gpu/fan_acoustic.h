#pragma once

#include "gpu/fan_acoustic_file.h"
#include "ports/crypto.h"
#include "ports/files.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace gpu {

// Turns a fan speed into an acoustic level, for the CPU fan and the GPU fan, from the per-model
// table that the vendor's configuration tool leaves, enciphered, in the program-data folder. It is
// loaded once while the plug-in initialises and only read afterwards; every failure is silent and
// leaves the table unloaded.
class FanAcoustic {
public:
    static constexpr int32_t kCpuFan = 0;

    // Sets up the decryptor with the built-in key and vector.
    FanAcoustic(ports::Crypto& crypto, ports::Files& files, ports::Folders& folders);
    virtual ~FanAcoustic() = default;

    FanAcoustic(const FanAcoustic&) = delete;
    FanAcoustic& operator=(const FanAcoustic&) = delete;

    // Reads the table of the model; nothing is loaded for an empty model name. Returns the loaded
    // flag.
    int32_t Load(const std::u16string& modelName);
    bool IsLoaded() const { return loaded_ != 0; }

    // The level at rpm on the CPU table (fan kCpuFan) or the GPU table (any other fan), linear
    // between points and clamped to the highest one. Returns 0 and leaves level untouched when the
    // table is not loaded or rpm is negative; 1 otherwise.
    int32_t Lookup(int32_t fan, int32_t rpm, double& level) const;

    // Where the model's table is: the program-data folder, then
    // "\\Velmor\\Quillon Config\\Data\\Quillon_Config.FanAcoustic." + model + ".cfg".
    static std::u16string FilePath(std::u16string_view programData, std::u16string_view modelName);

private:
    // The curves of the model's file; nothing when it is missing, unreadable or refused.
    std::optional<FanCurves> ReadCurves(const std::u16string& modelName);

    int32_t loaded_ = 0;
    FanCurves curves_;
    std::unique_ptr<ports::AesCipher> decryptor_;
    ports::Files& files_;
    ports::Folders& folders_;
};

} // namespace gpu
