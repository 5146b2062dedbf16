// Encode and decode of the value trees the plug-in handles on every request: a full monitor
// answer (about forty scalars and strings, two nested maps) and a page of seven 48,000-byte
// record blobs. msgpack-c, packing the same content, is the yardstick for the tree; memcpy for
// the blobs.
#include "plugin_frame/value_set.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <msgpack.hpp>
#include <string>
#include <vector>

namespace {

using VelmorValueSet::Kind;
using VelmorValueSet::OrvexValue;
using VelmorValueSet::ValueSet;

constexpr std::size_t kBlobCount = 7;
constexpr std::size_t kBlobSize = 48000;

void FillAdapter(ValueSet& gpu, int index) {
    gpu.SetDouble("Frequency", 1590.0 + index);
    gpu.SetDouble("Temprature", 61.5 + index);
    gpu.SetDouble("Usage", 37.25);
    gpu.SetDouble("MemoryFrequency", 8000.0);
    gpu.SetInt32("FanSpeed", 3100 + index);
    gpu.SetInt32("FanAcoustic", 34);
    gpu.SetString("Name", u"Graphics Adapter 4070 Laptop GPU");
    gpu.SetString("DriverVersion", u"31.0.15.5222");
}

ValueSet MonitorAnswer() {
    ValueSet answer;
    const char* doubles[] = {
        "CPUFrequency",    "CPUTemprature",    "CPUUsage",        "CPUVoltage",
        "MaxCPUFrequency", "MaxCPUTemprature", "CPUPackagePower", "MemoryUsage",
        "DiskActiveTime",  "DiskReadSpeed",    "DiskWriteSpeed",  "MaxGPUTemprature",
        "GPUTotalPower",   "MaxGPUFrequency",  "BatteryLevel",    "CPUFanAcoustic"};
    double value = 1.25;
    for (const char* key : doubles) {
        answer.SetDouble(key, value *= 1.7);
    }
    const char* ints[] = {"Error",      "CPUFanSpeed", "GPUFanSpeed",  "MemoryTotal",
                          "MemoryUsed", "DiskCount",   "CPUCoreCount", "CPUThreadCount",
                          "IsACPower",  "GPUCount"};
    int32_t number = 3;
    for (const char* key : ints) {
        answer.SetInt32(key, number *= 3);
    }
    answer.SetString("CPUName", u"13th Gen Intel(R) Core(TM) i9-13980HX");
    answer.SetString("Model", u"QUILLON G16 GU603");
    answer.SetString("BIOSVersion", u"GU603VI.312");
    answer.SetString("OSVersion", u"10.0.22631");
    FillAdapter(*answer.CreateMap("dGPU"), 0);
    FillAdapter(*answer.CreateMap("iGPU"), 1);
    return answer;
}

ValueSet RecordPage() {
    ValueSet page;
    const std::vector<uint8_t> blob(kBlobSize, 0x5A);
    for (std::size_t i = 0; i < kBlobCount; ++i) {
        page.SetBlock("RecordDataPage[" + std::to_string(i) + "]", blob.data(), blob.size());
    }
    return page;
}

std::vector<uint8_t> Encoded(const ValueSet& set) {
    uint32_t size = set.BodySize();
    std::vector<uint8_t> body(size);
    set.Write(body.data(), size);
    return body;
}

// The same content through msgpack: a map per set, wide strings as their UTF-16LE bytes.
void Pack(msgpack::packer<msgpack::sbuffer>& packer, const ValueSet& set) {
    packer.pack_map(static_cast<uint32_t>(set.Count()));
    for (const auto& [key, value] : set) {
        packer.pack(std::string_view(key));
        switch (value->GetKind()) {
        case Kind::Double:
            packer.pack_double(value->AsDouble());
            break;
        case Kind::Int32:
            packer.pack_int32(value->AsInt32());
            break;
        case Kind::Map:
            Pack(packer, *value->AsMap());
            break;
        default: {
            const auto bytes = value->Payload();
            packer.pack_bin(static_cast<uint32_t>(bytes.size()));
            packer.pack_bin_body(reinterpret_cast<const char*>(bytes.data()),
                                 static_cast<uint32_t>(bytes.size()));
        }
        }
    }
}

msgpack::sbuffer Packed(const ValueSet& set) {
    msgpack::sbuffer buffer;
    msgpack::packer<msgpack::sbuffer> packer(buffer);
    Pack(packer, set);
    return buffer;
}

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
