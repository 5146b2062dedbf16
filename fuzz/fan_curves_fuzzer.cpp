// Reads arbitrary bytes as the deciphered body of a fan acoustic file, both directly and through
// the plug-in's table (with a cipher that passes the bytes through). A body that reads must give
// curves holding the point at 0 rpm, the same curves as reading every index up to the count (for
// counts small enough to walk), and a level for every speed; one that does not read must leave
// the table unloaded.
#include "fan_acoustic_support.h"
#include "gpu/fan_acoustic.h"
#include "gpu/fan_acoustic_key.h"
#include "sim/memory_files.h"

#include <cstdlib>
#include <limits>

namespace {

void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// The body is the "ciphertext": the fuzzer reaches the parser without having to break AES.
class PassThroughCrypto final : public ports::Crypto {
public:
    std::unique_ptr<ports::AesCipher> NewAesCipher(const ports::AesKey&,
                                                   const ports::AesVector&) override {
        return std::make_unique<PassThrough>();
    }

private:
    struct PassThrough final : ports::AesCipher {
        std::optional<std::vector<uint8_t>> Decrypt(std::span<const uint8_t> bytes) override {
            return std::vector<uint8_t>(bytes.begin(), bytes.end());
        }
        std::optional<std::vector<uint8_t>> Encrypt(std::span<const uint8_t> bytes) override {
            return std::vector<uint8_t>(bytes.begin(), bytes.end());
        }
    };
};

constexpr int32_t kWalkableCount = 4096;

void CheckAgainstReference(std::span<const uint8_t> body, const gpu::FanCurves& curves) {
    VelmorValueSet::ValueSet set;
    Check(set.Read(body.data(), static_cast<uint32_t>(body.size())));
    for (const auto& [keys, curve] :
         {std::pair{gpu::kCpuFanKeys, &curves.Cpu}, std::pair{gpu::kGpuFanKeys, &curves.Gpu}}) {
        Check(curve->contains(0));
        if (set.GetInt32(keys.Count()) <= kWalkableCount) {
            Check(test::SameCurve(*curve, test::ReferenceFanCurve(set, keys)));
        }
    }
}

void CheckLookups(const gpu::FanAcoustic& table) {
    for (const int32_t fan : {0, 1}) {
        for (const int32_t rpm :
             {0, 1, 999, 1000, 1500, 65535, std::numeric_limits<int32_t>::max()}) {
            double level = 0.0;
            Check(table.Lookup(fan, rpm, level) == 1);
        }
        double untouched = 42.0;
        Check(table.Lookup(fan, -1, untouched) == 0 && untouched == 42.0);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    if (size > std::numeric_limits<uint32_t>::max()) {
        return 0;
    }
    const std::span<const uint8_t> body(data, size);
    const auto curves = gpu::ReadFanCurves(body);
    if (curves) {
        CheckAgainstReference(body, *curves);
    }

    sim::MemoryFiles files;
    files.Put(gpu::FanAcoustic::FilePath(u"C:\\ProgramData", u"Fuzz"),
              gpu::FanAcousticFile(gpu::kFanAcousticVector, body));
    PassThroughCrypto crypto;
    gpu::FanAcoustic table(crypto, files, files);
    Check((table.Load(u"Fuzz") == 1) == curves.has_value());
    if (curves) {
        CheckLookups(table);
    }
    return 0;
}
