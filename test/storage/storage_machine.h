#pragma once

#include "fake_host.h"
#include "ms_printf.h"
#include "plugin_frame/value_set.h"
#include "sim/fake_physical_drives.h"
#include "sim/fake_system_messages.h"
#include "storage/nvme_drive.h"
#include "storage/system_records.h"
#include "test_plugin.h"

#include <string>
#include <utility>
#include <vector>

// A simulated laptop around the NVMe drives and the system records: a test plug-in on the fake
// host, whose data store takes every row (the privacy policy has been read).
class StorageMachine {
public:
    using ValueSet = VelmorValueSet::ValueSet;

    // One row as the data store received it: table, then (name, value) per column in order.
    struct Row {
        std::u16string Table;
        int32_t Count = 0;
        std::vector<std::pair<std::u16string, std::u16string>> Columns;
    };

    StorageMachine() : plugin(new TestPlugin(0, host.Heap())) {
        host.Install(*plugin);
        host.answer = [this](const FakeHost::SentRequest& request, ValueSet& answer) {
            const std::u16string cmd = FakeHost::BodyOf(request.message).GetString("Cmd");
            if (cmd == u"Query.UWPInfo") {
                answer.SetBool("PPRead", true);
                return 0;
            }
            answer.SetBool("CommandResult", storeAccepts);
            return storeResult;
        };
    }

    // Puts `count` in the registry and these drives at numbers 0, 1, ...
    void Drives(std::vector<sim::FakePhysicalDrives::Drive> list) {
        physical.SetDiskEnum({0, static_cast<uint32_t>(list.size())});
        for (uint32_t number = 0; number < list.size(); ++number) {
            physical.SetDrive(number, std::move(list[number]));
        }
    }

    std::vector<Row> Rows() const {
        std::vector<Row> rows;
        for (const auto& request : host.requests) {
            const ValueSet body = FakeHost::BodyOf(request.message);
            if (body.GetString("Cmd") != u"InsertData") {
                continue;
            }
            Row row{body.GetString("TableName"), body.GetInt32("Count"), {}};
            if (const ValueSet* columns = body.FindMap("Columns")) {
                for (int32_t i = 0; i < row.Count; ++i) {
                    const ValueSet* column = columns->FindMap(std::to_string(i));
                    if (column != nullptr) {
                        row.Columns.emplace_back(column->GetString("Name"),
                                                 column->GetString("Value"));
                    }
                }
            }
            rows.push_back(std::move(row));
        }
        return rows;
    }

    // Every log line as "level text".
    std::vector<std::string> Logs() const {
        std::vector<std::string> lines;
        for (const auto& line : host.logs) {
            lines.push_back(std::to_string(line.level) + " " + ToUtf8(line.text));
        }
        return lines;
    }

    FakeHost host;
    PluginRef plugin;
    bool storeAccepts = true;
    HRESULT storeResult = 0;
    sim::FakePhysicalDrives physical;
    sim::FakeSystemMessages messages;
    storage::NVMeDrives nvme{*plugin, physical};
    storage::SystemRecords records{*plugin, messages};
};
