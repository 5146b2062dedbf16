#include "gpu/fan_acoustic_file.h"

#include "plugin_frame/value_set.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace gpu {
namespace {

using VelmorValueSet::ValueSet;

constexpr std::string_view kCountName = "Count";
constexpr std::string_view kRpmName = "RPM";
constexpr std::string_view kLevelName = "SPL";

std::string IndexedKey(std::string_view prefix, std::string_view name, int32_t index) {
    return std::string(prefix).append(name).append(std::to_string(index));
}

// The index of a key written as prefix + name + index in plain decimal; nullopt for any other key.
std::optional<int32_t> IndexOf(std::string_view key, std::string_view prefix,
                               std::string_view name) {
    if (!key.starts_with(prefix) || !key.substr(prefix.size()).starts_with(name)) {
        return std::nullopt;
    }
    const std::string_view digits = key.substr(prefix.size() + name.size());
    if (digits.empty() || (digits.size() > 1 && digits.front() == '0')) {
        return std::nullopt;
    }
    int32_t index = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), index);
    if (error != std::errc{} || end != digits.data() + digits.size() || index < 0) {
        return std::nullopt;
    }
    return index;
}

// The indices below count under which the body stores an rpm or a level, ascending.
std::vector<int32_t> StoredIndices(const ValueSet& body, const FanKeys& keys, int32_t count) {
    std::vector<int32_t> indices;
    for (const auto& entry : body) {
        for (const std::string_view name : {kRpmName, kLevelName}) {
            const auto index = IndexOf(entry.key, keys.Prefix, name);
            if (index && *index < count) {
                indices.push_back(*index);
            }
        }
    }
    std::sort(indices.begin(), indices.end());
    indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
    return indices;
}

// The highest index below count that stores nothing, if any.
std::optional<int32_t> LastIndexWithoutKeys(const std::vector<int32_t>& stored, int32_t count) {
    int32_t index = count - 1;
    for (auto it = stored.rbegin(); it != stored.rend() && *it == index; ++it) {
        --index;
    }
    return index >= 0 ? std::optional<int32_t>(index) : std::nullopt;
}

// Every index from 0 to count - 1 gives one point, in index order; an index without keys gives
// (0 rpm -> 0.0). Those points are all alike, so only the last of them can leave a mark, and a
// huge count costs no more than the keys that are really there.
FanCurve ReadFanCurve(const ValueSet& body, const FanKeys& keys) {
    FanCurve curve{{0, 0.0}};
    const int32_t count = body.GetInt32(keys.Count());
    if (count <= 0) {
        return curve;
    }
    std::vector<int32_t> indices = StoredIndices(body, keys, count);
    if (const auto missing = LastIndexWithoutKeys(indices, count)) {
        indices.insert(std::lower_bound(indices.begin(), indices.end(), *missing), *missing);
    }
    for (const int32_t index : indices) {
        curve[body.GetInt32(keys.Rpm(index))] = body.GetDouble(keys.Level(index));
    }
    return curve;
}

bool StorePoints(ValueSet& body, const FanKeys& keys, std::span<const FanPoint> points) {
    if (points.size() > static_cast<std::size_t>(std::numeric_limits<int32_t>::max())) {
        return false;
    }
    const auto count = static_cast<int32_t>(points.size());
    bool stored = body.SetInt32(keys.Count(), count);
    for (int32_t index = 0; index < count; ++index) {
        const FanPoint& point = points[static_cast<std::size_t>(index)];
        stored = stored && body.SetInt32(keys.Rpm(index), point.Rpm) &&
                 body.SetDouble(keys.Level(index), point.Level);
    }
    return stored;
}

} // namespace

std::string FanKeys::Count() const {
    return std::string(Prefix).append(kCountName);
}

std::string FanKeys::Rpm(int32_t index) const {
    return IndexedKey(Prefix, kRpmName, index);
}

std::string FanKeys::Level(int32_t index) const {
    return IndexedKey(Prefix, kLevelName, index);
}

std::optional<std::span<const uint8_t>> FanAcousticCiphertext(std::span<const uint8_t> file,
                                                              std::span<const uint8_t> vector) {
    if (file.size() < kFanAcousticHeaderSize || vector.size() != kFanAcousticHeaderSize - 1 ||
        !std::equal(vector.begin(), vector.end(), file.begin()) ||
        file[vector.size()] != kFanAcousticVersion) {
        return std::nullopt;
    }
    return file.subspan(kFanAcousticHeaderSize);
}

std::vector<uint8_t> FanAcousticFile(std::span<const uint8_t> vector,
                                     std::span<const uint8_t> ciphertext) {
    std::vector<uint8_t> file(vector.begin(), vector.end());
    file.push_back(kFanAcousticVersion);
    file.insert(file.end(), ciphertext.begin(), ciphertext.end());
    return file;
}

std::optional<FanCurves> ReadFanCurves(std::span<const uint8_t> plaintext) {
    ValueSet body;
    if (plaintext.size() > std::numeric_limits<uint32_t>::max() ||
        !body.Read(plaintext.data(), static_cast<uint32_t>(plaintext.size()))) {
        return std::nullopt;
    }
    return FanCurves{ReadFanCurve(body, kCpuFanKeys), ReadFanCurve(body, kGpuFanKeys)};
}

std::vector<uint8_t> WriteFanPoints(std::span<const FanPoint> cpu, std::span<const FanPoint> gpu) {
    ValueSet body;
    if (!StorePoints(body, kCpuFanKeys, cpu) || !StorePoints(body, kGpuFanKeys, gpu)) {
        return {};
    }
    uint32_t size = body.BodySize();
    std::vector<uint8_t> bytes(size);
    if (!body.Write(bytes.data(), size)) {
        return {};
    }
    return bytes;
}

} // namespace gpu
