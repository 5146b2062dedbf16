#include "interrupt.h"

#include <atomic>

namespace orvex_host {
namespace {

std::atomic<HANDLE> g_interruptEvent{nullptr};

BOOL WINAPI OnConsoleControl(DWORD type) {
    if (type != CTRL_C_EVENT && type != CTRL_BREAK_EVENT && type != CTRL_CLOSE_EVENT) {
        return FALSE;
    }
    const HANDLE event = g_interruptEvent.load();
    if (event != nullptr) {
        SetEvent(event);
    }
    return TRUE;
}

} // namespace

Interrupt::Interrupt() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    g_interruptEvent.store(event_.get());
    SetConsoleCtrlHandler(&OnConsoleControl, TRUE);
}

Interrupt::~Interrupt() {
    SetConsoleCtrlHandler(&OnConsoleControl, FALSE);
    g_interruptEvent.store(nullptr);
}

} // namespace orvex_host
