// Any bytes as a host message into the monitor plug-in: nothing may crash, leak or throw, and an
// answer, when there is one, is a well-formed body on the host's heap.
#include "fake_host.h"
#include "sim_machine.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "plugin_frame/value_set.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > UINT32_MAX) {
        return 0;
    }
    FakeHost host;
    SimMachine machine;
    auto* plugin = new COrvexMonitorPlugin(0, machine.Ports());
    host.Install(*plugin);

    uint8_t* answer = nullptr;
    uint32_t answerSize = 0;
    const HRESULT result =
        plugin->HandleMessage(nullptr, data, static_cast<uint32_t>(size), &answer, &answerSize);
    if ((answer == nullptr) != (answerSize == 0) ||
        (answer != nullptr && machine.heap.Live() != 1)) {
        std::abort();
    }
    if (size < kMessageHeaderSize && result != OrvexResult::kInvalidArgument) {
        std::abort();
    }
    if (answer != nullptr) {
        VelmorValueSet::ValueSet body;
        if (!body.Read(answer, answerSize)) {
            std::abort();
        }
        machine.heap.Free(answer);
    }
    if (plugin->Release() != 0 || machine.heap.Live() != 0) {
        std::abort();
    }
    return 0;
}
