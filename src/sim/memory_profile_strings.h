#pragma once

#include "ports/profile_strings.h"
#include "sim/memory_files.h"

#include <atomic>
#include <vector>

namespace sim {

// INI values of the simulated machine's files, read as GetPrivateProfileStringW reads them:
// section and key names compared without regard to case and trimmed of blanks, the first
// occurrence counts, values trimmed and stripped of one pair of enclosing quotes. The files are
// ASCII (or UTF-8 read byte by byte) text.
class MemoryProfileStrings final : public ports::ProfileStrings {
public:
    explicit MemoryProfileStrings(MemoryFiles& files) : files_(files) {}

    std::u16string Read(const std::u16string& path, std::u16string_view section,
                        std::u16string_view key, std::u16string_view defaultText,
                        std::size_t capacity) override;

    std::vector<std::u16string> KeyNames(const std::u16string& path,
                                         std::u16string_view section) override;

    int Reads() const { return reads_; }

private:
    MemoryFiles& files_;
    std::atomic<int> reads_{0};
};

} // namespace sim
