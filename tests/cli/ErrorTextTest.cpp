#include "cli/ErrorText.h"

#include "archive/Archive.h"
#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace vellomir::cli {

namespace {

TEST(ErrorText, EngineErrorsHaveNames) {
    const Error error(FileError::fileReadNoSuchFile, {.path = "/a/b"});
    EXPECT_EQ(cli::describe(error), std::string(error.what()) + " (FileError.fileReadNoSuchFile)");
}

TEST(ErrorText, OtherErrorsUseTheirOwnText) {
    EXPECT_EQ(cli::describe(cli::Failure("why")), "why");
    EXPECT_EQ(cli::describe(std::bad_alloc()), "there is not enough memory");
}

TEST(ErrorText, FullDiskNamesTheFolder) {
    for (const int reason : {ENOSPC, EDQUOT}) {
        const std::string text =
            cli::describe(writeError("/disk/folder/file", reason).about("entry"));
        EXPECT_NE(text.find(" (entry entry): /disk/folder: "), std::string::npos) << text;
    }
    EXPECT_NE(cli::describe(writeError("/disk/file", EIO)).find("/disk/file: "), std::string::npos);
}

TEST(ErrorText, FolderWithoutPermissionIsNamed) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "the superuser may write everywhere";
    const test::TemporaryFolder folder;
    const std::string closed = (folder / "closed").string();
    test::writeFile(folder / "closed/writable", "");
    test::writeFile(folder / "closed/readOnly", "");
    ::chmod((closed + "/readOnly").c_str(), 0400);
    ::chmod(closed.c_str(), 0500);
    const auto names = [](const std::string &path, const std::string &culprit) {
        const std::string text = cli::describe(writeError(path, EACCES));
        EXPECT_NE(text.find(": " + culprit + ": "), std::string::npos) << text;
    };
    names(closed + "/missing", closed);
    names(closed + "/writable", closed);
    names(closed + "/readOnly", closed + "/readOnly");
    ::chmod(closed.c_str(), 0700);
    names(closed + "/readOnly", closed + "/readOnly");
}

TEST(ErrorText, ErrorsWithoutFileNameTheOutput) {
    using archive::Data;
    const Error noRoom(Data::DataError::unwritableFile, {.systemError = ENOSPC});
    EXPECT_EQ(cli::whileWriting("/a/b", noRoom).path(), "/a/b");
    EXPECT_EQ(cli::whileWriting("/a/b", writeError("/c", ENOSPC)).path(), "/c");
    const Error damaged(Data::CompressionError::corruptedData);
    EXPECT_EQ(cli::whileWriting("/a/b", damaged).path(), "");
}

TEST(ErrorText, ErrorIsOneLineWithoutControlCharacters) {
    EXPECT_EQ(cli::errorLine("cannot read ü\n\x1b[2J\xff\xc2\x9b"),
              "vellomir-cli: cannot read ü\\x0a\\x1b[2J\\xff\\xc2\\x9b\n");
}

} // namespace

} // namespace vellomir::cli
