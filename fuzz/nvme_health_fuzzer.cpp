// Any drive answer to the health page query: the first four bytes are the count the drive
// reports, the rest what it wrote. Read once as written into the whole query block and once as
// an answer exactly as long as the bytes given, so a read past the drive's bytes is caught.
#include "storage/nvme_health_query.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

void Check(const std::optional<storage::health_query::HealthLog>& log) {
    if (!log) {
        return;
    }
    switch (log->CriticalWarning) {
    case 0:
    case 1:
    case 2:
    case 4:
    case 8:
    case 16:
    case -32:
        return;
    default:
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace storage::health_query;
    if (size < 4) {
        return 0;
    }
    uint32_t returned = 0;
    std::memcpy(&returned, data, sizeof returned);
    const std::vector<uint8_t> written(data + 4, data + size);

    Block block = NewHealthQuery();
    std::copy_n(written.begin(), std::min(written.size(), block.size()), block.begin());
    Check(ReadHealthAnswer(block, returned));
    Check(ReadHealthAnswer(written, returned));
    return 0;
}
