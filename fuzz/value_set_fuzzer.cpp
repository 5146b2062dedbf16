// Reads arbitrary bytes as a value-set body. A body that reads must write back to bytes that read
// into the same tree and write again unchanged, a deep copy must equal it too, and it must take new
// keys; one that does not read must leave the set empty.
#include "plugin_frame/value_set.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

using VelmorValueSet::Kind;
using VelmorValueSet::OrvexValue;
using VelmorValueSet::ValueSet;

void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

bool SameTree(const ValueSet& a, const ValueSet& b);

bool SameValue(const OrvexValue& a, const OrvexValue& b) {
    if (a.GetKind() != b.GetKind()) {
        return false;
    }
    if (a.GetKind() == Kind::Map) {
        return SameTree(*a.AsMap(), *b.AsMap());
    }
    const auto pa = a.Payload();
    const auto pb = b.Payload();
    return std::equal(pa.begin(), pa.end(), pb.begin(), pb.end());
}

bool SameTree(const ValueSet& a, const ValueSet& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.key == y.key && x.value && y.value && SameValue(*x.value, *y.value);
    });
}

std::vector<uint8_t> Written(const ValueSet& set) {
    uint32_t size = set.BodySize();
    std::vector<uint8_t> body(size);
    Check(set.Write(body.data(), size));
    Check(size == body.size());
    return body;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    if (size > UINT32_MAX) {
        return 0;
    }
    ValueSet set;
    if (!set.Read(data, static_cast<uint32_t>(size))) {
        Check(set.Empty());
        return 0;
    }
    // Repeated keys collapse, so the tree never needs more bytes than it was read from.
    Check(set.BodySize() <= size);

    const std::vector<uint8_t> body = Written(set);
    ValueSet back;
    Check(back.Read(body.data(), static_cast<uint32_t>(body.size())));
    Check(SameTree(set, back));
    Check(Written(back) == body);

    ValueSet copy;
    copy.CopyFrom(set);
    Check(SameTree(set, copy));

    // A read set takes new keys as any other: first, among and after the keys it holds.
    for (const char* key : {"", "M", "\xFF"}) {
        Check(set.SetInt32(key, 1) && set.GetInt32(key) == 1);
    }
    Check(set.Count() >= 3 && set.Count() <= back.Count() + 3);
    return 0;
}
