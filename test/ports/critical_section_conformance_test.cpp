#include "ports_conformance.h"

#include <mutex>

namespace {

using ports::kInfinite;
using ports::WaitStatus;

// A thread that enters `section`, then sets the returned event.
class Contender {
public:
    Contender(ports::KernelObjects& kernel, ports::CriticalSection& section)
        : entered_(kernel.NewEvent(true, false)), thread_(kernel.StartThread([this, &section] {
              std::lock_guard lock(section);
              entered_->Set();
              return 0u;
          })) {}

    ports::Event& Entered() { return *entered_; }
    ports::Thread& Thread() { return *thread_; }

private:
    std::unique_ptr<ports::Event> entered_;
    std::unique_ptr<ports::Thread> thread_;
};

TEST_P(PortsConformance, critical_section_is_entered_again_by_its_owner) {
    auto section = kernel->NewCriticalSection();
    ASSERT_NE(section, nullptr);
    section->lock();
    section->lock();
    section->unlock();
    Contender contender(*kernel, *section);
    EXPECT_EQ(kernel->Wait(contender.Entered(), 50).status, WaitStatus::TimedOut);
    section->unlock();
    EXPECT_TRUE(kernel->Wait(contender.Entered(), kInfinite).Signalled(0));
    EXPECT_TRUE(kernel->Wait(contender.Thread(), kInfinite).Signalled(0));
}

TEST_P(PortsConformance, critical_section_keeps_other_threads_out) {
    auto section = kernel->NewCriticalSection();
    uint32_t shared = 0;
    const auto add = [&] {
        for (int count = 0; count < 20000; ++count) {
            std::lock_guard lock(*section);
            shared = shared + 1;
        }
        return 0u;
    };
    auto first = kernel->StartThread(add);
    auto second = kernel->StartThread(add);
    ASSERT_TRUE(kernel->Wait(*first, kInfinite).Signalled(0));
    ASSERT_TRUE(kernel->Wait(*second, kInfinite).Signalled(0));
    EXPECT_EQ(shared, 40000u);
}

} // namespace
