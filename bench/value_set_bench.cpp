// Encode and decode of the value trees the plug-in handles on every request (value_set_fixture.h).
// msgpack-c, packing the same content, is the yardstick for the tree; memcpy for
// the blobs.
#include "plugin_frame/value_set.h"
#include "value_set_fixture.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <msgpack.hpp>
#include <string>
#include <vector>

namespace {

using value_set_fixture::Encoded;
using value_set_fixture::kBlobCount;
using value_set_fixture::kBlobSize;
using value_set_fixture::MonitorAnswer;
using value_set_fixture::Pack;
using value_set_fixture::Packed;
using value_set_fixture::RecordPage;
using VelmorValueSet::ValueSet;

void Encode(benchmark::State& state, const ValueSet& set) {
    std::vector<uint8_t> buffer(set.BodySize());
    for (auto _ : state) {
        uint32_t capacity = static_cast<uint32_t>(buffer.size());
        benchmark::DoNotOptimize(set.Write(buffer.data(), capacity));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * buffer.size()));
}

void Decode(benchmark::State& state, const ValueSet& set) {
    const std::vector<uint8_t> body = Encoded(set);
    for (auto _ : state) {
        ValueSet read;
        benchmark::DoNotOptimize(read.Read(body.data(), static_cast<uint32_t>(body.size())));
        benchmark::DoNotOptimize(read);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * body.size()));
}

void MsgpackEncode(benchmark::State& state, const ValueSet& set) {
    msgpack::sbuffer buffer;
    for (auto _ : state) {
        buffer.clear();
        msgpack::packer<msgpack::sbuffer> packer(buffer);
        Pack(packer, set);
        benchmark::DoNotOptimize(buffer.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * buffer.size()));
}

void MsgpackDecode(benchmark::State& state, const ValueSet& set) {
    const msgpack::sbuffer packed = Packed(set);
    for (auto _ : state) {
        msgpack::object_handle handle = msgpack::unpack(packed.data(), packed.size());
        benchmark::DoNotOptimize(handle.get());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * packed.size()));
}

void BM_AnswerEncode(benchmark::State& state) {
    Encode(state, MonitorAnswer());
}
void BM_AnswerDecode(benchmark::State& state) {
    Decode(state, MonitorAnswer());
}
void BM_AnswerMsgpackEncode(benchmark::State& state) {
    MsgpackEncode(state, MonitorAnswer());
}
void BM_AnswerMsgpackDecode(benchmark::State& state) {
    MsgpackDecode(state, MonitorAnswer());
}

// Building the answer is part of every request too: allocations show here.
void BM_AnswerBuild(benchmark::State& state) {
    for (auto _ : state) {
        ValueSet answer = MonitorAnswer();
        benchmark::DoNotOptimize(answer);
    }
}

void BM_AnswerCopy(benchmark::State& state) {
    const ValueSet answer = MonitorAnswer();
    for (auto _ : state) {
        ValueSet copy;
        copy.CopyFrom(answer);
        benchmark::DoNotOptimize(copy);
    }
}

void BM_BlobsEncode(benchmark::State& state) {
    Encode(state, RecordPage());
}
void BM_BlobsDecode(benchmark::State& state) {
    Decode(state, RecordPage());
}
void BM_BlobsMsgpackEncode(benchmark::State& state) {
    MsgpackEncode(state, RecordPage());
}
void BM_BlobsMsgpackDecode(benchmark::State& state) {
    MsgpackDecode(state, RecordPage());
}

// The yardstick for the blobs: copying the same bytes into one buffer, and out into fresh ones.
void BM_BlobsMemcpyInto(benchmark::State& state) {
    const std::vector<uint8_t> blob(kBlobSize, 0x5A);
    std::vector<uint8_t> out(kBlobCount * kBlobSize);
    for (auto _ : state) {
        for (std::size_t i = 0; i < kBlobCount; ++i) {
            std::memcpy(out.data() + i * kBlobSize, blob.data(), kBlobSize);
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * out.size()));
}

void BM_BlobsMemcpyOut(benchmark::State& state) {
    const std::vector<uint8_t> in(kBlobCount * kBlobSize, 0x5A);
    for (auto _ : state) {
        for (std::size_t i = 0; i < kBlobCount; ++i) {
            std::vector<uint8_t> blob(in.begin() + static_cast<std::ptrdiff_t>(i * kBlobSize),
                                      in.begin() +
                                          static_cast<std::ptrdiff_t>((i + 1) * kBlobSize));
            benchmark::DoNotOptimize(blob.data());
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in.size()));
}

BENCHMARK(BM_AnswerEncode);
BENCHMARK(BM_AnswerMsgpackEncode);
BENCHMARK(BM_AnswerDecode);
BENCHMARK(BM_AnswerMsgpackDecode);
BENCHMARK(BM_AnswerBuild);
BENCHMARK(BM_AnswerCopy);
BENCHMARK(BM_BlobsEncode);
BENCHMARK(BM_BlobsMsgpackEncode);
BENCHMARK(BM_BlobsMemcpyInto);
BENCHMARK(BM_BlobsDecode);
BENCHMARK(BM_BlobsMsgpackDecode);
BENCHMARK(BM_BlobsMemcpyOut);

} // namespace

BENCHMARK_MAIN();
