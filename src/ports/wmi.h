#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace ports {

// Results of WMI queries, as HRESULTs.
inline constexpr int32_t kWmiOk = 0;
inline constexpr int32_t kWmiFail = static_cast<int32_t>(0x80004005);        // E_FAIL
inline constexpr int32_t kWmiOutOfMemory = static_cast<int32_t>(0x8007000E); // E_OUTOFMEMORY

// The 32-bit integer properties a query's objects carry, by property name.
using WmiValues = std::map<std::u16string, uint32_t>;

// WMI on the local machine (ROOT\CIMV2).
class Wmi {
public:
    virtual ~Wmi() = default;

    // Runs a WQL query with its own COM set-up and tear-down and stores every signed or unsigned
    // 32-bit property of every object returned under its name (a later object overwrites an
    // earlier one). Returns 0 once a value was stored, otherwise the failing step's result or the
    // query's own.
    virtual int32_t QueryWmiValue(const std::u16string& wql, WmiValues& values) = 0;
};

} // namespace ports
