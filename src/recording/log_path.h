#pragma once

#include <string>

// Whether the user interface may have the recording logged to path: a plain file path of a disk
// or a share. Device paths ("\\.\", "\\?\", "\??\", with either slash), paths through the global
// root ("GLOBALROOT") and reserved device names ("NUL", "COM1", "CONOUT$", ... as any component,
// with or without an extension) name things other than a file, and a path with a null would be
// cut short where the system reads it, so all of these are refused.
bool IsLogFilePath(const std::u16string& path);
