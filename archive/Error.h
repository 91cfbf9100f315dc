#pragma once

#include <string>
#include <system_error>

namespace archive {

/// What the file system refused. The names are the platform's own.
enum class FileError {
    fileNoSuchFile = 1,      ///< cannot be opened
    fileReadNoSuchFile,      ///< is not there
    fileReadNoPermission,    ///< may not be read
    fileReadInvalidFileName, ///< the name leads somewhere it must not
    fileReadTooLarge,        ///< has a size that cannot be
    fileReadUnknown,         ///< cannot be read, for a reason of the system's
    fileWriteFileExists,     ///< is there already
    fileWriteNoPermission,   ///< may not be written
    fileWriteOutOfSpace,     ///< there is no room for it
    fileWriteUnknown,        ///< cannot be written, for a reason of the system's
};

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
    explicit Error(std::error_code code, ErrorContext context = {});

    [[nodiscard]] const char *what() const noexcept override { return description_.c_str(); }
    [[nodiscard]] const std::string &path() const { return context_.path; }
    [[nodiscard]] const std::string &entry() const { return context_.entry; }
    [[nodiscard]] int systemError() const { return context_.systemError; }
    /// The code as it is written in the source: "ArchiveError.unreadableArchive".
    [[nodiscard]] std::string name() const;

    /// The same error about this entry, or this file; one that is known already stays.
    [[nodiscard]] Error about(const std::string &entry, const std::string &path = {}) const;

private:
    ErrorContext context_;
    std::string description_;
};

/// The file error that errno stands for when an item was being read, or written.
[[nodiscard]] Error readError(std::string path, int systemError);
[[nodiscard]] Error writeError(std::string path, int systemError);

} // namespace archive

template <>
struct std::is_error_code_enum<archive::FileError> : std::true_type {};
