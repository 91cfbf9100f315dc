#include "Vellomir/PropertyLists/Builder.h"
#include "archive/Archive.h"

#include <gmock/gmock.h>

namespace vellomir {

using archive::Progress;

namespace {

using ArchiveError = archive::Archive::ArchiveError;

PropertyListValue integer(std::int64_t number) {
    return {number};
}

PropertyListBuilder makeBuilder(const Progress *progress = nullptr) {
    return {"test", [] { return "line 1"; }, progress};
}

TEST(Builder, BuildsNestedValues) {
    auto builder = makeBuilder();
    builder.beginDictionary();
    EXPECT_TRUE(builder.expectsKey());
    builder.addKey("a");
    EXPECT_FALSE(builder.expectsKey());
    EXPECT_TRUE(builder.expectsValue());
    builder.beginArray();
    EXPECT_FALSE(builder.expectsValue());
    builder.addValue(integer(1));
    builder.end();
    EXPECT_FALSE(builder.isComplete());
    builder.end();
    EXPECT_TRUE(builder.isComplete());
    const PropertyListArray array = {integer(1)};
    EXPECT_EQ(builder.take(), PropertyListValue{PropertyListDictionary({{"a", {array}}})});
}

TEST(Builder, DuplicateKeyKeepsFirstPositionAndLastValue) {
    auto builder = makeBuilder();
    builder.beginDictionary();
    std::int64_t number = 0;
    for (const char *key : {"b", "a", "b", "c", "a", "b", ""}) {
        builder.addKey(key);
        builder.addValue(integer(number++));
    }
    builder.end();
    EXPECT_EQ(builder.take(),
              PropertyListValue{PropertyListDictionary(
                  {{"b", integer(5)}, {"a", integer(4)}, {"c", integer(3)}, {"", integer(6)}})});
}

TEST(Builder, DuplicateUIDKeyIsStillUID) {
    auto builder = makeBuilder();
    builder.beginArray();
    builder.beginDictionary();
    for (const std::int64_t number : {1, 2}) {
        builder.addKey("CF$UID");
        builder.addValue(integer(number));
    }
    builder.end();
    builder.end();
    EXPECT_EQ(builder.take(), PropertyListValue{PropertyListArray({{PropertyListUID{2}}})});
}

TEST(Builder, ChecksCancellationBetweenParts) {
    const auto expectHeard = [](const std::function<void(PropertyListBuilder &)> &piece) {
        const auto progress = Progress::make();
        auto builder = makeBuilder(progress.get());
        builder.beginArray();
        builder.beginDictionary();
        piece(builder);
        progress->cancel();
        try {
            piece(builder);
            ADD_FAILURE() << "not heard";
        } catch (const Error &error) {
            EXPECT_EQ(error.code(), ArchiveError::cancelledOperation);
        }
    };
    expectHeard([](PropertyListBuilder &builder) { builder.poll(); });
    expectHeard([](PropertyListBuilder &builder) { builder.addKey("a"); });
    expectHeard([](PropertyListBuilder &builder) {
        builder.addKey("a");
        builder.beginArray();
        builder.end();
    });
}

TEST(Builder, ChecksCancellationOfParentProgress) {
    const auto above = Progress::make(1);
    const auto progress = Progress::make(1);
    above->addChild(progress, 1);
    above->cancel();
    auto builder = makeBuilder(progress.get());
    EXPECT_THROW(builder.beginArray(), Error);
}

} // namespace

} // namespace vellomir
