#pragma once

#include "ports/clock.h"
#include "ports/kernel_objects.h"

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <ostream>
#include <random>
#include <string>

// One implementation of the kernel-object and clock ports, as the conformance suite meets it.
struct PortsImplementation {
    std::string name;
    std::function<std::unique_ptr<ports::KernelObjects>()> newKernelObjects;
    std::function<std::unique_ptr<ports::Clock>()> newClock;
};

inline void PrintTo(const PortsImplementation& implementation, std::ostream* out) {
    *out << implementation.name;
}

template <typename KernelObjects, typename Clock>
PortsImplementation Implementation(std::string name) {
    return {std::move(name), [] { return std::make_unique<KernelObjects>(); },
            [] { return std::make_unique<Clock>(); }};
}

// Every implementation instantiates the suite once, in its own file:
//   INSTANTIATE_TEST_SUITE_P(Name, PortsConformance,
//                            ::testing::Values(Implementation<Kernel, Clock>("Name")),
//                            PortsImplementationName);
class PortsConformance : public ::testing::TestWithParam<PortsImplementation> {
protected:
    // Polls once; consumes an auto-reset event it finds set.
    bool IsSignalled(ports::Waitable& object) {
        return kernel->Wait(object, 0).status == ports::WaitStatus::Signalled;
    }

    std::unique_ptr<ports::KernelObjects> kernel = GetParam().newKernelObjects();
};

// How much earlier than asked a timer may fire on Windows (its tick is about 15.6 ms).
inline constexpr std::chrono::milliseconds kTimerSlack{20};

inline std::chrono::milliseconds MillisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start);
}

// Windows event names are machine-wide (Wine's are wineserver-wide): every test makes its own.
inline std::u16string UniqueEventName(const std::string& stem) {
    static std::mt19937_64 random{std::random_device{}()};
    const auto text = "MonitorPluginTest." + stem + "." + std::to_string(random());
    return {text.begin(), text.end()};
}

inline std::string
PortsImplementationName(const ::testing::TestParamInfo<PortsImplementation>& info) {
    return info.param.name;
}
