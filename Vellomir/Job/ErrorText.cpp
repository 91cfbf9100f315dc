#include "Vellomir/Job/ErrorText.h"

#include <algorithm>
#include <array>
#include <cerrno>

namespace vellomir {
namespace {

struct SameReason {
    FileError code;
    int systemError;
};

/// "There is no such file: a.ipa: No such file or directory" says one thing twice.
constexpr std::array sameReasons = {
    SameReason{FileError::fileReadNoSuchFile, ENOENT},
    SameReason{FileError::fileReadNoPermission, EACCES},
    SameReason{FileError::fileWriteFileExists, EEXIST},
    SameReason{FileError::fileWriteNoPermission, EACCES},
};

/// A detail replaces the code's sentence, and says something else.
bool isSaidTwice(const Error &error) {
    return error.context().detail.empty() &&
           std::any_of(sameReasons.begin(), sameReasons.end(), [&](const SameReason &reason) {
               return error.code() == reason.code && error.systemError() == reason.systemError;
           });
}

} // namespace

std::string errorText(const std::exception &error, const Renaming &rename) {
    const auto *known = dynamic_cast<const Error *>(&error);
    if (known == nullptr)
        return error.what();
    ErrorContext context = known->context();
    if (isSaidTwice(*known))
        context.systemError = 0;
    rename(context);
    return Error(known->code(), std::move(context)).what();
}

std::string rawText(const std::exception &error, const std::string &description) {
    const auto *known = dynamic_cast<const Error *>(&error);
    return (known == nullptr ? std::string() : known->name() + ": ") + description;
}

} // namespace vellomir
