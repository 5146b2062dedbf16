// The background workers of MonitorPlugin.dll under Wine: the global events that link a service
// instance and a user-session instance in one process, and a shutdown that leaves no thread or
// handle behind. The module lies in a folder of its own beside a stand-in helper library that
// says the product has been used and names no processor vendor, so no collection waits for the
// tuning utility.
#include "host/process_handles.h"
#include "monitor_plugin_test.h"
#include "standins/scenario_file.h"

#include <chrono>
#include <cstdio>
#include <tlhelp32.h>

namespace abi_test {
namespace {

using test_host::TestHost;
using namespace std::chrono_literals;

std::wstring WorkersFolder() {
    return test_host::WindowsFolder(WORKERS_PLUGIN_DIR);
}

// The threads of this process, from a system snapshot.
size_t ThreadCount() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE) {
        return 0;
    }
    size_t count = 0;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) {
            ++count;
        }
    }
    CloseHandle(snapshot);
    return count;
}

size_t HandleCount() {
    return test_host::OpenHandleCount().value_or(0);
}

// The "freq" of every "SysInfo" row the plug-in sent.
std::vector<std::wstring> Reasons(const TestHost& host) {
    std::vector<std::wstring> reasons;
    for (const auto& request : host.Requests()) {
        const auto body = test_host::Decode(request.message.body);
        const auto* cmd = body ? body->Find("Cmd") : nullptr;
        if (cmd == nullptr || cmd->AsWide().value_or(L"").c_str() != std::wstring(L"InsertData")) {
            continue;
        }
        const auto* columns = body->Find("Columns");
        const auto* first = columns != nullptr && columns->AsMap() != nullptr
                                ? columns->AsMap()->Find("0")
                                : nullptr;
        const auto* value =
            first != nullptr && first->AsMap() != nullptr ? first->AsMap()->Find("Value") : nullptr;
        reasons.push_back(value != nullptr ? value->AsWide().value_or(L"").c_str() : L"?");
    }
    return reasons;
}

// A service instance whose three workers have started.
void StartService(TestHost& service) {
    ASSERT_NE(service.Plugin(), nullptr);
    ASSERT_TRUE(service.InstallAll());
    ASSERT_EQ(service.Table().Initialize(service.Plugin()), 0);
    for (const wchar_t* line :
         {L"Enter DoRecordSysInfoByPeriod", L"Enter DoWaitingPowerResumeEvent",
          L"Enter DoMonitorPluginInitialize"}) {
        ASSERT_TRUE(service.WaitForLog(line, 30s)) << line;
    }
}

void StartUserSession(TestHost& user) {
    ASSERT_NE(user.Plugin(), nullptr);
    ASSERT_TRUE(user.InstallAll());
    ASSERT_EQ(user.Table().Initialize(user.Plugin()), 0);
}

class BackgroundWorkersTest : public ::testing::Test {
protected:
    void SetUp() override {
        standin::ScenarioFolder(WorkersFolder())
            .Write("NativeCorvaneHelper", "GetCPUVendor=0\nHasBeenUsed=1\n");
    }
};

TEST_F(BackgroundWorkersTest, a_user_session_instance_starts_the_service_instances_first_record) {
    TestHost service(WorkersFolder(), kPluginFile, 0);
    StartService(service);
    const HANDLE started = OpenEventW(SYNCHRONIZE, FALSE, L"Global\\FirstUserSessionStart");
    ASSERT_NE(started, nullptr);
    EXPECT_EQ(WaitForSingleObject(started, 0), static_cast<DWORD>(WAIT_TIMEOUT));

    TestHost user(WorkersFolder(), kPluginFile, 1);
    StartUserSession(user);
    EXPECT_EQ(WaitForSingleObject(started, 0), WAIT_OBJECT_0);
    CloseHandle(started);

    // Five seconds after the session started the service instance records reason 10.
    ASSERT_TRUE(service.WaitForLog(L"Exit DoMonitorPluginInitialize", 60s));
    EXPECT_TRUE(service.WaitForLog(L"DoRecordSysInfoByEvent HasBeenUsed: TRUE", 0s));
    EXPECT_EQ(Reasons(service), std::vector<std::wstring>{L"10"});
    user.Table().Uninitialize(user.Plugin());
    service.Table().Uninitialize(service.Plugin());
}

TEST_F(BackgroundWorkersTest, the_global_power_resume_event_wakes_the_service_instances_worker) {
    TestHost service(WorkersFolder(), kPluginFile, 0);
    StartService(service);
    TestHost user(WorkersFolder(), kPluginFile, 1);
    StartUserSession(user);
    // The user-session instance does not react to resume ...
    test_host::abi::EventHandler* userEvents = user.EventHandler();
    ASSERT_NE(userEvents, nullptr);
    userEvents->table->OnPowerChange(userEvents, 7, nullptr);
    // ... while the same global event, set by name, makes the service instance record.
    const HANDLE resume = OpenEventW(EVENT_MODIFY_STATE, FALSE, L"Global\\ACPowerResume");
    ASSERT_NE(resume, nullptr);
    const size_t requestsBefore = service.Requests().size();
    SetEvent(resume);
    CloseHandle(resume);
    ASSERT_TRUE(service.WaitForLog(L"m_hPowerResumeEvent triggered", 30s));
    // Other requests (the host queries) may come first: wait request by request for the row.
    for (size_t count = requestsBefore + 1;
         Reasons(service).empty() && service.WaitForRequests(count, 30s); ++count) {
    }
    EXPECT_EQ(Reasons(service), std::vector<std::wstring>{L"13"});
    EXPECT_TRUE(Reasons(user).empty());
    user.Table().Uninitialize(user.Plugin());
    service.Table().Uninitialize(service.Plugin());
}

// One service instance from load to unload, in the module's build folder where no maker library
// lies, so only the workers' own objects come and go; gives how long Uninitialize took.
std::chrono::microseconds ServiceLife() {
    TestHost service(PluginFolder(), kPluginFile, 0);
    StartService(service);
    const auto begin = std::chrono::steady_clock::now();
    service.Table().Uninitialize(service.Plugin());
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() -
                                                                 begin);
}

TEST_F(BackgroundWorkersTest, uninitialize_then_release_leaves_no_thread_or_handle_behind) {
    ServiceLife(); // the first load may set up lasting process state (loader, C run-time)
    const size_t threads = ThreadCount();
    const size_t handles = HandleCount();
    ASSERT_GT(threads, 0u);
    ASSERT_GT(handles, 0u);
    for (int cycle = 0; cycle < 5; ++cycle) {
        const auto took = ServiceLife();
        // A figure for the record, not a check: how long the workers took to stop.
        std::printf("Uninitialize took %lld us\n", static_cast<long long>(took.count()));
    }
    EXPECT_EQ(ThreadCount(), threads);
    EXPECT_EQ(HandleCount(), handles);
}

} // namespace
} // namespace abi_test
