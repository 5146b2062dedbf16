#pragma once
// `serve`: the snapshot over HTTP on 127.0.0.1 only, as JSON ("/data.json") and in the Prometheus
// text format ("/metrics"), asked of the plug-in at most once a second however often it is
// requested. One connection at a time; every answer closes its connection.
#include "plugin_session.h"

namespace orvex_host {

class Interrupt;

struct ServeOptions {
    int port = 8080;  // 0: any free port (the one taken is printed)
    int requests = 0; // stop after this many answered requests; 0: no limit
    int seconds = 0;  // stop after this many seconds; 0: no limit
};

// 0 after Ctrl+C or a limit; 1 when the port cannot be taken.
int Serve(PluginSession& session, const ServeOptions& options, const Interrupt& interrupt);

} // namespace orvex_host
