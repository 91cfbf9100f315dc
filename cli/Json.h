#pragma once

#include "archive/Archive.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The objects that `--json` prints, as texts. Bytes that are not UTF-8 become U+FFFD, so that the
/// result is valid JSON whatever the names hold; control characters are escaped, so that no name
/// controls a terminal.
namespace vellomir::cli {

/// `{"log":["…"],"errorMessage":"…","result":"path or null","warnings":["…"]}`
[[nodiscard]] std::string jobJson(const std::vector<std::string> &log,
                                  const std::string &errorMessage,
                                  const std::optional<std::string> &result,
                                  const std::vector<std::string> &warnings);

/// `{"archive":"…","zip64":false,"entries":[`: the text before the entries of a list.
[[nodiscard]] std::string listHeadJson(const std::string &name, bool isZIP64);
/// One entry of a list.
[[nodiscard]] std::string entryJson(const archive::Entry &entry, const std::string &path);

/// What is wrong with an entry; an empty path means the archive as a whole.
struct Problem {
    std::string entry;
    std::string problem;

    friend bool operator==(const Problem &, const Problem &) = default;
};

/// `{"archive":"…","ok":true,"problems":[`: the text before the problems of a test.
[[nodiscard]] std::string testHeadJson(const std::string &name, bool isGood);
/// `{"entry":"…","problem":"…"}`
[[nodiscard]] std::string problemJson(const Problem &problem);

/// A text as JSON, in quotes.
[[nodiscard]] std::string textJson(std::string_view text);
/// `{"path":"…","what":["…"]}`
[[nodiscard]] std::string changeJson(const std::string &path, const std::vector<std::string> &what);

} // namespace vellomir::cli
