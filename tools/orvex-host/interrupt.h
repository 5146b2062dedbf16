#pragma once
// Ctrl+C, Ctrl+Break and the console closing ask the running command to finish: it then ends what
// it drives in the plug-in (a recording, a server) and the plug-in is uninitialised, instead of
// the process being torn down in the middle.
#include "win32/unique_handle.h"

namespace orvex_host {

class Interrupt {
public:
    // Installs the console handler; one Interrupt at a time.
    Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;
    ~Interrupt();

    // Manual-reset event, signalled once the user has interrupted.
    HANDLE Event() const { return event_.get(); }
    bool Raised() const { return WaitForSingleObject(event_.get(), 0) == WAIT_OBJECT_0; }

private:
    win32::UniqueHandle event_;
};

} // namespace orvex_host
