#include "cli/EntryText.h"

#include "tests/support/RawArchive.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <random>

namespace vellomir::cli {

using archive::Archive;
using archive::Data;
using archive::Entry;
using EntryType = Entry::EntryType;

namespace {

std::vector<std::string> listing(const std::vector<test::RawEntry> &entries) {
    const auto opened = Archive::open(Data(test::rawArchive(entries)), Archive::AccessMode::read);
    std::vector<std::string> lines;
    for (const Entry &entry : *opened)
        lines.push_back(cli::listingLine(entry, entry.path()));
    return lines;
}

TEST(EntryText, ModesHaveListingForm) {
    EXPECT_EQ(cli::modeText(EntryType::file, 0644), "-rw-r--r--");
    EXPECT_EQ(cli::modeText(EntryType::directory, 0755), "drwxr-xr-x");
    EXPECT_EQ(cli::modeText(EntryType::symlink, 0777), "lrwxrwxrwx");
    EXPECT_EQ(cli::modeText(EntryType::file, 0), "----------");
    EXPECT_EQ(cli::modeText(EntryType::file, 04755), "-rwsr-xr-x");
    EXPECT_EQ(cli::modeText(EntryType::file, 07000), "---S--S--T");
    EXPECT_EQ(cli::modeText(EntryType::directory, 01777), "drwxrwxrwt");
}

TEST(EntryText, NumbersAreFormatted) {
    EXPECT_EQ(cli::octalText(0644), "0644");
    EXPECT_EQ(cli::octalText(0), "0000");
    EXPECT_EQ(cli::octalText(04755), "4755");
    EXPECT_EQ(cli::checksumText(0xcbf43926), "cbf43926");
    EXPECT_EQ(cli::checksumText(0xf), "0000000f");
    EXPECT_EQ(cli::groupedText(0), "0");
    EXPECT_EQ(cli::groupedText(999), "999");
    EXPECT_EQ(cli::groupedText(1000), "1,000");
    EXPECT_EQ(cli::groupedText(1234567), "1,234,567");
    EXPECT_EQ(cli::countText(1, "byte"), "1 byte");
    EXPECT_EQ(cli::countText(0, "entry"), "0 entries");
    EXPECT_EQ(cli::countText(2, "problem"), "2 problems");
}

TEST(EntryText, DatesAreInUTC) {
    const archive::Date date = archive::Date::fromDateTime({0x5A21, 0x6B3D});
    EXPECT_EQ(cli::dateText(date), "2025-01-01 13:25:58");
    EXPECT_EQ(cli::dateText(date, 'T'), "2025-01-01T13:25:58");
}

/// As the C library writes it.
std::string expectedDate(std::int64_t seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm fields{};
    ::gmtime_r(&time, &fields);
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", fields.tm_year + 1900,
                  fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec);
    return text.data();
}

TEST(EntryText, DatesAgreeWithTheCLibrary) {
    constexpr std::int64_t year0 = -62167219200;
    constexpr std::int64_t year10000 = 253402300800;
    std::vector<std::int64_t> moments = {0, -1, 951782399, 951782400, 951868800, 4107542400};
    for (const std::int64_t edge : {year0, year10000})
        for (std::int64_t offset = -2; offset <= 2; ++offset)
            moments.push_back(edge + offset);
    std::mt19937_64 generator(1);
    std::uniform_int_distribution<std::int64_t> all(2 * year0, 2 * year10000);
    std::uniform_int_distribution<std::int64_t> usual(312768000, 4354819200);
    for (int count = 0; count < 100000; ++count) {
        moments.push_back(all(generator));
        moments.push_back(usual(generator));
    }
    for (const std::int64_t moment : moments)
        ASSERT_EQ(cli::dateText({static_cast<double>(moment)}), expectedDate(moment)) << moment;
    EXPECT_EQ(cli::dateText({-0.5}), "1969-12-31 23:59:59");
}

TEST(EntryText, LongSizesAndMethodsWidenTheColumns) {
    const auto line = [](std::uint32_t size, std::uint16_t method) {
        archive::CentralDirectoryStructure record;
        record.uncompressedSize = size;
        record.compressionMethod = method;
        const auto entry = Entry::make(record, {}, std::nullopt, std::nullopt);
        return cli::listingLine(*entry, "x");
    };
    EXPECT_EQ(line(4294967294, 8).substr(0, 32), "-rw-r--r--   4294967294 deflate ");
    EXPECT_EQ(line(1, 65535).substr(0, 37), "-rw-r--r--            1 method 65535 ");
}

TEST(EntryText, MethodsHaveNames) {
    EXPECT_EQ(cli::methodName(0), "none");
    EXPECT_EQ(cli::methodName(8), "deflate");
    EXPECT_EQ(cli::methodName(12), "method 12");
    EXPECT_EQ(cli::methodName(0xFFFF), "method 65535");
}

TEST(EntryText, TypesHaveNames) {
    EXPECT_EQ(cli::typeName(EntryType::file), "file");
    EXPECT_EQ(cli::typeName(EntryType::directory), "directory");
    EXPECT_EQ(cli::typeName(EntryType::symlink), "symlink");
}

TEST(EntryText, ListingHasColumns) {
    const auto lines = listing({test::rawDirectory("d/"),
                                {.name = "d/f", .data = "hello"},
                                test::rawLink("l", "d/f"),
                                test::rawDeflated("z", "zzzzzzzz")});
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0].substr(0, 32), "drwxr-xr-x            0 none    ");
    EXPECT_EQ(lines[1].substr(0, 32), "-rw-r--r--            5 none    ");
    EXPECT_EQ(lines[2].substr(0, 1), "l");
    EXPECT_EQ(lines[3].substr(0, 32), "-rw-r--r--            8 deflate ");
    for (const std::string &line : lines)
        EXPECT_EQ(line.find_first_not_of("0123456789-: ", 32), 52U) << line;
    EXPECT_EQ(lines[1].substr(52), "d/f");
}

TEST(EntryText, InvalidNamesAreShownAsBytes) {
    EXPECT_EQ(listing({{.name = "a\xff", .data = ""}}).at(0).substr(52), "a\\xff");
}

} // namespace

} // namespace vellomir::cli
