#pragma once

#include "ports/io_library.h"

namespace win32 {

// The vendor IO library loaded by full path (LoadMakerLibrary) and bound by the names
// VELMORIO_OPEN_WO_MSG, VELMORIO_ReadMSR and VELMORIO_Close; FreeLibrary when it goes.
class Win32IoLibraries final : public ports::IoLibraries {
public:
    ports::LoadedIoLibrary Load(const std::u16string& path) override;
};

} // namespace win32
