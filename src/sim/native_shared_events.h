#pragma once

#include "ports/shared_events.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace sim {

// Global events of the simulated machine: native named events, shared with every
// sim::NativeKernelObjects. Tests make the creation of a name fail with a chosen system error.
class NativeSharedEvents final : public ports::SharedEvents {
public:
    ports::SharedEvent Create(const std::u16string& name) override;
    ports::SharedEvent Open(const std::u16string& name) override;

    void FailCreate(const std::u16string& name, uint32_t error);

private:
    std::mutex mutex_;
    std::map<std::u16string, uint32_t> failingCreates_;
};

} // namespace sim
