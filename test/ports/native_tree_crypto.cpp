#include "sim/openssl_crypto.h"
#include "tree_crypto.h"

namespace test {

ports::Crypto& TreeCrypto() {
    static sim::OpensslCrypto crypto;
    return crypto;
}

} // namespace test
