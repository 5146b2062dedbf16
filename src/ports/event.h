#pragma once

#include "ports/waitable.h"

namespace ports {

// A kernel event. A manual-reset event stays signalled until reset; an auto-reset event releases
// one waiter and resets itself.
class Event : public Waitable {
public:
    virtual bool Set() = 0;
    virtual bool Reset() = 0;
};

} // namespace ports
