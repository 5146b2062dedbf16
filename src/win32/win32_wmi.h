#pragma once

#include "ports/wmi.h"

namespace win32 {

// WMI over COM. Each query initialises COM (multithreaded apartment), security, a locator, a
// connection to ROOT\CIMV2 and its proxy blanket, runs the WQL query and tears all of it down
// again; failures are written to the debugger output.
class Win32Wmi final : public ports::Wmi {
public:
    int32_t QueryWmiValue(const std::u16string& wql, ports::WmiValues& values) override;
};

} // namespace win32
