#pragma once

#include "Vellomir/Job/ChangeRecord.h"
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

/// The same object with `"package":"…","number":"…"` in front; a number that was not given is null.
[[nodiscard]] std::string copyJson(const std::string &package,
                                   const std::optional<std::string> &number,
                                   const std::string &jobJson);

/// What a job changed, for `--report`.
struct ChangeReportContents {
    std::string package;
    std::string result;
    const std::vector<PackageChange> &changes;
    const std::vector<KeptText> &kept;
    const std::vector<std::string> &warnings;
};

/// `{"package":"…","result":"…","changes":[{"file":"…","keyPath":["…"],"from":…,"to":…}],
/// "kept":[{"file":"…","keyPath":["…"],"text":"…"}],"warnings":["…"]}`, indented, with a line end.
/// A missing value is null; of the kinds that JSON lacks, data is base64, and a date is
/// "2001-01-01T00:00:00Z".
[[nodiscard]] std::string changeReportJson(const ChangeReportContents &contents);

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
