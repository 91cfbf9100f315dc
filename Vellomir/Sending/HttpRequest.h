#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir {

/// The head of a request of HTTP 1.0 or 1.1.
struct HttpRequest {
    struct Field {
        std::string name; ///< in lower case
        std::string value;
    };

    std::string method;
    std::string target;
    std::vector<Field> fields;

    /// The value of a field that occurs once; null otherwise.
    [[nodiscard]] const std::string *value(std::string_view name) const;
    [[nodiscard]] std::size_t count(std::string_view name) const;
    /// Whether bytes follow the head that belong to the request.
    [[nodiscard]] bool hasBody() const;
};

/// The size of the head at the start of the bytes, with its empty line; none if that is not there.
[[nodiscard]] std::optional<std::size_t> sizeOfHead(std::string_view bytes);

/// Whether bytes that begin like this may become a request. False for TLS, for instance.
[[nodiscard]] bool mayBecomeRequest(std::string_view bytes);

/// The request of a whole head. None for anything that is not exactly of the form: bare line feeds,
/// folded lines, control characters, blanks before a colon, other versions.
[[nodiscard]] std::optional<HttpRequest> parseRequest(std::string_view head);

} // namespace vellomir
