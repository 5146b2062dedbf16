#pragma once

#include "ports/io_library.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace sim {

// The vendor IO libraries of a simulated machine, by full path. A path the test has not put there
// fails to load (ERROR_MOD_NOT_FOUND). Counts every load, open, read and close, and how many
// loaded libraries are still held.
class FakeIoLibraries final : public ports::IoLibraries {
public:
    static constexpr uint32_t kModuleNotFound = 126;

    struct Library {
        bool Complete = true;   // all three entries exported
        bool OpenResult = true; // what VELMORIO_OPEN_WO_MSG answers
        int32_t ReadResult = 1;
        std::map<uint32_t, uint64_t> Msr; // registers the library reads; others are not written
    };
    struct Counts {
        int Loads = 0;
        int Opens = 0;
        int Reads = 0;
        int Closes = 0;
        int Held = 0;
        std::vector<int32_t> OpenFlags;
        std::vector<uint32_t> ReadIndexes;
    };

    FakeIoLibraries();

    void Put(const std::u16string& path, Library library);
    // Changes a library already put there; the change is seen by libraries already loaded.
    template <typename Edit>
    void Change(const std::u16string& path, Edit&& change) {
        std::lock_guard lock(m_state->Mutex);
        change(m_state->Libraries[path]);
    }
    Counts Calls() const;

    ports::LoadedIoLibrary Load(const std::u16string& path) override;

private:
    struct State {
        mutable std::mutex Mutex;
        std::map<std::u16string, Library> Libraries;
        Counts Calls;
    };
    class Loaded;
    std::shared_ptr<State> m_state;
};

} // namespace sim
