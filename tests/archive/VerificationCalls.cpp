#include "archive/Verification.h"

#include "tests/support/Errors.h"
#include "tests/support/FailingStream.h"
#include "tests/support/RawArchive.h"

#include <gtest/gtest.h>

namespace vellomir::archive {

namespace {

const test::RawEntry good = {.name = "good", .data = "12345"};
const test::RawEntry wrong = {.name = "wrong", .data = "67890", .checksum = 1};

std::unique_ptr<Archive> inMemory(const std::string &bytes) {
    return Archive::open(Data(std::string_view(bytes)), Archive::AccessMode::read);
}

TEST(VerificationCalls, ProgressCountsToItsTotal) {
    const auto progress = Progress::make();
    const std::string bytes = test::rawArchive({good, good});
    static_cast<void>(verify(
        *inMemory(bytes), [](const Finding &) {}, progress));
    EXPECT_EQ(progress->totalUnitCount(), static_cast<std::int64_t>(bytes.rfind("PK\5\6")));
    EXPECT_EQ(progress->completedUnitCount(), progress->totalUnitCount());
}

TEST(VerificationCalls, CancellationEndsIt) {
    const auto archive = inMemory(test::rawArchive({wrong, wrong, wrong}));
    const auto progress = Progress::make();
    std::vector<Finding> found;
    const auto cancel = [&](const Finding &finding) {
        found.push_back(finding);
        progress->cancel();
    };
    const Error error =
        test::thrownBy([&] { static_cast<void>(verify(*archive, cancel, progress)); });
    EXPECT_EQ(error.code(), Archive::ArchiveError::cancelledOperation);
    EXPECT_EQ(found.size(), 1U);
}

TEST(VerificationCalls, ErrorsOfConsumerPassThrough) {
    const auto archive = inMemory(test::rawArchive({wrong}));
    const auto fail = [](const Finding &) {
        throw Error(Data::DataError::unwritableFile, {.path = "out"});
    };
    const Error error = test::thrownBy([&] { static_cast<void>(verify(*archive, fail)); });
    EXPECT_EQ(error.code(), Data::DataError::unwritableFile);
    EXPECT_EQ(error.path(), "out");
}

TEST(VerificationCalls, CancellationEndsReadingOfData) {
    test::FailingStream stream(test::rawArchive({{"large", std::string(1 << 20, 'x')}}));
    const auto archive = Archive::open(Archive::FilePointer(stream.open()), URL{"test", "/stream"},
                                       Archive::AccessMode::read);
    const auto progress = Progress::make();
    const int readsBefore = stream.reads();
    stream.whileReading = [&] {
        if (stream.reads() > readsBefore + 40) // in the middle of the data
            progress->cancel();
    };
    const Error error = test::thrownBy([&] {
        static_cast<void>(verify(
            *archive, [](const Finding &) {}, progress));
    });
    EXPECT_EQ(error.code(), Archive::ArchiveError::cancelledOperation);
}

} // namespace

} // namespace vellomir::archive
