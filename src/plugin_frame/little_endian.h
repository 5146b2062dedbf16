#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace VelmorValueSet {

// The wire is little-endian whatever the machine. On a little-endian machine an integer is copied
// as it stands; elsewhere it is taken apart and put together byte by byte.
template <typename T>
requires std::is_unsigned_v<T>
void StoreLittleEndian(uint8_t* out, T value) {
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(out, &value, sizeof(T));
    } else {
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            out[i] = static_cast<uint8_t>(value >> (8 * i));
        }
    }
}

template <typename T>
requires std::is_unsigned_v<T> T LoadLittleEndian(const uint8_t* in) {
    T value = 0;
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(&value, in, sizeof(T));
    } else {
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            value = static_cast<T>(value | static_cast<T>(static_cast<T>(in[i]) << (8 * i)));
        }
    }
    return value;
}

} // namespace VelmorValueSet
