#pragma once

#include "ports/crypto.h"

// The real cipher of the tree: OpenSSL natively, CNG in the Windows build. The tool writes and
// reads files with it, and tests use it to prove the plug-in reads what the tool writes.
ports::Crypto& TreeCrypto();
