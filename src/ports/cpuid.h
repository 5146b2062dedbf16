#pragma once

#include <cstdint>

namespace ports {

struct CpuidRegisters {
    uint32_t Eax = 0;
    uint32_t Ebx = 0;
    uint32_t Ecx = 0;
    uint32_t Edx = 0;
};

// The processor's CPUID instruction.
class Cpuid {
public:
    virtual ~Cpuid() = default;

    virtual CpuidRegisters Read(uint32_t leaf) = 0;
};

} // namespace ports
