#pragma once

#include "Vellomir/Sending/HttpRequest.h"
#include "Vellomir/Sending/RequestedRange.h"

#include <ctime>
#include <string>
#include <vector>

namespace vellomir {

/// The one file of a server, as requests name it.
struct FileOffer {
    std::string token;              ///< the path is "/" and this
    std::vector<std::string> hosts; ///< what the field "Host" may be
    std::uint64_t size = 0;
    std::string entityTag;   ///< with quotation marks
    std::string disposition; ///< the value of Content-Disposition
};

struct HttpAnswer {
    int status = 0;
    /// Status line, fields and empty line; of a refusal, its text as well.
    std::string head;
    /// What follows the head; empty for refusals and for the method HEAD.
    FilePart part;
    /// Whether this answer brings the client the end of the file.
    bool endsFile = false;
};

/// The file, a part of it, or a refusal. `now` is for the field "Date".
[[nodiscard]] HttpAnswer answerTo(const HttpRequest &request, const FileOffer &offer,
                                  std::time_t now);

/// A refusal: status 400, 404, 405, 408, 413, 416, 421, 431 or 503.
[[nodiscard]] HttpAnswer refusal(int status, std::time_t now);

} // namespace vellomir
