#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace VelmorValueSet {

// The wire is little-endian whatever the machine. Integers are taken apart and put together byte
// by byte; compilers turn these loops into single loads and stores on little-endian targets.
template <typename T>
requires std::is_unsigned_v<T>
void StoreLittleEndian(uint8_t* out, T value) {
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        out[i] = static_cast<uint8_t>(value >> (8 * i));
    }
}

template <typename T>
requires std::is_unsigned_v<T> T LoadLittleEndian(const uint8_t* in) {
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        value = static_cast<T>(value | static_cast<T>(static_cast<T>(in[i]) << (8 * i)));
    }
    return value;
}

} // namespace VelmorValueSet
