#include "ports_conformance.h"
#include "win32/win32_clock.h"
#include "win32/win32_kernel_objects.h"

// In this tree the native implementation runs under Wine beside this one.
INSTANTIATE_TEST_SUITE_P(
    Win32, PortsConformance,
    ::testing::Values(Implementation<win32::Win32KernelObjects, win32::Win32Clock>("Win32")),
    PortsImplementationName);
