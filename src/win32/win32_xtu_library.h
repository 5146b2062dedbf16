#pragma once

#include "ports/xtu_library.h"

namespace win32 {

// The XTU wrapper library (XTUWrapperForNativeCode.dll) beside the plug-in, bound by the
// decorated names of its class's members, which are called as free functions with the object
// first. A wrapper keeps the library loaded while it lives.
class Win32XtuLibrary final : public ports::XtuLibrary {
public:
    std::unique_ptr<ports::XtuWrapper> CreateWrapper() override;
};

} // namespace win32
