#include "Vellomir/Sending/HttpRequest.h"

#include <gmock/gmock.h>

namespace vellomir {
namespace {

TEST(HttpRequest, HasMethodTargetAndFields) {
    const auto request =
        parseRequest("GET /a?b HTTP/1.1\r\nHost:  x:80 \r\nRANGE:bytes=0-\r\nEmpty:\r\n\r\n");
    ASSERT_TRUE(request);
    EXPECT_EQ(request->method, "GET");
    EXPECT_EQ(request->target, "/a?b");
    ASSERT_EQ(request->fields.size(), 3U);
    EXPECT_EQ(*request->value("host"), "x:80");
    EXPECT_EQ(*request->value("range"), "bytes=0-");
    EXPECT_EQ(*request->value("empty"), "");
    EXPECT_EQ(request->value("missing"), nullptr);
    EXPECT_FALSE(request->hasBody());
}

TEST(HttpRequest, FieldThatOccursTwiceHasNoValue) {
    const auto request = parseRequest("GET / HTTP/1.0\r\nHost: a\r\nhost: a\r\n\r\n");
    ASSERT_TRUE(request);
    EXPECT_EQ(request->count("host"), 2U);
    EXPECT_EQ(request->value("host"), nullptr);
}

TEST(HttpRequest, BodyIsNoticed) {
    for (const char *const field : {"Content-Length: 1", "Content-Length: x", "Content-Length: 00",
                                    "Transfer-Encoding: chunked",
                                    "Transfer-Encoding:", "Content-Length: 0\r\nContent-Length: 0"})
        EXPECT_TRUE(parseRequest(std::string("GET / HTTP/1.1\r\n") + field + "\r\n\r\n")->hasBody())
            << field;
    EXPECT_FALSE(parseRequest("GET / HTTP/1.1\r\nContent-Length: 0\r\n\r\n")->hasBody());
}

TEST(HttpRequest, OtherFormsAreRefused) {
    using namespace std::string_view_literals;
    for (const std::string_view head : {""sv,
                                        "\r\n\r\n"sv,
                                        "GET /\r\n\r\n"sv,
                                        "GET / HTTP/1.1\r\n"sv,
                                        "GET / HTTP/1.1\n\n"sv,
                                        "GET / HTTP/2\r\n\r\n"sv,
                                        "GET / HTTP/1.2\r\n\r\n"sv,
                                        "GET / http/1.1\r\n\r\n"sv,
                                        "GET  / HTTP/1.1\r\n\r\n"sv,
                                        "GET /  HTTP/1.1\r\n\r\n"sv,
                                        "GET / HTTP/1.1 \r\n\r\n"sv,
                                        " GET / HTTP/1.1\r\n\r\n"sv,
                                        "G(T / HTTP/1.1\r\n\r\n"sv,
                                        "GET\t/ HTTP/1.1\r\n\r\n"sv,
                                        "GET /\x01 HTTP/1.1\r\n\r\n"sv,
                                        "GET /\xff HTTP/1.1\r\n\r\n"sv,
                                        "GET /\0 HTTP/1.1\r\n\r\n"sv,
                                        "GET / HTTP/1.1\r\nHost : a\r\n\r\n"sv,
                                        "GET / HTTP/1.1\r\n Host: a\r\n\r\n"sv,
                                        "GET / HTTP/1.1\r\nHost: a\r\n b\r\n\r\n"sv,
                                        "GET / HTTP/1.1\r\nHost\r\n\r\n"sv,
                                        "GET / HTTP/1.1\r\n: a\r\n\r\n"sv,
                                        "GET / HTTP/1.1\r\nHost: a\0b\r\n\r\n"sv,
                                        "GET / HTTP/1.1\r\nHost: a\rb\r\n\r\n"sv,
                                        "GET / HTTP/1.1\r\nHost: a\nX: b\r\n\r\n"sv,
                                        "GET / HTTP/1.1\r\n\r\nmore"sv})
        EXPECT_FALSE(parseRequest(head)) << head;
}

TEST(HttpRequest, HeadEndsBehindItsEmptyLine) {
    EXPECT_EQ(sizeOfHead("GET / HTTP/1.1\r\n\r\nmore"), 18U);
    EXPECT_EQ(sizeOfHead("GET / HTTP/1.1\r\n"), std::nullopt);
    EXPECT_EQ(sizeOfHead(""), std::nullopt);
}

TEST(HttpRequest, EncryptedConnectionIsNoticedAtItsFirstByte) {
    EXPECT_FALSE(mayBecomeRequest("\x16\x03\x01"));
    EXPECT_FALSE(mayBecomeRequest("\r\n"));
    EXPECT_TRUE(mayBecomeRequest("G"));
    EXPECT_TRUE(mayBecomeRequest(""));
}

} // namespace
} // namespace vellomir
