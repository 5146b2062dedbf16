#pragma once

#include <memory>
#include <mutex>

namespace sim {

// What a simulated library answers and what it was asked, shared with the objects it hands out
// (which may outlive a test's edit) and guarded for calls from several threads.
template <typename Answers, typename Calls>
class ScriptedLibrary {
public:
    // Edits the answers; safe while other threads call the library.
    template <typename Edit>
    void Change(Edit&& change) {
        std::lock_guard lock(state_->mutex);
        change(state_->answers);
    }
    Calls Seen() const {
        std::lock_guard lock(state_->mutex);
        return state_->calls;
    }

protected:
    struct State {
        std::mutex mutex;
        Answers answers;
        Calls calls;
    };

    std::shared_ptr<State> state_ = std::make_shared<State>();
};

} // namespace sim
