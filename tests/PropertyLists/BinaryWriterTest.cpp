#include "Vellomir/PropertyLists/BinaryWriter.h"

#include "Vellomir/PropertyLists/Limits.h"
#include "tests/PropertyLists/Lists.h"

#include <cmath>
#include <limits>

namespace vellomir {

using archive::Data;

namespace {

PropertyListValue dictionaryOf(PropertyListValue value) {
    return {PropertyListDictionary{{.key = "k", .value = std::move(value)}}};
}

Data written(const PropertyListValue &value) {
    return writeBinaryPropertyList(value, nullptr);
}

PropertyListValue integer(std::int64_t number) {
    return {number};
}

TEST(BinaryWriter, EveryValueIsReadBack) {
    const std::vector<PropertyListValue> values = {
        {PropertyListNull()},
        {std::string()},
        {std::string("ASCII, 15 or more characters")},
        {std::string("\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80")},
        integer(0),
        integer(255),
        integer(256),
        integer(65536),
        integer(std::int64_t{1} << 32),
        integer(-1),
        integer(std::numeric_limits<std::int64_t>::max()),
        integer(std::numeric_limits<std::int64_t>::min()),
        {std::numeric_limits<std::uint64_t>::max()},
        {PropertyListReal{-0.0}},
        {PropertyListReal{1.5}},
        {PropertyListReal{std::nan("")}},
        {true},
        {false},
        {PropertyListDate{-1.25}},
        {Data(std::string_view("\0\xFF", 2))},
        {Data(std::string(300, 'd'))},
        {PropertyListUID{5}},
        {PropertyListUID{std::numeric_limits<std::uint64_t>::max()}},
        {PropertyListArray()},
        {PropertyListDictionary()},
        {PropertyListArray(20, integer(7))},
    };
    for (const PropertyListValue &value : values) {
        const PropertyListValue list = dictionaryOf(value);
        EXPECT_TRUE(PropertyList::parse(written(list)).value() == list) << kindOf(value);
    }
}

TEST(BinaryWriter, ManyObjectsNeedLongerReferences) {
    for (const std::int64_t count : {250, 260, 70'000}) {
        PropertyListArray array;
        for (std::int64_t number = 0; number < count; ++number)
            array.push_back(integer(number));
        const PropertyListValue list = dictionaryOf({std::move(array)});
        EXPECT_TRUE(PropertyList::parse(written(list)).value() == list) << count;
    }
}

TEST(BinaryWriter, EqualTextsAreStoredOnce) {
    const std::string text(1000, 't');
    const Data once = written(dictionaryOf({PropertyListArray(1, {text})}));
    const Data often = written(dictionaryOf({PropertyListArray(10, {text})}));
    EXPECT_LT(often.size(), once.size() + 20);
}

TEST(BinaryWriter, RefusesInvalidText) {
    EXPECT_THROW(static_cast<void>(written(dictionaryOf({std::string("\xFF")}))), Error);
    try {
        static_cast<void>(written(dictionaryOf({std::string("a\xC3")})));
        ADD_FAILURE();
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), PropertyListError::unwritablePropertyList);
    }
}

TEST(BinaryWriter, RefusesValuesBeyondDepthLimit) {
    PropertyListValue value{PropertyListArray()};
    for (std::size_t depth = 1; depth < maximumPropertyListDepth; ++depth)
        value = {PropertyListArray{std::move(value)}};
    EXPECT_NO_THROW(static_cast<void>(written(value)));
    value = {PropertyListArray{std::move(value)}};
    EXPECT_THROW(static_cast<void>(written(value)), Error);
}

TEST(BinaryWriter, StopsWhenCancelled) {
    const auto progress = archive::Progress::make();
    progress->cancel();
    EXPECT_THROW(static_cast<void>(writeBinaryPropertyList({true}, progress.get())), Error);
}

} // namespace

} // namespace vellomir
