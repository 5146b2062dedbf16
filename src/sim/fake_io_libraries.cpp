#include "sim/fake_io_libraries.h"

namespace sim {

class FakeIoLibraries::Loaded final : public ports::IoLibrary {
public:
    Loaded(std::shared_ptr<State> state, std::u16string path)
        : m_state(std::move(state)), m_path(std::move(path)) {}
    ~Loaded() override {
        std::lock_guard lock(m_state->Mutex);
        --m_state->Calls.Held;
    }

    bool Complete() const override {
        std::lock_guard lock(m_state->Mutex);
        return Answers().Complete;
    }
    bool Open(int32_t flags) override {
        std::lock_guard lock(m_state->Mutex);
        ++m_state->Calls.Opens;
        m_state->Calls.OpenFlags.push_back(flags);
        return Answers().OpenResult;
    }
    int32_t ReadMsr(uint32_t index, uint64_t& value) override {
        std::lock_guard lock(m_state->Mutex);
        ++m_state->Calls.Reads;
        m_state->Calls.ReadIndexes.push_back(index);
        const Library& answers = Answers();
        const auto found = answers.Msr.find(index);
        if (found != answers.Msr.end()) {
            value = found->second;
        }
        return answers.ReadResult;
    }
    void Close() override {
        std::lock_guard lock(m_state->Mutex);
        ++m_state->Calls.Closes;
    }

private:
    const Library& Answers() const { return m_state->Libraries[m_path]; }

    std::shared_ptr<State> m_state;
    std::u16string m_path;
};

FakeIoLibraries::FakeIoLibraries() : m_state(std::make_shared<State>()) {}

void FakeIoLibraries::Put(const std::u16string& path, Library library) {
    std::lock_guard lock(m_state->Mutex);
    m_state->Libraries[path] = std::move(library);
}

FakeIoLibraries::Counts FakeIoLibraries::Calls() const {
    std::lock_guard lock(m_state->Mutex);
    return m_state->Calls;
}

ports::LoadedIoLibrary FakeIoLibraries::Load(const std::u16string& path) {
    std::lock_guard lock(m_state->Mutex);
    ++m_state->Calls.Loads;
    if (!m_state->Libraries.contains(path)) {
        return {kModuleNotFound, nullptr};
    }
    ++m_state->Calls.Held;
    return {0, std::make_unique<Loaded>(m_state, path)};
}

} // namespace sim
