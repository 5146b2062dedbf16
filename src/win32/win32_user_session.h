#pragma once

#include "ports/user_session.h"

namespace win32 {

// Starts programs in the active console session as its user (WTSQueryUserToken, a primary
// duplicate of the token, its environment block, CreateProcessAsUserW). When the host has no user
// token to query (it is not a service), the desktop shell's token is used instead
// (CreateProcessWithTokenW). The plug-in never asks for the user's linked (elevated) token.
class Win32UserSession final : public ports::UserSession {
public:
    std::unique_ptr<ports::SessionProcess> Launch(const std::u16string& commandLine) override;
    // The folder of the module this code is linked into, computed once per process.
    std::u16string MessageProgramPath() override;
};

} // namespace win32
