#pragma once

// The trees the value-set benchmarks run on, and the same content packed by msgpack-c: a full
// monitor answer (about forty scalars and strings, two nested maps) and a page of seven
// 48,000-byte record blobs.
#include "plugin_frame/value_set.h"

#include <cstdint>
#include <msgpack.hpp>
#include <string>
#include <vector>

namespace value_set_fixture {

using VelmorValueSet::Kind;
using VelmorValueSet::ValueSet;

inline constexpr std::size_t kBlobCount = 7;
inline constexpr std::size_t kBlobSize = 48000;

inline void FillAdapter(ValueSet& gpu, int index) {
    gpu.SetDouble("Frequency", 1590.0 + index);
    gpu.SetDouble("Temprature", 61.5 + index);
    gpu.SetDouble("Usage", 37.25);
    gpu.SetDouble("MemoryFrequency", 8000.0);
    gpu.SetInt32("FanSpeed", 3100 + index);
    gpu.SetInt32("FanAcoustic", 34);
    gpu.SetString("Name", u"Graphics Adapter 4070 Laptop GPU");
    gpu.SetString("DriverVersion", u"31.0.15.5222");
}

inline ValueSet MonitorAnswer() {
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

inline ValueSet RecordPage() {
    ValueSet page;
    const std::vector<uint8_t> blob(kBlobSize, 0x5A);
    for (std::size_t i = 0; i < kBlobCount; ++i) {
        page.SetBlock("RecordDataPage[" + std::to_string(i) + "]", blob.data(), blob.size());
    }
    return page;
}

inline std::vector<uint8_t> Encoded(const ValueSet& set) {
    uint32_t size = set.BodySize();
    std::vector<uint8_t> body(size);
    set.Write(body.data(), size);
    return body;
}

// The same content through msgpack: a map per set, wide strings as their UTF-16LE bytes.
inline void Pack(msgpack::packer<msgpack::sbuffer>& packer, const ValueSet& set) {
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

inline msgpack::sbuffer Packed(const ValueSet& set) {
    msgpack::sbuffer buffer;
    msgpack::packer<msgpack::sbuffer> packer(buffer);
    Pack(packer, set);
    return buffer;
}

} // namespace value_set_fixture
