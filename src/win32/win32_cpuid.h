#pragma once

#include "ports/cpuid.h"

namespace win32 {

class Win32Cpuid final : public ports::Cpuid {
public:
    ports::CpuidRegisters Read(uint32_t leaf) override;
};

} // namespace win32
