// Decodes the monitor answer a given number of times with one decoder, for counting instructions
// under callgrind, which stays repeatable on a loaded machine where timings do not. Run it twice
// with different counts: the difference of the totals divided by the difference of the counts is
// one decode, with setup and start-up cancelled out.
//
//   value_set_decode_count ours|msgpack COUNT
#include "value_set_fixture.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <msgpack.hpp>

namespace {

bool DecodeOurs(const std::vector<uint8_t>& body) {
    VelmorValueSet::ValueSet read;
    return read.Read(body.data(), static_cast<uint32_t>(body.size())) && read.Count() != 0;
}

bool DecodeMsgpack(const msgpack::sbuffer& packed) {
    const msgpack::object_handle handle = msgpack::unpack(packed.data(), packed.size());
    return handle.get().type == msgpack::type::MAP;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: value_set_decode_count ours|msgpack COUNT\n", stderr);
        return 2;
    }
    const bool ours = std::strcmp(argv[1], "ours") == 0;
    const long count = std::strtol(argv[2], nullptr, 10);
    const VelmorValueSet::ValueSet answer = value_set_fixture::MonitorAnswer();
    const std::vector<uint8_t> body = value_set_fixture::Encoded(answer);
    const msgpack::sbuffer packed = value_set_fixture::Packed(answer);
    // Called through a volatile pointer, so no decode is folded into the loop or dropped.
    bool (*volatile decodeOurs)(const std::vector<uint8_t>&) = DecodeOurs;
    bool (*volatile decodeMsgpack)(const msgpack::sbuffer&) = DecodeMsgpack;
    long decoded = 0;
    for (long i = 0; i < count; ++i) {
        decoded += (ours ? decodeOurs(body) : decodeMsgpack(packed)) ? 1 : 0;
    }
    std::printf("%ld of %ld decoded (%zu bytes ours, %zu msgpack)\n", decoded, count, body.size(),
                packed.size());
    return decoded == count ? 0 : 1;
}
