#include "Vellomir/Sending/HttpAnswer.h"

#include "Vellomir/Sending/AccessToken.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace vellomir {
namespace {

std::string reasonOf(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 206:
        return "Partial Content";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 408:
        return "Request Timeout";
    case 413:
        return "Content Too Large";
    case 416:
        return "Range Not Satisfiable";
    case 421:
        return "Misdirected Request";
    case 431:
        return "Request Header Fields Too Large";
    case 503:
        return "Service Unavailable";
    default:
        return "Bad Request";
    }
}

/// In the one form of HTTP, whatever the locale.
std::string dateText(std::time_t time) {
    constexpr std::array days = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    constexpr std::array months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::tm parts{};
    if (::gmtime_r(&time, &parts) == nullptr)
        return "Thu, 01 Jan 1970 00:00:00 GMT";
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d GMT",
                  days.at(static_cast<std::size_t>(parts.tm_wday)), parts.tm_mday,
                  months.at(static_cast<std::size_t>(parts.tm_mon)), parts.tm_year + 1900,
                  parts.tm_hour, parts.tm_min, parts.tm_sec);
    return text.data();
}

std::string field(const std::string &name, const std::string &value) {
    return name + ": " + value + "\r\n";
}

/// What every answer has, without the empty line at the end.
std::string startOfHead(int status, std::time_t now, std::uint64_t length) {
    return "HTTP/1.1 " + std::to_string(status) + " " + reasonOf(status) + "\r\n" +
           field("Date", dateText(now)) + field("Content-Length", std::to_string(length)) +
           field("Connection", "close") + field("Cache-Control", "no-store") +
           field("X-Content-Type-Options", "nosniff");
}

HttpAnswer refuse(int status, std::time_t now, const std::string &more, bool hasText) {
    const std::string text = std::to_string(status) + " " + reasonOf(status) + "\n";
    return {.status = status,
            .head = startOfHead(status, now, text.size()) +
                    field("Content-Type", "text/plain; charset=utf-8") + more + "\r\n" +
                    (hasText ? text : "")};
}

bool isMethodKnown(const HttpRequest &request) {
    return request.method == "GET" || request.method == "HEAD";
}

bool isHostKnown(const HttpRequest &request, const FileOffer &offer) {
    const std::string *const host = request.value("host");
    return host != nullptr &&
           std::find(offer.hosts.begin(), offer.hosts.end(), *host) != offer.hosts.end();
}

bool isPathKnown(const HttpRequest &request, const FileOffer &offer) {
    return request.target.starts_with('/') &&
           isAccessToken(std::string_view(request.target).substr(1), offer.token);
}

/// 0 if there is nothing to refuse.
int objectionTo(const HttpRequest &request, const FileOffer &offer) {
    if (!isMethodKnown(request))
        return 405;
    if (request.count("host") != 1)
        return 400;
    if (!isHostKnown(request, offer))
        return 421;
    if (!isPathKnown(request, offer))
        return 404;
    return request.hasBody() ? 413 : 0;
}

/// A client that asks for the rest of another file gets all of this one.
RequestedRange rangeOf(const HttpRequest &request, const FileOffer &offer) {
    const std::string *const range = request.value("range");
    if (range == nullptr || request.method != "GET")
        return {};
    if (request.count("if-range") > 0) {
        const std::string *const condition = request.value("if-range");
        if (condition == nullptr || *condition != offer.entityTag)
            return {};
    }
    return parseRange(*range, offer.size);
}

std::string contentRange(const FilePart &part, std::uint64_t size) {
    return "bytes " + std::to_string(part.offset) + "-" +
           std::to_string(part.offset + part.length - 1) + "/" + std::to_string(size);
}

} // namespace

HttpAnswer answerTo(const HttpRequest &request, const FileOffer &offer, std::time_t now) {
    const bool isHead = request.method == "HEAD";
    if (const int status = objectionTo(request, offer); status != 0)
        return refuse(status, now, status == 405 ? field("Allow", "GET, HEAD") : "", !isHead);
    const RequestedRange range = rangeOf(request, offer);
    if (range.kind == RequestedRange::Kind::impossible)
        return refuse(416, now, field("Content-Range", "bytes */" + std::to_string(offer.size)),
                      true);
    const bool isPart = range.kind == RequestedRange::Kind::part;
    const FilePart part = isPart ? range.part : FilePart{0, offer.size};
    const int status = isPart ? 206 : 200;
    return {.status = status,
            .head = startOfHead(status, now, part.length) +
                    field("Content-Type", "application/octet-stream") +
                    field("Content-Disposition", offer.disposition) +
                    field("Accept-Ranges", "bytes") + field("ETag", offer.entityTag) +
                    (isPart ? field("Content-Range", contentRange(part, offer.size)) : "") + "\r\n",
            .part = isHead ? FilePart{} : part,
            .endsFile = !isHead && part.offset + part.length == offer.size};
}

HttpAnswer refusal(int status, std::time_t now) {
    return refuse(status, now, "", true);
}

} // namespace vellomir
