#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vellomir::cli {

/// A path with placeholders, such as "copies/{name}.ipa": the values of `--output` and `--report`.
/// "{{" is a brace; all other text is taken as it is.
///
/// A value never changes the folder: a slash, a control character, and a dot at its beginning
/// become "_".
class OutputTemplate {
public:
    /// What the placeholders mean; nothing for a value that is not known yet.
    struct Values {
        std::optional<std::string> package; ///< the file name of the package, without extension
        std::optional<std::string> number;
        std::optional<std::string> name;       ///< the display name of the copy
        std::optional<std::string> identifier; ///< of the copy
    };

    /// Throws `std::invalid_argument` for an unknown or unfinished placeholder.
    explicit OutputTemplate(const std::string &text);

    /// The path; nothing if a value is missing. Throws `FileError::fileReadInvalidFileName` if the
    /// values leave nothing of a name, or "." or "..".
    [[nodiscard]] std::optional<std::string> path(const Values &values) const;
    /// The same for the path of the folder, with "/" at its end: "" for the current one.
    [[nodiscard]] std::optional<std::string> folder(const Values &values) const;

private:
    struct Part {
        std::string text;
        bool isPlaceholder = false;
    };
    [[nodiscard]] static std::optional<std::string> fill(const std::vector<Part> &parts,
                                                         const Values &values);

    std::vector<Part> parts_;
};

/// The text with the number where it has "{number}". Other braces stay.
[[nodiscard]] std::string withNumber(std::string text, const std::string &number);

} // namespace vellomir::cli
