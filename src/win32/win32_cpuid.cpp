#include "win32/win32_cpuid.h"

#include <intrin.h>

namespace win32 {

ports::CpuidRegisters Win32Cpuid::Read(uint32_t leaf) {
    int registers[4] = {};
    __cpuid(registers, static_cast<int>(leaf));
    return {static_cast<uint32_t>(registers[0]), static_cast<uint32_t>(registers[1]),
            static_cast<uint32_t>(registers[2]), static_cast<uint32_t>(registers[3])};
}

} // namespace win32
