#pragma once

#include "ports/docking_controller.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <type_traits>

namespace sim {

// The external-GPU dock library of a simulated laptop: answers what the test set and counts every
// call, so a test sees when the dock is probed and that each Initialize is paired.
class FakeDockingController final : public ports::DockingController {
public:
    struct Answers {
        bool Missing = false; // the library is not there
        ports::DockedGpuId Id{0, {}};
        ports::DockedGpuConfig Config{0, std::nullopt};
        ports::DockFanSpeed Fan;
    };

    FakeDockingController() = default;
    explicit FakeDockingController(Answers answers) : answers_(std::move(answers)) {}

    template <typename Edit>
    void Change(Edit&& change) {
        std::lock_guard lock(mutex_);
        change(answers_);
    }

    int Initializes() const { return initializes_; }
    int Uninitializes() const { return uninitializes_; }
    int IdReads() const { return idReads_; }
    int ConfigReads() const { return configReads_; }
    int FanReads() const { return fanReads_; }
    void* LastOwner() const { return owner_; }

    std::optional<ports::LibraryCode> Initialize(void* owner) override {
        return Count(initializes_, [&](Answers&) {
            owner_ = owner;
            return ports::LibraryCode{0};
        });
    }
    std::optional<ports::LibraryCode> Uninitialize(void*) override {
        return Count(uninitializes_, [](Answers&) { return ports::LibraryCode{0}; });
    }
    std::optional<ports::DockedGpuId> GetEGPUID() override {
        return Count(idReads_, [](Answers& answers) { return answers.Id; });
    }
    std::optional<ports::DockedGpuConfig> GetEGPUConfig() override {
        return Count(configReads_, [](Answers& answers) { return answers.Config; });
    }
    std::optional<ports::DockFanSpeed> GetFanSpeed() override {
        return Count(fanReads_, [](Answers& answers) { return answers.Fan; });
    }

private:
    template <typename Answer>
    std::optional<std::invoke_result_t<Answer&, Answers&>> Count(std::atomic<int>& calls,
                                                                 Answer&& answer) {
        std::lock_guard lock(mutex_);
        if (answers_.Missing) {
            return std::nullopt;
        }
        ++calls;
        return answer(answers_);
    }

    std::mutex mutex_;
    Answers answers_;
    std::atomic<int> initializes_{0};
    std::atomic<int> uninitializes_{0};
    std::atomic<int> idReads_{0};
    std::atomic<int> configReads_{0};
    std::atomic<int> fanReads_{0};
    std::atomic<void*> owner_{nullptr};
};

} // namespace sim
