#include "host_core/http_exchange.h"

#include <algorithm>

namespace orvex_host {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kMetricsType = "text/plain; version=0.0.4; charset=utf-8";

bool IsToken(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-';
    });
}

bool IsVisible(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7F; });
}

std::optional<HttpRequest> ParseRequestLine(std::string_view line) {
    const size_t first = line.find(' ');
    const size_t second = line.find(' ', first == std::string_view::npos ? first : first + 1);
    if (first == std::string_view::npos || second == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view method = line.substr(0, first);
    const std::string_view target = line.substr(first + 1, second - first - 1);
    const std::string_view version = line.substr(second + 1);
    if (!IsToken(method) || target.empty() || target[0] != '/' || !IsVisible(target) ||
        (version != "HTTP/1.1" && version != "HTTP/1.0")) {
        return std::nullopt;
    }
    return HttpRequest{std::string(method), std::string(target)};
}

std::string_view StatusText(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 400:
        return "Bad Request";
    case 404:
        return "Not Found";
    default:
        return "Method Not Allowed";
    }
}

HttpResponse PlainText(int status) {
    return {status, "text/plain; charset=utf-8", std::string(StatusText(status)) + "\n"};
}

} // namespace

ParsedHead ParseRequestHead(std::string_view received) {
    const size_t end = received.find("\r\n\r\n");
    if (end == std::string_view::npos) {
        const bool tooLong = received.size() > kMaxRequestHead;
        return {tooLong ? HeadState::Bad : HeadState::Incomplete, {}};
    }
    if (end + 4 > kMaxRequestHead) {
        return {HeadState::Bad, {}};
    }
    std::string_view head = received.substr(0, end + 2);
    const size_t lineEnd = head.find(kLineEnd);
    const std::optional<HttpRequest> request = ParseRequestLine(head.substr(0, lineEnd));
    if (!request) {
        return {HeadState::Bad, {}};
    }
    for (head.remove_prefix(lineEnd + 2); !head.empty();) {
        const size_t next = head.find(kLineEnd);
        const std::string_view header = head.substr(0, next);
        const size_t colon = header.find(':');
        if (colon == std::string_view::npos || !IsToken(header.substr(0, colon))) {
            return {HeadState::Bad, {}};
        }
        head.remove_prefix(next + 2);
    }
    return {HeadState::Complete, *request};
}

HttpResponse Route(const HttpRequest& request, const ServedDocuments& documents) {
    const std::string_view path =
        std::string_view(request.target).substr(0, request.target.find('?'));
    if (path != "/data.json" && path != "/metrics") {
        return PlainText(404);
    }
    if (request.method != "GET" && request.method != "HEAD") {
        return PlainText(405);
    }
    return path == "/data.json" ? HttpResponse{200, "application/json", documents.json}
                                : HttpResponse{200, std::string(kMetricsType), documents.metrics};
}

HttpResponse BadRequest() {
    return PlainText(400);
}

std::string FormatResponse(const HttpResponse& response, bool withBody) {
    std::string text = "HTTP/1.1 " + std::to_string(response.status) + " " +
                       std::string(StatusText(response.status)) + "\r\n" +
                       "Content-Type: " + response.contentType + "\r\n" +
                       "Content-Length: " + std::to_string(response.body.size()) + "\r\n" +
                       (response.status == 405 ? "Allow: GET, HEAD\r\n" : "") +
                       "Connection: close\r\n\r\n";
    return withBody ? text + response.body : text;
}

} // namespace orvex_host
