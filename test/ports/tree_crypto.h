#pragma once

#include "ports/crypto.h"

namespace test {

// The real crypto port of the tree: OpenSSL natively, CNG in the Windows build.
ports::Crypto& TreeCrypto();

} // namespace test
