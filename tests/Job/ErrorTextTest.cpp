#include "Vellomir/Job/ErrorText.h"

#include "archive/Archive.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vellomir {

namespace {

std::string text(const std::exception &error) {
    return errorText(error, [](ErrorContext &) {});
}

TEST(ErrorText, SaysAReasonOnce) {
    EXPECT_EQ(text(readError("/a.ipa", ENOENT)), "There is no such file: /a.ipa");
    EXPECT_EQ(text(readError("/a.ipa", EACCES)), "The file may not be read: /a.ipa");
    EXPECT_EQ(text(writeError("/a.ipa", EACCES)), "The file may not be written: /a.ipa");
    EXPECT_EQ(text(writeError("/a.ipa", EEXIST)), "The file exists already: /a.ipa");
}

TEST(ErrorText, KeepsAReasonThatSaysMore) {
    EXPECT_EQ(text(writeError("/a.ipa", ENOSPC)),
              "There is no room left: /a.ipa: No space left on device");
    EXPECT_EQ(text(writeError("/a.ipa", EROFS)),
              "The file may not be written: /a.ipa: Read-only file system");
    EXPECT_EQ(text(readError("/a.ipa", EIO)),
              "The file cannot be read: /a.ipa: Input/output error");
    EXPECT_EQ(text(readError("/a.ipa/b", ENOTDIR)),
              "There is no such file: /a.ipa/b: Not a directory");
    EXPECT_EQ(text(Error(FileError::fileReadNoSuchFile,
                         {.path = "/a", .detail = "The list is missing", .systemError = ENOENT})),
              "The list is missing: /a: No such file or directory");
}

TEST(ErrorText, TakesOtherNames) {
    const Error error(archive::Archive::ArchiveError::invalidCRC32,
                      {.path = "/inner/a.ipa", .entry = "b"});
    EXPECT_EQ(errorText(error, [](ErrorContext &context) { context.path = "~/a.ipa"; }),
              "The data is damaged: its checksum is not the promised one (entry b): ~/a.ipa");
}

TEST(ErrorText, LeavesOtherExceptionsAsTheyAre) {
    EXPECT_EQ(text(std::runtime_error("no room")), "no room");
}

} // namespace

} // namespace vellomir
