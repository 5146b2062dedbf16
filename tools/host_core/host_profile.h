#pragma once
// What the reference host answers the plug-in's own requests with, from a small profile file:
//
//   # the laptop the host pretends to be
//   ProductLine = 1
//   MarketingName = Orvex Blade 15
//   ModelName = OB15-G5
//   SubBrand = 1
//   PPRead = true
//
// Lines are "Name = value"; blank lines and lines starting with '#' or ';' are skipped.
#include "host_core/value_tree.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvex_host {

struct HostProfile {
    int32_t productLine = 1;
    std::wstring marketingName = L"Orvex Reference Laptop";
    std::wstring modelName = L"ORX-REF1";
    int32_t subBrand = 0;
    bool privacyPolicyRead = true;
};

struct ProfileParse {
    std::optional<HostProfile> profile;
    std::string error; // "line N: ..." when the profile is refused
};

// Unknown names and values that do not read as their type are refused with the line number.
ProfileParse ParseHostProfile(std::string_view text);

// A row the plug-in asked the host to insert into its store.
struct InsertedRow {
    std::string table;
    std::vector<std::pair<std::string, std::string>> columns; // name and value, in index order
};

// What the host answers one request of the plug-in with.
struct HostReply {
    int32_t result = 0;
    Tree answer;                        // empty: no answer buffer
    std::optional<InsertedRow> row;     // for "InsertData"
    bool dataUpdated = false;           // a recording's "DataUpdatedEvent"
    int32_t round = 0;                  // its "Round"
    std::optional<std::string> problem; // a request the plug-in should not have sent so
};

// Code for a request the host does not know (E_NOTIMPL).
inline constexpr int32_t kUnknownRequest = static_cast<int32_t>(0x80004001);

// "Query.ProductLine" → {"ProductLine"}; "Query.ModelName" → {"MarketingName", "ModelName"};
// "Query.SubBrand" → {"SubBrand"}; "Query.UWPInfo" → {"PPRead"} (boolean); "InsertData" →
// {"CommandResult" = true} and the row; a tree whose "RequestRole" is "DataUpdatedEvent" → no
// answer, result 0; anything else → kUnknownRequest. A request relayed to another role is
// answered as the request it carries. `problem` names a "RequestRole" that is not a wide string
// or an event's "Round" or "RecordSN" that is not a 32-bit signed integer.
HostReply AnswerHostRequest(const HostProfile& profile, const Tree& request);

// "table: name=value, name=value".
std::string RowText(const InsertedRow& row);

} // namespace orvex_host
