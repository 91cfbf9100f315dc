// Random and mutated requests: each gets a refusal, or exactly the file or a part of it.

#include "Vellomir/Sending/Connection.h"

#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <array>
#include <random>

namespace vellomir {
namespace {

const std::string token = "ABCDEFGHIJKLMNOPQRSTUVWX23";
const std::string host = "192.168.1.5:8080";

class RandomRequests : public testing::Test {
protected:
    RandomRequests() {
        for (int number = 0; content_.size() < 5000; ++number)
            content_ += std::to_string(number) + ",";
        test::writeFile(folder_ / "App.ipa", content_);
        offer_ = {.token = token,
                  .hosts = {host},
                  .size = content_.size(),
                  .entityTag = "\"tag\"",
                  .disposition = "attachment"};
    }

    /// The answer of a connection to these bytes, which arrive in pieces.
    std::string answerTo(const std::string &bytes) {
        std::array<int, 2> ends{};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends.data()), 0);
        const FileDescriptor client(ends[0]);
        const auto now = Connection::Clock::now();
        const ServedFile file((folder_ / "App.ipa").string());
        Connection connection(FileDescriptor(ends[1]), *IpAddress::parse("127.0.0.1"),
                              {file, offer_, limits_}, now);
        std::string answer;
        for (std::size_t start = 0; start < bytes.size();) {
            const std::size_t size = std::min(bytes.size() - start, 1 + random_() % 700);
            static_cast<void>(::send(client.get(), bytes.data() + start, size, MSG_NOSIGNAL));
            start += size;
            exchange(connection, client, answer, now);
        }
        if (connection.phase() == Connection::Phase::request)
            connection.expire(now);
        for (int turn = 0; turn < 10; ++turn)
            exchange(connection, client, answer, now);
        EXPECT_NE(connection.phase(), Connection::Phase::request);
        EXPECT_NE(connection.phase(), Connection::Phase::answer);
        return answer;
    }

    static void exchange(Connection &connection, const FileDescriptor &client, std::string &answer,
                         Connection::Time now) {
        if (connection.phase() != Connection::Phase::over)
            connection.goOn(now);
        std::array<char, 8192> buffer{};
        ssize_t count = 0;
        while ((count = ::recv(client.get(), buffer.data(), buffer.size(), 0)) > 0)
            answer.append(buffer.data(), static_cast<std::size_t>(count));
    }

    /// Fails unless it is a refusal, or the file as its head says. Returns the status.
    int check(const std::string &request) {
        const std::string answer = answerTo(request);
        if (answer.empty())
            return 0; // closed without a word
        const std::size_t end = answer.find("\r\n\r\n");
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 ") && end != std::string::npos) << request;
        const int status = std::stoi(answer.substr(9, 3));
        const std::string body = answer.substr(end + 4);
        if (status == 200) {
            EXPECT_TRUE(body.empty() || body == content_) << request;
        } else if (status == 206) {
            const std::size_t range = answer.find("\r\nContent-Range: bytes ") + 23;
            const std::size_t first = std::stoul(answer.substr(range));
            const std::size_t last = std::stoul(answer.substr(answer.find('-', range) + 1));
            EXPECT_TRUE(body == content_.substr(first, last - first + 1)) << request;
            EXPECT_EQ(body.size(), last - first + 1) << request;
        } else {
            EXPECT_GE(status, 400) << request;
            EXPECT_LT(answer.size(), 400U) << request;
        }
        if (status < 300)
            expectToken(request);
        return status;
    }

    /// The file is sent only for a request with the token and the host in it.
    static void expectToken(const std::string &request) {
        std::string upper = request;
        std::transform(upper.begin(), upper.end(), upper.begin(), [](char each) {
            return each >= 'a' && each <= 'z' ? char(each - 32) : each;
        });
        EXPECT_NE(upper.find(" /" + token + " "), std::string::npos) << request;
        EXPECT_NE(request.find(host), std::string::npos) << request;
    }

    std::string mutated(std::string text) {
        static const std::vector<std::string> pieces = {"\r\n",
                                                        "\n",
                                                        "\r",
                                                        " ",
                                                        ":",
                                                        "/",
                                                        "..",
                                                        "%00",
                                                        "%2e",
                                                        std::string(1, '\0'),
                                                        "\t",
                                                        "Host: ",
                                                        "Range: bytes=",
                                                        "-",
                                                        ",",
                                                        "999999999999999999999999",
                                                        "If-Range: \"tag\"\r\n",
                                                        "HTTP/1.0",
                                                        "HEAD",
                                                        "Content-Length: 5\r\n",
                                                        "Transfer-Encoding: chunked\r\n",
                                                        "\r\n\r\n",
                                                        "\xff",
                                                        "http://"};
        for (std::size_t change = 0; change <= random_() % 4; ++change) {
            const std::size_t place = random_() % (text.size() + 1);
            switch (random_() % 5) {
            case 0:
                text.insert(place, pieces[random_() % pieces.size()]);
                break;
            case 1:
                text.erase(place, random_() % 20);
                break;
            case 2:
                if (place < text.size())
                    text[place] = static_cast<char>(random_());
                break;
            case 3:
                text.insert(place, text.substr(random_() % (text.size() + 1), random_() % 40));
                break;
            default:
                text.resize(place);
            }
        }
        return text;
    }

    test::TemporaryFolder folder_;
    std::string content_;
    FileOffer offer_;
    SendingLimits limits_;
    std::mt19937 random_{20261122};
};

TEST_F(RandomRequests, MutatedRequestsGetTheFileOrARefusal) {
    const std::vector<std::string> seeds = {
        "GET /" + token + " HTTP/1.1\r\nHost: " + host + "\r\n\r\n",
        "HEAD /" + token + " HTTP/1.1\r\nHost: " + host + "\r\nAccept: */*\r\n\r\n",
        "GET /" + token + " HTTP/1.1\r\nHost: " + host + "\r\nRange: bytes=100-199\r\n\r\n",
        "GET /" + token + " HTTP/1.0\r\nHost: " + host +
            "\r\nRange: bytes=-5\r\nIf-Range: \"tag\"\r\n\r\n"};
    std::map<int, int> seen;
    for (int number = 0; number < 20'000; ++number)
        ++seen[check(mutated(seeds[random_() % seeds.size()]))];
    // The mutations are neither all harmless nor all fatal.
    for (const int status : {200, 206, 400, 404, 405, 408, 413, 421})
        EXPECT_GT(seen[status], 0) << status;
}

TEST_F(RandomRequests, RandomBytesGetARefusal) {
    for (int number = 0; number < 5'000; ++number) {
        std::string bytes(random_() % 12'000, '\0');
        const bool isText = number % 2 == 0;
        for (char &each : bytes)
            each = static_cast<char>(isText ? ' ' + random_() % 95 : random_());
        const int status = check(bytes);
        EXPECT_TRUE(status == 0 || status >= 400);
    }
}

} // namespace
} // namespace vellomir
