#pragma once

#include <string>
#include <system_error>

namespace vellomir {

/// Why the file system refused an operation.
enum class FileError {
    fileNoSuchFile = 1,      ///< cannot be opened
    fileReadNoSuchFile,      ///< does not exist
    fileReadNoPermission,    ///< may not be read
    fileReadInvalidFileName, ///< the name leads to a place that is not allowed
    fileReadTooLarge,        ///< has an impossible size
    fileReadUnknown,         ///< cannot be read, for another reason
    fileWriteFileExists,     ///< exists already
    fileWriteNoPermission,   ///< may not be written
    fileWriteOutOfSpace,     ///< there is no room for it
    fileWriteUnknown,        ///< cannot be written, for another reason
};

/// Lets the code of an `Error` be compared with the enumeration.
[[nodiscard]] std::error_code make_error_code(FileError error);

/// What an error is about; every part may be empty.
struct ErrorContext {
    std::string path;    ///< the file, as the user knows it
    std::string entry;   ///< the path of the archive's entry
    std::string detail;  ///< a sentence that replaces the general one of the code
    int systemError = 0; ///< errno, for the system's own words
};

/// The one exception of the engine and of the job. `code()` says what happened, for programs;
/// `what()` is one line for people: what, which file or entry, why.
class Error : public std::system_error {
public:
    /// Any of the error enumerations is a code.
    explicit Error(std::error_code code, ErrorContext context = {});

    /// One line in UTF-8, without control characters of the names; valid as long as the error.
    [[nodiscard]] const char *what() const noexcept override { return description_.c_str(); }
    /// The file it is about; "" if it is about none.
    [[nodiscard]] const std::string &path() const { return context_.path; }
    /// The path of the entry it is about; "" if it is about none.
    [[nodiscard]] const std::string &entry() const { return context_.entry; }
    /// All of it, to make the same error under other names.
    [[nodiscard]] const ErrorContext &context() const { return context_; }
    /// errno; 0 if the system did not complain.
    [[nodiscard]] int systemError() const { return context_.systemError; }
    /// The code as it is written in the source: "ArchiveError.unreadableArchive".
    [[nodiscard]] std::string name() const;

    /// The same error about this entry, or this file; one that is known already stays.
    [[nodiscard]] Error about(const std::string &entry, const std::string &path = {}) const;

private:
    ErrorContext context_;
    std::string description_;
};

/// The file error for errno after a failed reading.
[[nodiscard]] Error readError(std::string path, int systemError);
/// The file error for errno after a failed writing.
[[nodiscard]] Error writeError(std::string path, int systemError);

} // namespace vellomir

template <>
struct std::is_error_code_enum<vellomir::FileError> : std::true_type {};
