#pragma once

#include "ports/encrypt_helper.h"
#include "sim/memory_files.h"

#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sim {

// The maker's encryption helper of a simulated laptop: DecryptAES writes the plain text the test
// set to the plain path, in the machine's files. Loads and calls are recorded.
class FakeEncryptHelper final : public ports::EncryptHelper, private ports::DecryptAesEntry {
public:
    struct Answers {
        bool Loads = true;         // false: the library is not beside the plug-in
        bool HasDecryptAES = true; // false: it lacks the entry
        // What DecryptAES writes; nullopt: it writes nothing.
        std::optional<std::string> PlainText;
        int32_t Result = 1;
    };

    explicit FakeEncryptHelper(MemoryFiles& files) : files_(files) {}

    template <typename Edit>
    void Change(Edit&& change) {
        std::lock_guard lock(mutex_);
        change(answers_);
    }
    int Loads() const {
        std::lock_guard lock(mutex_);
        return loads_;
    }
    // The (enciphered, plain) paths of every DecryptAES call.
    std::vector<std::pair<std::u16string, std::u16string>> Calls() const {
        std::lock_guard lock(mutex_);
        return calls_;
    }

    std::optional<ports::DecryptAesEntry*> Load() override {
        std::lock_guard lock(mutex_);
        ++loads_;
        if (!answers_.Loads) {
            return std::nullopt;
        }
        return answers_.HasDecryptAES ? static_cast<ports::DecryptAesEntry*>(this) : nullptr;
    }

private:
    int32_t operator()(const std::u16string& encipheredPath,
                       const std::u16string& plainPath) override {
        std::lock_guard lock(mutex_);
        calls_.emplace_back(encipheredPath, plainPath);
        if (answers_.PlainText) {
            files_.Put(plainPath, *answers_.PlainText);
        }
        return answers_.Result;
    }

    MemoryFiles& files_;
    mutable std::mutex mutex_;
    Answers answers_;
    int loads_ = 0;
    std::vector<std::pair<std::u16string, std::u16string>> calls_;
};

} // namespace sim
