#pragma once

#include "ports/encrypt_helper.h"
#include "ports/files.h"
#include "ports/profile_strings.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

class BaseOrvexPlugin;

namespace gpu {

// The rated clocks of the installed GPU, in MHz; all zero until a matching entry was read.
struct GpuClocks {
    uint32_t Base = 0;
    uint32_t NvBoost = 0;
    uint32_t TarvoBoost = 0;
    uint32_t Overclock = 0; // the Tarvo boost clock plus the table's overclock offset
    uint32_t MemoryBase = 0;
    uint32_t MemoryOverclock = 0;

    bool operator==(const GpuClocks&) const = default;
};

// The per-model GPU clock table: the vendor's configuration tool leaves it enciphered in the
// machine-wide application-data folder; the maker's encryption helper writes it out as a plain
// INI file, which is read and then deleted.
class GpuClockConfiguration {
public:
    struct Machine {
        ports::EncryptHelper& Encrypt;
        ports::ProfileStrings& Profiles;
        ports::Files& Files;
        ports::Folders& Folders;
    };

    GpuClockConfiguration(BaseOrvexPlugin& plugin, Machine machine);

    // Loads the clocks listed for deviceIdText (the PCI device ID as "%04X").
    void GetGPUBaseFrequency(const std::u16string& deviceIdText);

    GpuClocks Clocks() const;

private:
    // The rows of "Main" the entry loop visits: those the file lists or, when an unlisted row's
    // default text would match the device, every row.
    class RowWalk {
    public:
        RowWalk(std::vector<int32_t> listed, bool everyRow);
        std::optional<int32_t> First() const;
        std::optional<int32_t> After(int32_t row) const;

    private:
        std::vector<int32_t> m_listed;
        bool m_everyRow;
    };

    struct Paths {
        std::u16string Enciphered;
        std::u16string Plain;
    };

    Paths ModelPaths(const std::u16string& folder);
    bool PlainFileWritten(const Paths& paths);
    // Reads the entries of the plain file; false when it lists no device ("Count" 0).
    bool ReadEntries(const std::u16string& plainPath, const std::u16string& deviceIdText,
                     GpuClocks& clocks);
    std::vector<int32_t> ListedRows(const std::u16string& plainPath);
    void ReadEntry(const std::u16string& plainPath, const std::u16string& section,
                   GpuClocks& clocks, int32_t& bound);
    int32_t ReadNumber(const std::u16string& plainPath, std::u16string_view section,
                       std::u16string_view key);
    void Store(const GpuClocks& clocks);

    BaseOrvexPlugin& m_plugin;
    Machine m_machine;
    std::atomic<ports::DecryptAesEntry*> m_pfnDecryptAES{nullptr};
    mutable std::mutex m_clocksLock;
    GpuClocks m_clocks;
};

// The number at the head of text as _wtoi reads it: leading white space, an optional sign and
// decimal digits; 0 when there are none.
int32_t WideTextToInt(std::u16string_view text);

} // namespace gpu
