#include "Vellomir/Sending/HttpAnswer.h"

#include <gmock/gmock.h>

namespace vellomir {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::time_t noon = 1'788'955'200; // 2026-09-09
const std::string token = "ABCDEFGHIJKLMNOPQRSTUVWX23";
const FileOffer offer = {.token = token,
                         .hosts = {"192.168.1.5:8080", "[fd00::2]:8080"},
                         .size = 1000,
                         .entityTag = "\"tag\"",
                         .disposition = "attachment; filename=\"App.ipa\""};

/// The answer to a request; `start` is method and target.
HttpAnswer answer(const std::string &start, const std::string &fields = {},
                  const std::string &host = "192.168.1.5:8080") {
    const auto request =
        parseRequest(start + " HTTP/1.1\r\nHost: " + host + "\r\n" + fields + "\r\n");
    EXPECT_TRUE(request);
    return answerTo(*request, offer, noon);
}

TEST(HttpAnswer, IsTheWholeFile) {
    const HttpAnswer found = answer("GET /" + token);
    EXPECT_EQ(found.status, 200);
    EXPECT_EQ(found.head, "HTTP/1.1 200 OK\r\n"
                          "Date: Wed, 09 Sep 2026 12:00:00 GMT\r\n"
                          "Content-Length: 1000\r\n"
                          "Connection: close\r\n"
                          "Cache-Control: no-store\r\n"
                          "X-Content-Type-Options: nosniff\r\n"
                          "Content-Type: application/octet-stream\r\n"
                          "Content-Disposition: attachment; filename=\"App.ipa\"\r\n"
                          "Accept-Ranges: bytes\r\n"
                          "ETag: \"tag\"\r\n"
                          "\r\n");
    EXPECT_EQ(found.part, (FilePart{0, 1000}));
    EXPECT_TRUE(found.endsFile);
}

TEST(HttpAnswer, EveryShownHostIsKnown) {
    EXPECT_EQ(answer("GET /" + token, "", "[fd00::2]:8080").status, 200);
}

TEST(HttpAnswer, HeadHasTheFieldsOfTheFileOnly) {
    const HttpAnswer head = answer("HEAD /" + token, "Range: bytes=1-2\r\n");
    EXPECT_EQ(head.head, answer("GET /" + token).head);
    EXPECT_EQ(head.part, FilePart());
    EXPECT_FALSE(head.endsFile);
}

TEST(HttpAnswer, IsTheRangeThatIsAskedFor) {
    const HttpAnswer found = answer("GET /" + token, "Range: bytes=100-199\r\n");
    EXPECT_EQ(found.status, 206);
    EXPECT_THAT(found.head, StartsWith("HTTP/1.1 206 Partial Content\r\n"));
    EXPECT_THAT(found.head, HasSubstr("\r\nContent-Range: bytes 100-199/1000\r\n"));
    EXPECT_THAT(found.head, HasSubstr("\r\nContent-Length: 100\r\n"));
    EXPECT_EQ(found.part, (FilePart{100, 100}));
    EXPECT_FALSE(found.endsFile);
    EXPECT_TRUE(answer("GET /" + token, "Range: bytes=100-\r\n").endsFile);
}

TEST(HttpAnswer, ImpossibleRangeSaysTheSize) {
    const HttpAnswer found = answer("GET /" + token, "Range: bytes=1000-\r\n");
    EXPECT_EQ(found.status, 416);
    EXPECT_THAT(found.head, HasSubstr("\r\nContent-Range: bytes */1000\r\n"));
    EXPECT_EQ(found.part, FilePart());
}

TEST(HttpAnswer, RangeOfAnotherFileIsTheWholeOne) {
    const std::string range = "Range: bytes=100-199\r\n";
    EXPECT_EQ(answer("GET /" + token, range + "If-Range: \"tag\"\r\n").status, 206);
    for (const char *const condition :
         {"\"other\"", "W/\"tag\"", "tag", "", "Wed, 09 Sep 2026 12:00:00 GMT"})
        EXPECT_EQ(answer("GET /" + token, range + "If-Range: " + condition + "\r\n").status, 200)
            << condition;
    EXPECT_EQ(answer("GET /" + token, range + "If-Range: \"tag\"\r\nIf-Range: \"tag\"\r\n").status,
              200);
}

TEST(HttpAnswer, OtherPathsAreNotFound) {
    for (const std::string &target :
         {std::string("/"), "/" + token + "/", "/" + token + "?a", "//" + token, "/./" + token,
          token, "/%41" + token.substr(1), "/../" + token, "http://192.168.1.5:8080/" + token,
          std::string("*"), "/" + token.substr(1), "/" + token + "A", std::string("/etc/passwd"),
          std::string("/App.ipa"), "/" + token + "#a", "/" + std::string(26, 'A')}) {
        const HttpAnswer found = answer("GET " + target);
        EXPECT_EQ(found.status, 404) << target;
        EXPECT_EQ(found.part, FilePart()) << target;
        EXPECT_THAT(found.head, EndsWith("\r\n\r\n404 Not Found\n"));
    }
}

TEST(HttpAnswer, OtherHostsAreRefused) {
    for (const char *const host :
         {"evil.example", "192.168.1.5", "192.168.1.5:80", "localhost:8080",
          "192.168.1.5:8080.evil.example", "", "fd00::2:8080"})
        EXPECT_EQ(answer("GET /" + token, "", host).status, 421) << host;
    EXPECT_EQ(answer("GET /" + token, "Host: 192.168.1.5:8080\r\n").status, 400) << "two of them";
    const auto without = parseRequest("GET /" + token + " HTTP/1.0\r\n\r\n");
    EXPECT_EQ(answerTo(*without, offer, noon).status, 400);
}

TEST(HttpAnswer, OtherMethodsAreRefused) {
    for (const char *const method :
         {"POST", "PUT", "DELETE", "OPTIONS", "TRACE", "CONNECT", "get"}) {
        const HttpAnswer found = answer(std::string(method) + " /" + token);
        EXPECT_EQ(found.status, 405) << method;
        EXPECT_THAT(found.head, HasSubstr("\r\nAllow: GET, HEAD\r\n"));
    }
}

TEST(HttpAnswer, BodiesAreRefused) {
    EXPECT_EQ(answer("GET /" + token, "Content-Length: 5\r\n").status, 413);
    EXPECT_EQ(answer("GET /" + token, "Transfer-Encoding: chunked\r\n").status, 413);
}

TEST(HttpAnswer, RefusalsAreShortAndNameNothing) {
    for (const int status : {400, 404, 405, 408, 413, 416, 421, 431, 503}) {
        const std::string head = refusal(status, noon).head;
        EXPECT_LT(head.size(), 300U);
        EXPECT_THAT(head, StartsWith("HTTP/1.1 " + std::to_string(status) + " "));
        EXPECT_THAT(head, Not(HasSubstr(token)));
    }
    EXPECT_THAT(answer("HEAD /").head, EndsWith("\r\n\r\n")) << "no text after the head";
}

} // namespace
} // namespace vellomir
