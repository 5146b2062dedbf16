#pragma once
// The reference host's hold on MonitorPlugin.dll, loaded the way the service host loads it:
// by full path, QueryLibrary(hostMode), the log sink, request sender and notification sender
// installed, then Initialize. Requests go in as 32-byte header plus body through HandleMessage;
// the plug-in's own requests are answered from the host profile.
#include "host_core/host_profile.h"
#include "host_win32/abi.h"
#include "host_win32/plugin_library.h"

#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace orvex_host {

struct SessionOptions {
    std::wstring folder; // where MonitorPlugin.dll is
    uint32_t hostMode = 0;
    int logLevel = 0; // plug-in log lines up to this level go to standard error; 0 none
    bool printRows = false;
    HostProfile profile;
};

class PluginSession {
public:
    explicit PluginSession(SessionOptions options);
    PluginSession(const PluginSession&) = delete;
    PluginSession& operator=(const PluginSession&) = delete;
    ~PluginSession();

    bool Loaded() const { return plugin_.Get() != nullptr; }
    const SessionOptions& Options() const { return options_; }
    abi::Result InitializeResult() const { return initializeResult_; }
    abi::Plugin* Plugin() const { return plugin_.Get(); }
    const abi::PluginTable& Table() const { return plugin_.Table(); }

    // The answer tree of a request; nullopt when HandleMessage failed or the answer is not a tree.
    std::optional<Tree> Request(const Tree& body, abi::Result* result = nullptr);
    std::optional<Tree> Command(int32_t command);

    // Called on the plug-in's thread for every "DataUpdatedEvent" with its round.
    void OnDataUpdated(std::function<void(int32_t)> callback);

private:
    static void OnLog(void* context, abi::Plugin* plugin, int32_t level, const wchar_t* format,
                      ...);
    static abi::Result OnRequest(void* context, abi::Plugin* plugin, const GUID* target,
                                 const uint8_t* message, uint32_t size, uint8_t** answer,
                                 uint32_t* answerSize);
    static abi::Result OnNotification(void* context, abi::Plugin* plugin, const uint8_t* message,
                                      uint32_t size);

    SessionOptions options_;
    std::mutex mutex_;
    std::function<void(int32_t)> dataUpdated_;
    abi::Result initializeResult_ = 0;
    LibraryModule module_;
    InterfaceReference<abi::Plugin> plugin_;
};

} // namespace orvex_host
