#include "serve_command.h"

#include "host_core/console_text.h"
#include "host_core/http_exchange.h"
#include "host_core/prometheus.h"
#include "interrupt.h"
#include "show_commands.h"

#include <cstdio>
#include <winsock2.h>

namespace orvex_host {
namespace {

// A client that sends nothing for this long gets no answer.
constexpr DWORD kReceiveTimeoutMs = 5000;

struct SocketTraits {
    using Value = SOCKET;
    static Value Empty() noexcept { return INVALID_SOCKET; }
    static void Close(Value value) noexcept { closesocket(value); }
};
using UniqueSocket = win32::UniqueAny<SocketTraits>;

struct WsaEventTraits {
    using Value = WSAEVENT;
    static Value Empty() noexcept { return WSA_INVALID_EVENT; }
    static void Close(Value value) noexcept { WSACloseEvent(value); }
};
using UniqueWsaEvent = win32::UniqueAny<WsaEventTraits>;

class Winsock {
public:
    Winsock() {
        WSADATA data{};
        ready_ = WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }
    Winsock(const Winsock&) = delete;
    Winsock& operator=(const Winsock&) = delete;
    ~Winsock() {
        if (ready_) {
            WSACleanup();
        }
    }
    bool Ready() const { return ready_; }

private:
    bool ready_ = false;
};

// The documents both paths serve, asked of the plug-in again only once the gate allows.
class Documents {
public:
    explicit Documents(PluginSession& session) : session_(session) {}

    const ServedDocuments& Current() {
        if (gate_.Due(RefreshGate::Clock::now())) {
            if (const std::optional<SnapshotAnswers> snapshot = TakeSnapshot(session_)) {
                documents_ = {SnapshotJson(*snapshot),
                              RenderPrometheus(snapshot->monitor, snapshot->disk)};
            }
        }
        return documents_;
    }

private:
    PluginSession& session_;
    RefreshGate gate_;
    ServedDocuments documents_{"{}\n", ""};
};

// 127.0.0.1:port, listening, with accepts signalled on `accepted`.
UniqueSocket Listen(int port, WSAEVENT accepted) {
    UniqueSocket listener(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    const BOOL exclusive = TRUE;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<u_short>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (!listener ||
        setsockopt(listener.get(), SOL_SOCKET, SO_EXCLUSIVEADDRUSE,
                   reinterpret_cast<const char*>(&exclusive), sizeof exclusive) != 0 ||
        bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener.get(), SOMAXCONN) != 0 ||
        WSAEventSelect(listener.get(), accepted, FD_ACCEPT) != 0) {
        return UniqueSocket();
    }
    return listener;
}

int BoundPort(SOCKET listener) {
    sockaddr_in address{};
    int size = sizeof address;
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

// Reads the request head (up to the longest the parser takes); nothing arrived and the peer
// closed or went quiet gives an empty text.
ParsedHead ReceiveHead(SOCKET client) {
    std::string received;
    char chunk[1024];
    for (;;) {
        const int count = recv(client, chunk, sizeof chunk, 0);
        if (count <= 0) {
            return {received.empty() ? HeadState::Incomplete : HeadState::Bad, {}};
        }
        received.append(chunk, static_cast<size_t>(count));
        const ParsedHead head = ParseRequestHead(received);
        if (head.state != HeadState::Incomplete) {
            return head;
        }
    }
}

void SendAll(SOCKET client, const std::string& text) {
    for (size_t sent = 0; sent < text.size();) {
        const int count = send(client, text.data() + sent, static_cast<int>(text.size() - sent), 0);
        if (count <= 0) {
            return;
        }
        sent += static_cast<size_t>(count);
    }
}

// One connection: its request answered, or 400 for one that cannot be parsed. False when the
// client sent nothing at all.
bool Answer(SOCKET listener, Documents& documents) {
    UniqueSocket client(accept(listener, nullptr, nullptr));
    if (!client) {
        return false;
    }
    // An accepted socket inherits the listener's event selection and is non-blocking with it.
    WSAEventSelect(client.get(), nullptr, 0);
    u_long blocking = 0;
    ioctlsocket(client.get(), FIONBIO, &blocking);
    const DWORD timeout = kReceiveTimeoutMs;
    setsockopt(client.get(), SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&timeout),
               sizeof timeout);
    const ParsedHead head = ReceiveHead(client.get());
    if (head.state == HeadState::Incomplete) {
        return false;
    }
    const HttpResponse response =
        head.state == HeadState::Complete ? Route(head.request, documents.Current()) : BadRequest();
    SendAll(client.get(), FormatResponse(response, head.request.method != "HEAD"));
    shutdown(client.get(), SD_SEND);
    return true;
}

} // namespace

int Serve(PluginSession& session, const ServeOptions& options, const Interrupt& interrupt) {
    const Winsock winsock;
    const UniqueWsaEvent accepted(WSACreateEvent());
    const UniqueSocket listener =
        winsock.Ready() && accepted ? Listen(options.port, accepted.get()) : UniqueSocket();
    if (!listener) {
        std::fprintf(stderr, "orvex-host: cannot listen on 127.0.0.1:%d (error %d)\n", options.port,
                     WSAGetLastError());
        return 1;
    }
    const int port = BoundPort(listener.get());
    std::printf("serving http://127.0.0.1:%d/data.json and http://127.0.0.1:%d/metrics\n", port,
                port);
    std::fflush(stdout);

    Documents documents(session);
    const ULONGLONG deadline = GetTickCount64() + static_cast<ULONGLONG>(options.seconds) * 1000;
    const HANDLE waits[] = {accepted.get(), interrupt.Event()};
    for (int answered = 0; options.requests == 0 || answered < options.requests;) {
        const ULONGLONG now = GetTickCount64();
        const DWORD left = options.seconds == 0 ? INFINITE
                           : now >= deadline    ? 0
                                                : static_cast<DWORD>(deadline - now);
        if (WaitForMultipleObjects(2, waits, FALSE, left) != WAIT_OBJECT_0) {
            break;
        }
        WSANETWORKEVENTS events{};
        WSAEnumNetworkEvents(listener.get(), accepted.get(), &events);
        if ((events.lNetworkEvents & FD_ACCEPT) != 0 && Answer(listener.get(), documents)) {
            ++answered;
        }
    }
    return 0;
}

} // namespace orvex_host
