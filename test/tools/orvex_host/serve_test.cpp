// `orvex-host serve` under Wine against the real DLL, over real sockets: both paths answer, a
// request that cannot be parsed gets 400 and the server goes on answering.
#include "win32/unique_handle.h"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <winsock2.h>

namespace {

// The server answers this many connections, then ends by itself.
constexpr int kServedRequests = 5;

struct SocketTraits {
    using Value = SOCKET;
    static Value Empty() noexcept { return INVALID_SOCKET; }
    static void Close(Value value) noexcept { closesocket(value); }
};
using UniqueSocket = win32::UniqueAny<SocketTraits>;

std::wstring Wide(const char* text) {
    return std::wstring(text, text + std::char_traits<char>::length(text));
}

// orvex-host serve on any free port, its standard output on a pipe this test reads.
class Server {
public:
    Server() {
        SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
        HANDLE read = nullptr;
        HANDLE write = nullptr;
        if (!CreatePipe(&read, &write, &inherit, 0)) {
            return;
        }
        output_.reset(read);
        const win32::UniqueHandle childEnd(write);
        SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = write;
        startup.hStdError = write;
        startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
        std::wstring command = L"\"" + Wide(ORVEX_HOST_EXE) + L"\" --plugin-dir \"" +
                               Wide(MONITOR_PLUGIN_DIR) + L"\" serve --port 0 --requests " +
                               std::to_wstring(kServedRequests);
        for (wchar_t& c : command) {
            c = c == L'/' ? L'\\' : c;
        }
        PROCESS_INFORMATION started{};
        if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                           &startup, &started)) {
            process_.reset(started.hProcess);
            CloseHandle(started.hThread);
        }
    }

    // The port of the first line, "serving http://127.0.0.1:PORT/data.json and ...".
    std::optional<int> Port() {
        const std::string marker = "http://127.0.0.1:";
        while (printed_.find('\n') == std::string::npos && ReadMore()) {
        }
        const size_t at = printed_.find(marker);
        if (at == std::string::npos) {
            return std::nullopt;
        }
        return std::atoi(printed_.c_str() + at + marker.size());
    }

    // Its exit code once it has ended (it ends after kServedRequests answers).
    std::optional<DWORD> ExitCode() {
        while (ReadMore()) {
        }
        if (!process_ || WaitForSingleObject(process_.get(), 60000) != WAIT_OBJECT_0) {
            return std::nullopt;
        }
        DWORD code = 0;
        GetExitCodeProcess(process_.get(), &code);
        return code;
    }

    const std::string& Printed() const { return printed_; }

private:
    bool ReadMore() {
        char chunk[512];
        DWORD count = 0;
        if (!output_ || !ReadFile(output_.get(), chunk, sizeof chunk, &count, nullptr) ||
            count == 0) {
            return false;
        }
        printed_.append(chunk, count);
        return true;
    }

    win32::UniqueHandle output_;
    win32::UniqueHandle process_;
    std::string printed_;
};

// Sends `request` on a new connection and reads the whole response (the server closes it).
std::string Exchange(int port, const std::string& request) {
    UniqueSocket client(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<u_short>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (!client ||
        connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return "connect failed";
    }
    send(client.get(), request.data(), static_cast<int>(request.size()), 0);
    std::string response;
    char chunk[4096];
    for (int count; (count = recv(client.get(), chunk, sizeof chunk, 0)) > 0;) {
        response.append(chunk, static_cast<size_t>(count));
    }
    return response;
}

std::string Get(int port, const char* path) {
    return Exchange(port, std::string("GET ") + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
}

std::string Body(const std::string& response) {
    const size_t end = response.find("\r\n\r\n");
    return end == std::string::npos ? std::string() : response.substr(end + 4);
}

class ServeTest : public testing::Test {
protected:
    void SetUp() override {
        WSADATA data{};
        ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    }
    void TearDown() override { WSACleanup(); }
};

TEST_F(ServeTest, both_paths_answer_and_a_garbage_request_gets_400_without_stopping_the_server) {
    Server server;
    const std::optional<int> port = server.Port();
    ASSERT_TRUE(port) << server.Printed();

    const std::string json = Get(*port, "/data.json");
    EXPECT_EQ(json.rfind("HTTP/1.1 200 OK\r\n", 0), 0u) << json;
    EXPECT_NE(json.find("Content-Type: application/json\r\n"), std::string::npos);
    EXPECT_EQ(Body(json).rfind("{\"monitor\": {", 0), 0u) << json;
    EXPECT_NE(Body(json).find("\"Command\": 1"), std::string::npos) << json;
    EXPECT_NE(Body(json).find("\"disk\": {"), std::string::npos) << json;
    std::ofstream("served_data.json", std::ios::binary) << Body(json);

    const std::string metrics = Get(*port, "/metrics");
    EXPECT_EQ(metrics.rfind("HTTP/1.1 200 OK\r\n", 0), 0u) << metrics;
    EXPECT_NE(metrics.find("Content-Type: text/plain; version=0.0.4"), std::string::npos);
    EXPECT_NE(Body(metrics).find("# TYPE orvex_memory_total gauge\n"), std::string::npos)
        << metrics;
    EXPECT_NE(Body(metrics).find("\norvex_gpu_total_graphics_power_watts "), std::string::npos)
        << metrics;

    const std::string garbage = Exchange(*port, "\x16\x03\x01 hello there\r\n\r\n");
    EXPECT_EQ(garbage.rfind("HTTP/1.1 400 Bad Request\r\n", 0), 0u) << garbage;

    const std::string again = Get(*port, "/data.json");
    EXPECT_EQ(again.rfind("HTTP/1.1 200 OK\r\n", 0), 0u) << again;
    EXPECT_NE(Body(again).find("\"Command\": 1"), std::string::npos) << again;

    const std::string missing = Get(*port, "/nothing");
    EXPECT_EQ(missing.rfind("HTTP/1.1 404 Not Found\r\n", 0), 0u) << missing;

    EXPECT_EQ(server.ExitCode(), 0u) << server.Printed();
}

} // namespace
