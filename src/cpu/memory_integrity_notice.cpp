#include "cpu/memory_integrity_notice.h"

namespace cpu {
namespace {

constexpr char16_t kFlagInLocalAppData[] =
    u"\\Packages\\7C41A2D0.Quillon_h3kz8w1p5tqfe\\LocalState\\Overclocking\\VBS.ini";
constexpr char16_t kToastTitle[] = u"QUILLON";
constexpr char16_t kToastText[] =
    u"No CPU information will be displayed if \"Memory integrity\" under \"Core isolation\" is on.";
constexpr int kQuietChecks = 2;

} // namespace

MemoryIntegrityNotice::MemoryIntegrityNotice(BaseOrvexPlugin& plugin, ports::Files& files,
                                             ports::Folders& folders)
    : m_plugin(plugin), m_files(files), m_folders(folders) {}

void MemoryIntegrityNotice::Check() {
    std::lock_guard lock(m_lock);
    const std::u16string& flag = FlagPath();
    if (!flag.empty() && m_files.Exists(flag) && m_checks >= kQuietChecks) {
        m_files.ClearAttributes(flag);
        m_files.Delete(flag);
        m_plugin.Toast(kToastTitle, kToastText);
    }
    ++m_checks;
}

// Found once, while the local application-data folder can be told.
const std::u16string& MemoryIntegrityNotice::FlagPath() {
    if (m_flagPath.empty()) {
        if (const auto folder = m_folders.LocalAppData()) {
            m_flagPath = *folder + kFlagInLocalAppData;
        }
    }
    return m_flagPath;
}

} // namespace cpu
