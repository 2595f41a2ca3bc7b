// The head the host writes before an answer's body.
#include <gtest/gtest.h>

#include "net/ResponseHead.h"

namespace Kyr::WbmHost {
namespace {

HttpResponse Answer(int status, HeaderList headers, std::string body) {
    HttpResponse response;
    response.status = status;
    response.headers = std::move(headers);
    response.body = std::move(body);
    return response;
}

TEST(ResponseHeadTest, StatusLineRouteFieldsThenTheConnectionsOwn) {
    struct Case {
        const char* what;
        HttpResponse response;
        bool closeAfter;
        std::string expected;
    };
    const Case cases[] = {
        {"kept alive", Answer(200, {{"Content-Type", "application/json"}}, "{}"), false,
         "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\n\r\n"},
        {"closing", Answer(408, {}, ""), true, "HTTP/1.1 408 Request Timeout\r\nConnection: close\r\nContent-Length: 0\r\n\r\n"},
        {"the route's length and connection fields give way to the connection's",
         Answer(404, {{"content-length", "99"}, {"Connection", "keep-alive"}, {"X-A", "1"}}, "abc"), false,
         "HTTP/1.1 404 Not Found\r\nX-A: 1\r\nContent-Length: 3\r\n\r\n"},
        {"a field that would be two lines is left out",
         Answer(302, {{"Location", "/x\r\nSet-Cookie: a=b"}, {"Bad\nName", "v"}, {"X-B", "2"}}, ""), false,
         "HTTP/1.1 302 Found\r\nX-B: 2\r\nContent-Length: 0\r\n\r\n"},
    };
    for (const Case& test : cases) EXPECT_EQ(ResponseHead(test.response, test.closeAfter), test.expected) << test.what;
}

} // namespace
} // namespace Kyr::WbmHost
