#pragma once

#include "plugin_frame/base_orvex_plugin.h"
#include "ports/files.h"

#include <mutex>
#include <string>

namespace cpu {

// Tells the user once per flag, by a toast, that Windows' "Memory integrity" setting hides CPU
// information. The companion application leaves the flag file "VBS.ini" in its local state; the
// notice removes it when it tells. The first two checks never tell, so that the notice does not
// appear while the plug-in is still starting.
class MemoryIntegrityNotice {
public:
    MemoryIntegrityNotice(BaseOrvexPlugin& plugin, ports::Files& files, ports::Folders& folders);

    // One check; every call counts, whatever happened.
    void Check();

private:
    const std::u16string& FlagPath();

    BaseOrvexPlugin& m_plugin;
    ports::Files& m_files;
    ports::Folders& m_folders;
    std::mutex m_lock; // requests and the periodic collector check at the same time
    std::u16string m_flagPath;
    int m_checks = 0;
};

} // namespace cpu
