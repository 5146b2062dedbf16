#include "ports_conformance.h"
#include "sim/native_clock.h"
#include "sim/native_kernel_objects.h"

INSTANTIATE_TEST_SUITE_P(
    Native, PortsConformance,
    ::testing::Values(Implementation<sim::NativeKernelObjects, sim::NativeClock>("Native")),
    PortsImplementationName);
