#pragma once

#include "ports/event.h"
#include "sim/native_waitable.h"

#include <memory>
#include <string>

namespace sim {

// A handle to a native event; handles to one named event share its signal state.
class NativeEvent final : public ports::Event, public NativeWaitable {
public:
    explicit NativeEvent(std::shared_ptr<SignalState> state) : NativeWaitable(std::move(state)) {}

    bool Set() override {
        Signal();
        return true;
    }
    bool Reset() override {
        Unsignal();
        return true;
    }
};

// The signal state of the named event `name`: the existing one (its reset mode and state stay as
// they are) or a new one. A name is forgotten when the last handle to its event is gone.
std::shared_ptr<SignalState> OpenNamedEvent(const std::u16string& name, SignalState::Reset mode,
                                            bool signalled);
// The signal state of the existing named event `name`; null when there is none.
std::shared_ptr<SignalState> FindNamedEvent(const std::u16string& name);

// The signal state of the named event `name` while a handle to it is open; null otherwise.
std::shared_ptr<SignalState> FindNamedEvent(const std::u16string& name);

} // namespace sim
