// A plug-in module for the binary-interface tests only: the frame with a command table that makes
// it send what the test asks for, so the test host sees the frame's messages across the real
// boundary. It is the frame's test plug-in (the monitor plug-in's identity) with commands added;
// each command returns the frame operation's result as its own.
#include "plugin_frame/value_set.h"
#include "test_plugin.h"
#include "win32/process_heap.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <span>
#include <string>
#include <vector>

namespace {

using VelmorValueSet::ValueSet;

win32::ProcessHeap g_processHeap;

GUID GuidFrom(std::span<const uint8_t> bytes) {
    GUID id{};
    std::memcpy(&id, bytes.data(), std::min(bytes.size(), sizeof id));
    return id;
}

// The texts under "0", "1", … of a map, as the count the frame reads; missing entries stay null.
// The pointer array always has a slot more, so even an empty one is present.
class TextArray {
public:
    TextArray(const ValueSet* map, int32_t count) {
        const auto size = static_cast<std::size_t>(std::max(count, 0));
        texts_.resize(size);
        pointers_.resize(size + 1, nullptr);
        for (std::size_t i = 0; map != nullptr && i < size; ++i) {
            const std::string key = std::to_string(i);
            if (map->Contains(key)) {
                texts_[i] = map->GetString(key);
                pointers_[i] = texts_[i].c_str();
            }
        }
    }
    const char16_t* const* Pointers() const { return pointers_.data(); }

private:
    std::vector<std::u16string> texts_;
    std::vector<const char16_t*> pointers_;
};

// The map under the key, or an empty one when the key is missing or holds another kind.
const ValueSet& MapOr(const ValueSet& request, std::string_view key) {
    static const ValueSet empty;
    const ValueSet* map = request.FindMap(key);
    return map != nullptr ? *map : empty;
}

// What came back from the host under "Response", the frame's result under "Result".
HRESULT Answer(ValueSet& response, const ValueSet& answer, HRESULT result) {
    if (ValueSet* copy = response.CreateMap("Response")) {
        copy->CopyFrom(answer);
    }
    response.SetInt32("Result", result);
    return result;
}

void AddProbeCommands(TestPlugin& plugin) {
    plugin.AddCommand(u"Notify", [&plugin](void*, ValueSet& request, ValueSet&) {
        return plugin.Notify(static_cast<uint8_t>(request.GetUInt32("Code")),
                             MapOr(request, "Payload"));
    });
    plugin.AddCommand(u"SendRequest", [&plugin](void*, ValueSet& request, ValueSet& response) {
        ValueSet answer;
        const HRESULT result =
            plugin.SendRequest(GuidFrom(request.GetBlock("Target")), MapOr(request, "Request"),
                               answer, static_cast<uint8_t>(request.GetUInt32("Destination")));
        return Answer(response, answer, result);
    });
    plugin.AddCommand(u"Query", [&plugin](void*, ValueSet& request, ValueSet& response) {
        const std::u16string name = request.GetString("Name");
        const char16_t* named = request.Contains("Name") ? name.c_str() : nullptr;
        ValueSet answer;
        const HRESULT result = request.Contains("Payload")
                                   ? plugin.Query(named, MapOr(request, "Payload"), answer)
                                   : plugin.Query(named, answer);
        return Answer(response, answer, result);
    });
    plugin.AddCommand(u"Toast", [&plugin](void*, ValueSet& request, ValueSet&) {
        const std::u16string title = request.GetString("Title");
        const std::u16string content = request.GetString("Content");
        return request.Contains("Logo") ? plugin.Toast(title, content, request.GetString("Logo"))
                                        : plugin.Toast(title, content);
    });
    plugin.AddCommand(u"InsertData", [&plugin](void*, ValueSet& request, ValueSet&) {
        const int32_t count = request.GetInt32("Count");
        const TextArray names(request.FindMap("Names"), count);
        const TextArray values(request.FindMap("Values"), count);
        return plugin.InsertData(request.GetString("TableName"),
                                 request.Contains("Names") ? names.Pointers() : nullptr,
                                 request.Contains("Values") ? values.Pointers() : nullptr, count);
    });
}

} // namespace

extern "C" __declspec(dllexport) IOrvexPlugin* QueryLibrary(uint32_t hostMode) {
    try {
        auto* plugin = new (std::nothrow) TestPlugin(hostMode, g_processHeap);
        if (plugin != nullptr) {
            AddProbeCommands(*plugin);
        }
        return plugin;
    } catch (...) {
        return nullptr;
    }
}
