#include "sim/native_event.h"

#include <map>
#include <mutex>

namespace sim {
namespace {

class NamedEvents {
public:
    std::shared_ptr<SignalState> Open(const std::u16string& name, SignalState::Reset mode,
                                      bool signalled) {
        // Made before taking the lock, because its deleter takes the lock to forget the name.
        auto forget = [this, name](SignalState* state) {
            delete state;
            Forget(name);
        };
        std::shared_ptr<SignalState> created(new SignalState(mode, signalled), std::move(forget));

        std::lock_guard lock(lock_);
        auto& entry = events_[name];
        if (auto existing = entry.lock()) {
            return existing;
        }
        entry = created;
        return created;
    }

    std::shared_ptr<SignalState> Find(const std::u16string& name) {
        std::lock_guard lock(lock_);
        const auto entry = events_.find(name);
        return entry == events_.end() ? nullptr : entry->second.lock();
    }

private:
    // The name may already belong to a newer event made after this one's last handle went.
    void Forget(const std::u16string& name) {
        std::lock_guard lock(lock_);
        const auto entry = events_.find(name);
        if (entry != events_.end() && entry->second.expired()) {
            events_.erase(entry);
        }
    }

    std::mutex lock_;
    std::map<std::u16string, std::weak_ptr<SignalState>> events_;
};

// Never destroyed: a detached thread may still close a named event while the process exits.
NamedEvents& Registry() {
    static auto* const registry = new NamedEvents;
    return *registry;
}

} // namespace

std::shared_ptr<SignalState> OpenNamedEvent(const std::u16string& name, SignalState::Reset mode,
                                            bool signalled) {
    return Registry().Open(name, mode, signalled);
}

std::shared_ptr<SignalState> FindNamedEvent(const std::u16string& name) {
    return Registry().Find(name);
}

} // namespace sim
