#include "gpu/gpu_clock_configuration.h"

#include "plugin_frame/base_orvex_plugin.h"
#include "plugin_frame/value_set.h"

#include <algorithm>
#include <limits>
#include <string>

namespace gpu {

namespace {

constexpr char16_t kLogIn[] = u"GetGPUBaseFrequency In.";
constexpr char16_t kLogEnd[] = u"GetGPUBaseFrequency End.";
constexpr char16_t kLogModelName[] = u"ModelName = %s";
constexpr char16_t kLogEncipheredPath[] = u"encInFilename = %s";
constexpr char16_t kLogPlainPath[] = u"filename = %s";
constexpr char16_t kLogNoTable[] = u"GetGPUBaseFrequency - %dMHz";
constexpr char16_t kLogBase[] = u"NV Base Frequency - %dMHz";
constexpr char16_t kLogNvBoost[] = u"NVBoostClock - %dMHz";
constexpr char16_t kLogTarvoBoost[] = u"Tarvo Boost Frequency - %dMHz";
constexpr char16_t kLogOverclock[] = u"O.C. Frequency - %dMHz";
constexpr char16_t kLogMemoryBase[] = u"VRAMBaseClock - %dMHz";
constexpr char16_t kLogMemoryOverclock[] = u"VRAMOCClock - %dMHz";

constexpr char16_t kQueryModelName[] = u"ModelName";
constexpr char kKeyModelName[] = "ModelName";

constexpr char16_t kFileStem[] = u"\\Velmor\\QUILLON Config\\Data\\Quillon_Config.VgaOc.";
constexpr char16_t kEncipheredSuffix[] = u".enc";
constexpr char16_t kPlainSuffix[] = u".ini";
// The paths are formed in a buffer of this many characters, terminator included.
constexpr std::size_t kPathCapacity = 260;

constexpr char16_t kSectionMain[] = u"Main";
constexpr char16_t kKeyCount[] = u"Count";
constexpr char16_t kKeyBase[] = u"NV Base";
constexpr char16_t kKeyNvBoost[] = u"NV Boost";
constexpr char16_t kKeyTarvoBoost[] = u"Tarvo Boost";
constexpr char16_t kKeyOverclock[] = u"OC";
constexpr char16_t kKeyMemoryBase[] = u"VRAM Base";
constexpr char16_t kKeyMemoryOverclock[] = u"VRAM OC";
// Every value is read into a buffer of 8 characters with the default "0".
constexpr char16_t kDefaultValue[] = u"0";
constexpr std::size_t kValueCapacity = 8;
// An entry matches when its first (up to) 10 characters equal the device ID text.
constexpr std::size_t kCompareLength = 10;

bool IsWhiteSpace(char16_t c) {
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

// The path formed from its parts, or empty when it does not fit the buffer.
std::u16string FormPath(const std::u16string& folder, const std::u16string& model,
                        const char16_t* suffix) {
    std::u16string path = folder + kFileStem + model + suffix;
    return path.size() < kPathCapacity ? path : std::u16string{};
}

std::u16string KeyText(int32_t index) {
    const std::string narrow = std::to_string(index);
    return {narrow.begin(), narrow.end()};
}

} // namespace

int32_t WideTextToInt(std::u16string_view text) {
    std::size_t at = 0;
    while (at < text.size() && IsWhiteSpace(text[at])) {
        ++at;
    }
    bool negative = false;
    if (at < text.size() && (text[at] == u'+' || text[at] == u'-')) {
        negative = text[at] == u'-';
        ++at;
    }
    constexpr int64_t kLimit = int64_t{std::numeric_limits<int32_t>::max()} + 1;
    int64_t magnitude = 0;
    for (; at < text.size() && text[at] >= u'0' && text[at] <= u'9'; ++at) {
        magnitude = std::min(magnitude * 10 + (text[at] - u'0'), kLimit);
    }
    const int64_t value = negative ? -magnitude : std::min(magnitude, kLimit - 1);
    return static_cast<int32_t>(value);
}

GpuClockConfiguration::GpuClockConfiguration(BaseOrvexPlugin& plugin, Machine machine)
    : m_plugin(plugin), m_machine(machine) {}

GpuClocks GpuClockConfiguration::Clocks() const {
    std::lock_guard lock(m_clocksLock);
    return m_clocks;
}

void GpuClockConfiguration::Store(const GpuClocks& clocks) {
    std::lock_guard lock(m_clocksLock);
    m_clocks = clocks;
}

void GpuClockConfiguration::GetGPUBaseFrequency(const std::u16string& deviceIdText) {
    m_plugin.Log(LogLevel::kTrace, kLogIn);
    // The library is loaded on every call, so one that appears later is still found.
    if (const auto entry = m_machine.Encrypt.Load()) {
        m_pfnDecryptAES = *entry;
    }
    const auto folder = m_machine.Folders.CommonAppData();
    if (!folder) {
        Store(GpuClocks{});
        m_plugin.Log(LogLevel::kTrace, kLogEnd);
        return;
    }
    const Paths paths = ModelPaths(*folder);
    if (!PlainFileWritten(paths)) {
        m_plugin.Log(LogLevel::kTrace, kLogNoTable, 0);
        m_plugin.Log(LogLevel::kTrace, kLogEnd);
        return;
    }
    GpuClocks clocks = Clocks();
    if (!ReadEntries(paths.Plain, deviceIdText, clocks)) {
        // A table that lists no device stays on disk: only this path leaves it behind.
        m_plugin.Log(LogLevel::kTrace, kLogEnd);
        return;
    }
    m_machine.Files.Delete(paths.Plain);
    Store(clocks);
    m_plugin.Log(LogLevel::kTrace, kLogEnd);
}

GpuClockConfiguration::Paths GpuClockConfiguration::ModelPaths(const std::u16string& folder) {
    std::u16string model;
    VelmorValueSet::ValueSet answer;
    if (m_plugin.Query(kQueryModelName, answer) >= 0) {
        model = answer.GetString(kKeyModelName);
    }
    m_plugin.Log(LogLevel::kTrace, kLogModelName, model.c_str());
    Paths paths{FormPath(folder, model, kEncipheredSuffix), FormPath(folder, model, kPlainSuffix)};
    m_plugin.Log(LogLevel::kTrace, kLogEncipheredPath, paths.Enciphered.c_str());
    m_plugin.Log(LogLevel::kTrace, kLogPlainPath, paths.Plain.c_str());
    return paths;
}

// The helper's result means nothing: only a plain file that exists afterwards counts.
bool GpuClockConfiguration::PlainFileWritten(const Paths& paths) {
    ports::DecryptAesEntry* const decryptAes = m_pfnDecryptAES;
    if (!m_machine.Files.Exists(paths.Enciphered) || decryptAes == nullptr) {
        return false;
    }
    (*decryptAes)(paths.Enciphered, paths.Plain);
    return m_machine.Files.Exists(paths.Plain);
}

// The loop bound starts as the count and then takes every value read from a matching entry, so
// after a match the loop runs on up to its memory overclock: a later entry for the same device
// within that bound overrides an earlier one. A row the file does not list reads the default "0",
// which matches no device ID text of four digits, so only listed rows are visited; the walk then
// costs no more than the file is long, whatever count or bound it gives.
bool GpuClockConfiguration::ReadEntries(const std::u16string& plainPath,
                                        const std::u16string& deviceIdText, GpuClocks& clocks) {
    int32_t bound = ReadNumber(plainPath, kSectionMain, kKeyCount);
    if (bound == 0) {
        return false;
    }
    const auto matches = [&](const std::u16string& id) {
        return id.substr(0, kCompareLength) == deviceIdText.substr(0, kCompareLength);
    };
    const RowWalk rows(ListedRows(plainPath), matches(kDefaultValue));
    bool found = false;
    for (auto row = rows.First(); row && *row <= bound; row = rows.After(*row)) {
        const std::u16string id = m_machine.Profiles.Read(plainPath, kSectionMain, KeyText(*row),
                                                          kDefaultValue, kValueCapacity);
        if (matches(id)) {
            ReadEntry(plainPath, id, clocks, bound);
            found = true;
        }
    }
    if (!found) {
        clocks = GpuClocks{};
    }
    return true;
}

// The rows "1", "2", ... of "Main" as "%d" writes them, ascending.
std::vector<int32_t> GpuClockConfiguration::ListedRows(const std::u16string& plainPath) {
    std::vector<int32_t> rows;
    for (const std::u16string& name : m_machine.Profiles.KeyNames(plainPath, kSectionMain)) {
        const int32_t row = WideTextToInt(name);
        if (row >= 1 && KeyText(row) == name) {
            rows.push_back(row);
        }
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

GpuClockConfiguration::RowWalk::RowWalk(std::vector<int32_t> listed, bool everyRow)
    : m_listed(std::move(listed)), m_everyRow(everyRow) {}

std::optional<int32_t> GpuClockConfiguration::RowWalk::First() const {
    return After(0);
}

std::optional<int32_t> GpuClockConfiguration::RowWalk::After(int32_t row) const {
    if (m_everyRow) {
        return row < std::numeric_limits<int32_t>::max() ? std::optional(row + 1) : std::nullopt;
    }
    const auto next = std::upper_bound(m_listed.begin(), m_listed.end(), row);
    return next != m_listed.end() ? std::optional(*next) : std::nullopt;
}

void GpuClockConfiguration::ReadEntry(const std::u16string& plainPath,
                                      const std::u16string& section, GpuClocks& clocks,
                                      int32_t& bound) {
    clocks = GpuClocks{};
    const auto read = [&](const char16_t* key, uint32_t& value, uint32_t offset,
                          const char16_t* log) {
        bound = ReadNumber(plainPath, section, key);
        value = offset + static_cast<uint32_t>(bound);
        m_plugin.Log(LogLevel::kTrace, log, value);
    };
    read(kKeyBase, clocks.Base, 0, kLogBase);
    read(kKeyNvBoost, clocks.NvBoost, 0, kLogNvBoost);
    read(kKeyTarvoBoost, clocks.TarvoBoost, 0, kLogTarvoBoost);
    read(kKeyOverclock, clocks.Overclock, clocks.TarvoBoost, kLogOverclock);
    read(kKeyMemoryBase, clocks.MemoryBase, 0, kLogMemoryBase);
    read(kKeyMemoryOverclock, clocks.MemoryOverclock, 0, kLogMemoryOverclock);
}

int32_t GpuClockConfiguration::ReadNumber(const std::u16string& plainPath,
                                          std::u16string_view section, std::u16string_view key) {
    return WideTextToInt(
        m_machine.Profiles.Read(plainPath, section, key, kDefaultValue, kValueCapacity));
}

} // namespace gpu
