// Errors: codes, names, texts, and the error of an errno.

#include "archive/Archive.h"
#include "files/Error.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <initializer_list>
#include <set>

namespace vellomir {

using archive::Archive;
using archive::Data;
using archive::Entry;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using ArchiveError = Archive::ArchiveError;

namespace {

const std::vector<std::string> archiveErrors = {"unreadableArchive",
                                                "unwritableArchive",
                                                "invalidEntryPath",
                                                "invalidCompressionMethod",
                                                "invalidCRC32",
                                                "cancelledOperation",
                                                "invalidBufferSize",
                                                "invalidEntrySize",
                                                "invalidLocalHeaderDataOffset",
                                                "invalidLocalHeaderSize",
                                                "invalidCentralDirectoryOffset",
                                                "invalidCentralDirectorySize",
                                                "invalidCentralDirectoryEntryCount",
                                                "missingEndOfCentralDirectoryRecord"};
const std::vector<std::string> fileErrors = {
    "fileNoSuchFile",      "fileReadNoSuchFile", "fileReadNoPermission", "fileReadInvalidFileName",
    "fileReadTooLarge",    "fileReadUnknown",    "fileWriteFileExists",  "fileWriteNoPermission",
    "fileWriteOutOfSpace", "fileWriteUnknown"};

// --- Codes ------------------------------------------------------------------------------------

/// Every value of an enumeration has its name, in the order of the names, and a sentence of its
/// own.
template <class Enumeration>
void expectNames(const std::string &category, const std::vector<std::string> &names) {
    std::set<std::string> sentences;
    for (std::size_t index = 0; index < names.size(); ++index) {
        const Error error{static_cast<Enumeration>(index + 1)};
        EXPECT_EQ(error.name(), category + "." + names[index]);
        EXPECT_EQ(error.code().category().name(), category);
        EXPECT_EQ(error.code().message(), error.what());
        EXPECT_TRUE(sentences.insert(error.what()).second) << error.what();
        EXPECT_GT(std::string(error.what()).size(), 10U);
        EXPECT_EQ(error.code(), static_cast<Enumeration>(index + 1));
    }
    for (const int unknown : {0, static_cast<int>(names.size()) + 1, -1}) {
        const Error error{
            std::error_code(unknown, make_error_code(static_cast<Enumeration>(1)).category())};
        EXPECT_EQ(error.name(), category + ".unknown");
        EXPECT_STREQ(error.what(), "An unknown error");
    }
}

TEST(ErrorCodes, HaveNamesAndSentences) {
    expectNames<ArchiveError>("ArchiveError", archiveErrors);
    expectNames<Entry::EntryError>("EntryError", {"invalidDataError"});
    expectNames<Data::DataError>("DataError", {"unreadableFile", "unwritableFile"});
    expectNames<Data::CompressionError>("CompressionError", {"invalidStream", "corruptedData"});
    expectNames<FileError>("FileError", fileErrors);
}

template <class Enumeration>
void expectOrder(std::initializer_list<Enumeration> values) {
    int number = 0;
    for (const Enumeration value : values)
        EXPECT_EQ(static_cast<int>(value), ++number);
}

TEST(ErrorCodes, AreNumberedInTheirOrder) {
    expectOrder({ArchiveError::unreadableArchive, ArchiveError::unwritableArchive,
                 ArchiveError::invalidEntryPath, ArchiveError::invalidCompressionMethod,
                 ArchiveError::invalidCRC32, ArchiveError::cancelledOperation,
                 ArchiveError::invalidBufferSize, ArchiveError::invalidEntrySize,
                 ArchiveError::invalidLocalHeaderDataOffset, ArchiveError::invalidLocalHeaderSize,
                 ArchiveError::invalidCentralDirectoryOffset,
                 ArchiveError::invalidCentralDirectorySize,
                 ArchiveError::invalidCentralDirectoryEntryCount,
                 ArchiveError::missingEndOfCentralDirectoryRecord});
    expectOrder({Data::DataError::unreadableFile, Data::DataError::unwritableFile});
    expectOrder({Data::CompressionError::invalidStream, Data::CompressionError::corruptedData});
    expectOrder({Entry::EntryError::invalidDataError});
    expectOrder({FileError::fileNoSuchFile, FileError::fileReadNoSuchFile,
                 FileError::fileReadNoPermission, FileError::fileReadInvalidFileName,
                 FileError::fileReadTooLarge, FileError::fileReadUnknown,
                 FileError::fileWriteFileExists, FileError::fileWriteNoPermission,
                 FileError::fileWriteOutOfSpace, FileError::fileWriteUnknown});
}

TEST(ErrorCodes, OfDifferentFamiliesAreNeverEqual) {
    const std::error_code codes[] = {
        ArchiveError::unreadableArchive, Entry::EntryError::invalidDataError,
        Data::DataError::unreadableFile, Data::CompressionError::invalidStream,
        FileError::fileNoSuchFile,       {1, std::generic_category()}};
    for (const std::error_code &left : codes)
        for (const std::error_code &right : codes)
            EXPECT_EQ(left == right, &left == &right) << left << ' ' << right;
}

TEST(ErrorCodes, OfOthersKeepTheirCategory) {
    const Error error{std::make_error_code(std::errc::io_error)};
    EXPECT_EQ(error.name(), "generic");
    EXPECT_EQ(error.code(), std::errc::io_error);
}

// --- Words ------------------------------------------------------------------------------------

TEST(ErrorWords, NameTheEntryTheFileAndTheReason) {
    const Error error(Data::DataError::unwritableFile,
                      {.path = "/a/b.txt", .entry = "c/d", .systemError = ENOSPC});
    EXPECT_STREQ(error.what(),
                 "The file cannot be written (entry c/d): /a/b.txt: No space left on device");
    EXPECT_EQ(error.path(), "/a/b.txt");
    EXPECT_EQ(error.entry(), "c/d");
    EXPECT_EQ(error.systemError(), ENOSPC);
    EXPECT_EQ(error.code(), Data::DataError::unwritableFile);
}

TEST(ErrorWords, OmitWhatIsNotKnown) {
    EXPECT_STREQ(Error(FileError::fileReadNoSuchFile).what(), "There is no such file");
    EXPECT_STREQ(Error(FileError::fileReadNoSuchFile, {.path = "/a"}).what(),
                 "There is no such file: /a");
    EXPECT_STREQ(Error(FileError::fileReadNoSuchFile, {.entry = "e"}).what(),
                 "There is no such file (entry e)");
    EXPECT_STREQ(Error(FileError::fileReadNoSuchFile, {.systemError = EIO}).what(),
                 "There is no such file: Input/output error");
}

TEST(ErrorWords, DetailReplacesTheGeneralText) {
    const Error error(ArchiveError::unreadableArchive,
                      {.path = "/a", .detail = "This is a folder"});
    EXPECT_STREQ(error.what(), "This is a folder: /a");
    EXPECT_EQ(error.code().message(), "The archive cannot be read");
    EXPECT_EQ(error.name(), "ArchiveError.unreadableArchive");
}

TEST(ErrorWords, AreOneLine) {
    const Error error(FileError::fileReadUnknown, {.path = "/a\nb\x1B[31m", .entry = "c\r\xFF"});
    EXPECT_STREQ(error.what(), "The file cannot be read (entry c\\x0d\\xff): /a\\x0ab\\x1b[31m");
    EXPECT_EQ(error.path(), "/a\nb\x1B[31m");
    EXPECT_EQ(error.entry(), "c\r\xFF");
}

TEST(ErrorWords, CanBeCompletedLater) {
    const Error error(ArchiveError::invalidCRC32, {.detail = "Damaged", .systemError = EIO});
    EXPECT_STREQ(error.about("e").what(), "Damaged (entry e): Input/output error");
    EXPECT_STREQ(error.about("e", "/a").what(), "Damaged (entry e): /a: Input/output error");
    EXPECT_STREQ(error.about("e").about("f", "/a").what(),
                 "Damaged (entry e): /a: Input/output error");
    EXPECT_STREQ(error.about("e", "/a").about("", "/b").what(),
                 "Damaged (entry e): /a: Input/output error");
    EXPECT_EQ(error.about("e", "/a").code(), ArchiveError::invalidCRC32);
    EXPECT_EQ(error.about("e").systemError(), EIO);
    EXPECT_STREQ(error.what(), "Damaged: Input/output error");
}

TEST(ErrorWords, AreThoseOfTheStandardsException) {
    const auto thrower = [] { throw Error(ArchiveError::cancelledOperation, {.entry = "e"}); };
    try {
        thrower();
        FAIL();
    } catch (const std::system_error &error) {
        EXPECT_STREQ(error.what(), "The operation was cancelled (entry e)");
        EXPECT_EQ(error.code(), ArchiveError::cancelledOperation);
    }
}

// --- From errno -------------------------------------------------------------------------------

struct Mapping {
    int systemError;
    FileError reading;
    FileError writing;
};

constexpr Mapping mappings[] = {
    {ENOENT, FileError::fileReadNoSuchFile, FileError::fileNoSuchFile},
    {ENOTDIR, FileError::fileReadNoSuchFile, FileError::fileWriteUnknown},
    {EACCES, FileError::fileReadNoPermission, FileError::fileWriteNoPermission},
    {EPERM, FileError::fileReadNoPermission, FileError::fileWriteNoPermission},
    {EROFS, FileError::fileReadUnknown, FileError::fileWriteNoPermission},
    {ELOOP, FileError::fileReadInvalidFileName, FileError::fileWriteUnknown},
    {ENAMETOOLONG, FileError::fileReadInvalidFileName, FileError::fileWriteUnknown},
    {EEXIST, FileError::fileReadUnknown, FileError::fileWriteFileExists},
    {ENOSPC, FileError::fileReadUnknown, FileError::fileWriteOutOfSpace},
    {EDQUOT, FileError::fileReadUnknown, FileError::fileWriteOutOfSpace},
    {EIO, FileError::fileReadUnknown, FileError::fileWriteUnknown},
    {EISDIR, FileError::fileReadUnknown, FileError::fileWriteUnknown},
};

TEST(SystemErrors, HaveAFileError) {
    for (const auto &[systemError, reading, writing] : mappings) {
        for (const auto &[error, code] : {std::pair{readError("/a", systemError), reading},
                                          {writeError("/a", systemError), writing}}) {
            EXPECT_EQ(error.code(), code) << error.what();
            EXPECT_EQ(error.path(), "/a");
            EXPECT_EQ(error.systemError(), systemError);
            EXPECT_EQ(std::string(error.what()), error.code().message() + ": /a: " +
                                                     std::generic_category().message(systemError));
        }
    }
}

TEST(SystemErrors, HaveTheRightText) {
    for (const int systemError : {ELOOP, ENAMETOOLONG})
        EXPECT_THAT(readError("/a", systemError).what(), Not(HasSubstr("out of the folder")));
    EXPECT_THAT(readError("/a", ENAMETOOLONG).what(), StartsWith("The name is not one that can"));
}

// --- Constants --------------------------------------------------------------------------------

TEST(Constants, AreThoseOfTheFormat) {
    using namespace archive; // NOLINT(*using-namespace*): all of the constants
    EXPECT_EQ(maxUInt32, 0xFFFFFFFFU);
    EXPECT_EQ(maxUInt16, 0xFFFFU);
    for (const std::uint32_t limit :
         {maxCompressedSize, maxUncompressedSize, maxOffsetOfLocalFileHeader,
          maxOffsetOfCentralDirectory, maxSizeOfCentralDirectory})
        EXPECT_EQ(limit, 0xFFFFFFFFU);
    EXPECT_EQ(maxTotalNumberOfEntries, 65535U);
    EXPECT_EQ(defaultReadChunkSize, 16384);
    EXPECT_EQ(defaultWriteChunkSize, 16384);
    EXPECT_EQ(defaultPOSIXBufferSize, 16384);
    EXPECT_EQ(defaultFilePermissions, 0644U);
    EXPECT_EQ(defaultDirectoryPermissions, 0755U);
    EXPECT_EQ(defaultDirectoryUnitCount, 1);
    EXPECT_EQ(minEndOfCentralDirectoryOffset, 22);
}

TEST(Constants, OnlyVersions20And45AreKnown) {
    for (unsigned raw = 0; raw <= 0xFFFF; ++raw)
        EXPECT_EQ(Archive::version(static_cast<std::uint16_t>(raw)).has_value(),
                  raw == 20 || raw == 45)
            << raw;
    EXPECT_EQ(Archive::version(20), Archive::Version::v20);
    EXPECT_EQ(Archive::version(45), Archive::Version::v45);
}

} // namespace

} // namespace vellomir
