#pragma once

#include "fake_host.h"
#include "gpu/fan_acoustic.h"
#include "gpu/fan_acoustic_file.h"
#include "gpu/fan_acoustic_key.h"
#include "gpu/gpu_information.h"
#include "ms_printf.h"
#include "plugin_frame/value_set.h"
#include "sim/fake_display_adapters.h"
#include "sim/fake_docking_controller.h"
#include "sim/fake_encrypt_helper.h"
#include "sim/fake_helper_library.h"
#include "sim/memory_files.h"
#include "sim/memory_profile_strings.h"
#include "test_plugin.h"
#include "fanacoustic/tree_crypto.h"

#include <gtest/gtest.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace gpu_test {

using VelmorValueSet::Kind;
using VelmorValueSet::ValueSet;

// The plain clock table of the model "GE78" in the common application-data folder.
inline const std::u16string kEncipheredPath =
    u"C:\\ProgramData\\Velmor\\QUILLON Config\\Data\\Quillon_Config.VgaOc.GE78.enc";
inline const std::u16string kPlainPath =
    u"C:\\ProgramData\\Velmor\\QUILLON Config\\Data\\Quillon_Config.VgaOc.GE78.ini";

// A simulated laptop around one GpuInformation: the host answers "ModelName" with the model
// "GE78" (marketing name "Raider GE78 HX") and "SubBrand" with the integer 1.
class GpuMachine {
public:
    GpuMachine()
        : plugin(new TestPlugin(0, host.Heap())), encrypt(files), profiles(files),
          fanAcoustic(TreeCrypto(), files, files),
          gpu(*plugin, {adapters, dock, helper, {encrypt, profiles, files, files}}, fanAcoustic) {
        host.Install(*plugin);
        host.answer = [this](const FakeHost::SentRequest& request, ValueSet& answer) {
            return Answer(request, answer);
        };
        helper.Change([](auto& answers) { answers.Firmware.clear(); });
    }

    // Answers a query with what the test put in queryAnswers; a query not there fails.
    HRESULT Answer(const FakeHost::SentRequest& request, ValueSet& answer) {
        const std::u16string cmd = FakeHost::BodyOf(request.message).GetString("Cmd");
        const auto found = queryAnswers.find(ToUtf8(cmd));
        if (found == queryAnswers.end()) {
            return static_cast<HRESULT>(0x80004005u);
        }
        found->second(answer);
        return 0;
    }

    // Loads a fan acoustic table of the model "GE78" with these points.
    void LoadFanTable(std::vector<gpu::FanPoint> cpuPoints, std::vector<gpu::FanPoint> gpuPoints) {
        const auto cipher =
            TreeCrypto().NewAesCipher(gpu::kFanAcousticKey, gpu::kFanAcousticVector);
        const auto ciphertext = cipher->Encrypt(gpu::WriteFanPoints(cpuPoints, gpuPoints));
        ASSERT_TRUE(ciphertext.has_value());
        files.Put(gpu::FanAcoustic::FilePath(u"C:\\ProgramData", u"GE78"),
                  gpu::FanAcousticFile(gpu::kFanAcousticVector, *ciphertext));
        ASSERT_EQ(fanAcoustic.Load(u"GE78"), 1);
    }

    std::vector<std::string> Logs() const {
        std::vector<std::string> lines;
        for (const auto& line : host.logs) {
            lines.push_back(std::to_string(line.level) + " " + ToUtf8(line.text));
        }
        return lines;
    }

    void Firmware(uint32_t status, int32_t returned = 1) {
        helper.Change([&](auto& answers) {
            answers.Firmware[0x00110014] = ports::FirmwareReply{returned, status};
        });
    }

    std::map<std::string, std::function<void(ValueSet&)>> queryAnswers = {
        {"Query.ModelName",
         [](ValueSet& answer) {
             answer.SetString("MarketingName", u"Raider GE78 HX");
             answer.SetString("ModelName", u"GE78");
         }},
        {"Query.SubBrand", [](ValueSet& answer) { answer.SetInt32("SubBrand", 1); }},
    };

    FakeHost host;
    PluginRef plugin;
    sim::FakeDisplayAdapters adapters;
    sim::FakeDockingController dock;
    sim::FakeHelperLibrary helper{sim::FakeHelperLibrary::IntelLaptop()};
    sim::MemoryFiles files;
    sim::FakeEncryptHelper encrypt;
    sim::MemoryProfileStrings profiles;
    gpu::FanAcoustic fanAcoustic;
    gpu::GpuInformation gpu;
};

// The keys of a set in order, each with its kind.
inline std::vector<std::pair<std::string, Kind>> KeysOf(const ValueSet& set) {
    std::vector<std::pair<std::string, Kind>> keys;
    for (const auto& entry : set) {
        keys.emplace_back(std::string(std::string_view(entry.key)), entry.value->GetKind());
    }
    return keys;
}

} // namespace gpu_test
