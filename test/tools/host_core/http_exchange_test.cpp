#include "host_core/http_exchange.h"

#include <gtest/gtest.h>

namespace orvex_host {
namespace {

const ServedDocuments kDocuments{"{\"Command\": 1}", "# HELP x y\n"};

TEST(HttpHead, a_get_request_is_complete_at_its_empty_line) {
    const ParsedHead head =
        ParseRequestHead("GET /metrics HTTP/1.1\r\nHost: 127.0.0.1:9100\r\nAccept: */*\r\n\r\n");
    ASSERT_EQ(head.state, HeadState::Complete);
    EXPECT_EQ(head.request.method, "GET");
    EXPECT_EQ(head.request.target, "/metrics");
}

TEST(HttpHead, a_head_without_its_empty_line_is_incomplete) {
    EXPECT_EQ(ParseRequestHead("").state, HeadState::Incomplete);
    EXPECT_EQ(ParseRequestHead("GET /metrics HTTP/1.1\r\nHost: x\r\n").state,
              HeadState::Incomplete);
}

TEST(HttpHead, garbage_is_a_bad_request) {
    for (const char* received :
         {"\x16\x03\x01\x02\x01\r\n\r\n", "hello\r\n\r\n", "GET\r\n\r\n", "GET /metrics\r\n\r\n",
          "GET metrics HTTP/1.1\r\n\r\n", "GET /metrics HTTP/2\r\n\r\n",
          "GET /a b HTTP/1.1\r\n\r\n", "G@T /metrics HTTP/1.1\r\n\r\n",
          "GET /metrics HTTP/1.1\r\nno colon here\r\n\r\n",
          "GET /metrics HTTP/1.1\r\n: empty name\r\n\r\n"}) {
        EXPECT_EQ(ParseRequestHead(received).state, HeadState::Bad) << received;
    }
}

TEST(HttpHead, an_endless_head_is_a_bad_request_once_it_passes_the_limit) {
    const std::string endless = "GET /metrics HTTP/1.1\r\nX: " + std::string(kMaxRequestHead, 'a');
    EXPECT_EQ(ParseRequestHead(endless).state, HeadState::Bad);
    EXPECT_EQ(ParseRequestHead(endless + "\r\n\r\n").state, HeadState::Bad);
}

TEST(HttpRoute, the_two_paths_serve_json_and_the_prometheus_text) {
    const HttpResponse json = Route({"GET", "/data.json"}, kDocuments);
    EXPECT_EQ(json.status, 200);
    EXPECT_EQ(json.contentType, "application/json");
    EXPECT_EQ(json.body, kDocuments.json);
    const HttpResponse metrics = Route({"GET", "/metrics?name[]=x"}, kDocuments);
    EXPECT_EQ(metrics.status, 200);
    EXPECT_EQ(metrics.contentType, "text/plain; version=0.0.4; charset=utf-8");
    EXPECT_EQ(metrics.body, kDocuments.metrics);
}

TEST(HttpRoute, other_paths_are_not_found_and_other_methods_not_allowed) {
    EXPECT_EQ(Route({"GET", "/"}, kDocuments).status, 404);
    EXPECT_EQ(Route({"GET", "/data.json/x"}, kDocuments).status, 404);
    EXPECT_EQ(Route({"POST", "/metrics"}, kDocuments).status, 405);
    EXPECT_EQ(Route({"HEAD", "/metrics"}, kDocuments).status, 200);
}

TEST(HttpResponseText, carries_status_type_length_and_closes) {
    EXPECT_EQ(FormatResponse({200, "application/json", "{}"}),
              "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\n"
              "Connection: close\r\n\r\n{}");
    EXPECT_EQ(FormatResponse(BadRequest()),
              "HTTP/1.1 400 Bad Request\r\nContent-Type: text/plain; charset=utf-8\r\n"
              "Content-Length: 12\r\nConnection: close\r\n\r\nBad Request\n");
    EXPECT_EQ(FormatResponse({200, "application/json", "{}"}, false),
              "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\n"
              "Connection: close\r\n\r\n");
}

TEST(HttpResponseText, not_allowed_names_the_allowed_methods) {
    const std::string text = FormatResponse(Route({"PUT", "/metrics"}, kDocuments));
    EXPECT_EQ(text.rfind("HTTP/1.1 405 Method Not Allowed\r\n", 0), 0u);
    EXPECT_NE(text.find("\r\nAllow: GET, HEAD\r\n"), std::string::npos);
}

} // namespace
} // namespace orvex_host
