#include "host_core/host_profile.h"

#include "host_core/answer_render.h"
#include "host_core/plugin_messages.h"

#include <charconv>
#include <utility>

namespace orvex_host {
namespace {

std::string_view Trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::optional<int32_t> Integer(std::string_view text) {
    int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

std::optional<bool> Flag(std::string_view text) {
    if (text == "true" || text == "1") {
        return true;
    }
    if (text == "false" || text == "0") {
        return false;
    }
    return std::nullopt;
}

// Profile files are UTF-8; the plug-in is answered in UTF-16.
std::wstring Wide(std::string_view text) {
    std::wstring wide;
    for (size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        uint32_t point = length == 1 ? lead : lead & (0x7Fu >> length);
        for (size_t k = 1; k < length && i + k < text.size(); ++k) {
            point = point << 6 | (static_cast<unsigned char>(text[i + k]) & 0x3F);
        }
        if (point > 0xFFFF && sizeof(wchar_t) == 2) {
            wide += static_cast<wchar_t>(0xD800 + ((point - 0x10000) >> 10));
            wide += static_cast<wchar_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
        } else {
            wide += static_cast<wchar_t>(point);
        }
        i += length;
    }
    return wide;
}

bool Assign(HostProfile& profile, std::string_view name, std::string_view value) {
    if (name == "MarketingName" || name == "ModelName") {
        (name == "ModelName" ? profile.modelName : profile.marketingName) = Wide(value);
        return true;
    }
    if (name == "PPRead") {
        const std::optional<bool> flag = Flag(value);
        profile.privacyPolicyRead = flag.value_or(false);
        return flag.has_value();
    }
    const std::optional<int32_t> number = Integer(value);
    if (name == "ProductLine" && number) {
        profile.productLine = *number;
        return true;
    }
    if (name == "SubBrand" && number) {
        profile.subBrand = *number;
        return true;
    }
    return false;
}

std::string WideText(const Tree& tree, std::string_view key) {
    const Value* value = tree.Find(key);
    const std::optional<std::wstring> text = value == nullptr ? std::nullopt : value->AsWide();
    return text ? Utf8(*text) : std::string();
}

InsertedRow RowOf(const Tree& request) {
    InsertedRow row{WideText(request, "TableName"), {}};
    const Value* columns = request.Find("Columns");
    const Tree* map = columns == nullptr ? nullptr : columns->AsMap();
    const Value* count = request.Find("Count");
    const int32_t declared = count == nullptr ? 0 : count->AsInt32().value_or(0);
    // Column i is keyed "i"; a count beyond the columns present cannot name more of them.
    const size_t present = map == nullptr ? 0 : map->Entries().size();
    for (size_t i = 0; i < present && std::cmp_less(i, declared); ++i) {
        const Value* column = map->Find(std::to_string(i));
        const Tree* entry = column == nullptr ? nullptr : column->AsMap();
        if (entry != nullptr) {
            row.columns.emplace_back(WideText(*entry, "Name"), WideText(*entry, "Value"));
        }
    }
    return row;
}

std::optional<std::string> EventProblem(const Tree& event) {
    for (const char* key : {"Round", "RecordSN"}) {
        const Value* value = event.Find(key);
        if (value == nullptr || !value->AsInt32()) {
            return "\"DataUpdatedEvent\" without a 32-bit signed \"" + std::string(key) + "\"";
        }
    }
    return std::nullopt;
}

} // namespace

ProfileParse ParseHostProfile(std::string_view text) {
    HostProfile profile;
    for (int number = 1; !text.empty(); ++number) {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = Trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty() || line[0] == '#' || line[0] == ';') {
            continue;
        }
        const size_t equals = line.find('=');
        if (equals == std::string_view::npos ||
            !Assign(profile, Trimmed(line.substr(0, equals)), Trimmed(line.substr(equals + 1)))) {
            return {std::nullopt,
                    "line " + std::to_string(number) + ": not a setting: " + std::string(line)};
        }
    }
    return {profile, {}};
}

HostReply AnswerHostRequest(const HostProfile& profile, const Tree& received) {
    const Tree& request = UnwrapRelay(received);
    HostReply reply;
    reply.problem = RequestRoleProblem(request);
    if (WideText(request, "RequestRole") == "DataUpdatedEvent") {
        const Value* round = request.Find("Round");
        reply.dataUpdated = true;
        reply.round = round == nullptr ? 0 : round->AsInt32().value_or(0);
        reply.problem = EventProblem(request);
        return reply;
    }
    const std::string command = WideText(request, "Cmd");
    if (command == "Query.ProductLine") {
        reply.answer.Set("ProductLine", Value::Int32(profile.productLine));
    } else if (command == "Query.ModelName") {
        reply.answer.Set("MarketingName", Value::Wide(profile.marketingName));
        reply.answer.Set("ModelName", Value::Wide(profile.modelName));
    } else if (command == "Query.SubBrand") {
        reply.answer.Set("SubBrand", Value::Int32(profile.subBrand));
    } else if (command == "Query.UWPInfo") {
        reply.answer.Set("PPRead", Value::Boolean(profile.privacyPolicyRead));
    } else if (command == "InsertData") {
        reply.answer.Set("CommandResult", Value::Boolean(true));
        reply.row = RowOf(request);
    } else {
        reply.result = kUnknownRequest;
    }
    return reply;
}

std::string RowText(const InsertedRow& row) {
    std::string text = row.table + ":";
    for (size_t i = 0; i < row.columns.size(); ++i) {
        text += (i == 0 ? " " : ", ") + row.columns[i].first + "=" + row.columns[i].second;
    }
    return text;
}

} // namespace orvex_host
