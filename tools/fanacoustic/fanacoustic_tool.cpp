#include "fanacoustic/fanacoustic_tool.h"

#include "common/tool_text.h"
#include "fanacoustic/fan_table_text.h"
#include "gpu/fan_acoustic_file.h"
#include "gpu/fan_acoustic_key.h"

#include <fstream>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace {

constexpr std::string_view kUsage =
    "usage: fanacoustic write TABLE FILE     encipher the table TABLE (INI or JSON) into FILE,\n"
    "                                        a Quillon_Config.FanAcoustic.MODEL.cfg the plug-in "
    "reads\n"
    "       fanacoustic print [--json] FILE  print the points the plug-in reads from FILE, as INI\n"
    "                                        (or JSON); write takes either back\n"
    "       fanacoustic --help               show this\n"
    "\n"
    "TABLE as INI:   [CPU]                   TABLE as JSON:\n"
    "                1000 = 20.5               {\"CPU\": [{\"rpm\": 1000, \"level\": 20.5}],\n"
    "                [GPU]                      \"GPU\": [{\"rpm\": 1500, \"level\": 25}]}\n"
    "                1500 = 25\n"
    "Each line is a point: fan speed in rpm = acoustic level. The plug-in adds 0 rpm = 0 unless\n"
    "the table gives a point at 0, interpolates between points and clamps above the last one.\n";

constexpr std::string_view kTool = "fanacoustic: ";

bool WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.close();
    return !file.fail();
}

std::unique_ptr<ports::AesCipher> FileCipher(ports::Crypto& crypto) {
    return crypto.NewAesCipher(gpu::kFanAcousticKey, gpu::kFanAcousticVector);
}

// The curves the plug-in would read from the file, or why it would refuse it.
std::optional<gpu::FanCurves> ReadCurves(const std::vector<uint8_t>& file, ports::Crypto& crypto,
                                         std::string& error) {
    const auto ciphertext = gpu::FanAcousticCiphertext(file, gpu::kFanAcousticVector);
    if (!ciphertext) {
        error = "not a fan acoustic file (its header is not this key's vector and version 1)";
        return std::nullopt;
    }
    const auto plaintext = FileCipher(crypto)->Decrypt(*ciphertext);
    if (!plaintext) {
        error = "does not decipher (cut short, another key or bad padding)";
        return std::nullopt;
    }
    auto curves = gpu::ReadFanCurves(*plaintext);
    if (!curves) {
        error = "deciphers to something that is not a value set";
    }
    return curves;
}

int Write(const std::string& tablePath, const std::string& path, std::ostream& err,
          ports::Crypto& crypto) {
    const auto text = ReadFileBytes(tablePath);
    if (!text) {
        err << kTool << "cannot read " << tablePath << "\n";
        return 1;
    }
    const FanTableParse parsed =
        ParseFanTable({reinterpret_cast<const char*>(text->data()), text->size()});
    if (!parsed.Table) {
        err << kTool << tablePath << ": " << parsed.Error << "\n";
        return 1;
    }
    const std::vector<uint8_t> body = gpu::WriteFanPoints(parsed.Table->Cpu, parsed.Table->Gpu);
    const auto ciphertext = body.empty() ? std::nullopt : FileCipher(crypto)->Encrypt(body);
    if (!ciphertext) {
        err << kTool << "cannot encipher the table of " << tablePath << "\n";
        return 1;
    }
    if (!WriteBytes(path, gpu::FanAcousticFile(gpu::kFanAcousticVector, *ciphertext))) {
        err << kTool << "cannot write " << path << "\n";
        return 1;
    }
    return 0;
}

int Print(const std::string& path, bool json, std::ostream& out, std::ostream& err,
          ports::Crypto& crypto) {
    const auto file = ReadFileBytes(path);
    if (!file) {
        err << kTool << "cannot read " << path << "\n";
        return 1;
    }
    std::string error;
    const auto curves = ReadCurves(*file, crypto, error);
    if (!curves) {
        err << kTool << path << ": " << error << "\n";
        return 1;
    }
    out << (json ? FormatFanCurvesJson(*curves) : FormatFanCurvesIni(*curves));
    return 0;
}

} // namespace

int RunFanAcoustic(std::span<const std::string_view> args, std::ostream& out, std::ostream& err,
                   ports::Crypto& crypto) {
    if (args.size() == 1 && args[0] == "--help") {
        out << kUsage;
        return 0;
    }
    if (args.size() == 3 && args[0] == "write") {
        return Write(std::string(args[1]), std::string(args[2]), err, crypto);
    }
    if (args.size() == 2 && args[0] == "print") {
        return Print(std::string(args[1]), false, out, err, crypto);
    }
    if (args.size() == 3 && args[0] == "print" && args[1] == "--json") {
        return Print(std::string(args[2]), true, out, err, crypto);
    }
    err << kUsage;
    return 2;
}
