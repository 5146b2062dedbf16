#pragma once
// The reference host's small HTTP/1.x server side, as plain functions: reading a request head,
// choosing the answer for a path, and writing a response. Every response closes the connection.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace orvex_host {

// The longest request head the server reads before it answers 400.
inline constexpr size_t kMaxRequestHead = 8192;

struct HttpRequest {
    std::string method;
    std::string target; // path and query as sent
};

enum class HeadState { Incomplete, Complete, Bad };

struct ParsedHead {
    HeadState state = HeadState::Incomplete;
    HttpRequest request;
};

// Reads what arrived so far: Incomplete until the empty line that ends the head; Bad for a
// request line that is not "METHOD SP TARGET SP HTTP/1.x", a target not starting with '/', a
// header line without a colon, or a head longer than kMaxRequestHead.
ParsedHead ParseRequestHead(std::string_view received);

struct HttpResponse {
    int status = 200;
    std::string contentType;
    std::string body;
};

// What the server's two paths serve, produced on demand.
struct ServedDocuments {
    std::string json;
    std::string metrics;
};

// The answer for a complete request: GET (or HEAD) of "/data.json" or "/metrics" (any query
// ignored) gets 200 with the document, another path 404, another method 405.
HttpResponse Route(const HttpRequest& request, const ServedDocuments& documents);

// 400 for a head ParseRequestHead called Bad.
HttpResponse BadRequest();

// Status line, Content-Type, Content-Length and "Connection: close", then the body (left out for
// HEAD requests).
std::string FormatResponse(const HttpResponse& response, bool withBody = true);

} // namespace orvex_host
