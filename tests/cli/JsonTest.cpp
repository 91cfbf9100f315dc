#include "cli/Json.h"

#include "tests/support/RawArchive.h"
#include "tests/support/Referee.h"
#include "tests/support/TemporaryFolder.h"

#include <cmath>
#include <gtest/gtest.h>

namespace vellomir::cli {

using archive::Archive;
using archive::Data;

namespace {

/// Python's reading of the text: the members in order, one per line, as Python prints them.
std::string readByPython(const std::string &json) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "json", json);
    const std::string script = "import json, sys\n"
                               "value = json.load(open(sys.argv[1], 'rb'))\n"
                               "print(*(f'{k}={v!a}' for k, v in value.items()), sep='\\n')";
    return test::run({"python3", "-c", script, (folder / "json").string()}).output;
}

TEST(Json, JobHasLogMessageAndResult) {
    EXPECT_EQ(cli::jobJson({"Unzipping IPA...", "a \"b\""}, "", "/tmp/x.ipa", {}),
              R"({"log":["Unzipping IPA...","a \"b\""],"errorMessage":"","result":"/tmp/x.ipa",)"
              R"("warnings":[]})");
    EXPECT_EQ(cli::jobJson({}, "Error", std::nullopt, {"one", "two"}),
              R"({"log":[],"errorMessage":"Error","result":null,"warnings":["one","two"]})");
}

TEST(Json, ChangeReportHasEveryKindOfValue) {
    const PropertyListValue from{PropertyListDictionary{
        {.key = "text", .value = {std::string("a")}},
        {.key = "numbers",
         .value = {PropertyListArray{{std::int64_t{-1}}, {PropertyListReal{1.5}}, {true}}}},
        {.key = "data", .value = {Data(std::string_view("\0\1", 2))}},
        {.key = "date", .value = {PropertyListDate{0}}},
        {.key = "infinite", .value = {PropertyListReal{HUGE_VAL}}},
        {.key = "uid", .value = {PropertyListUID{3}}},
        {.key = "null", .value = {PropertyListNull()}}}};
    const std::vector<PackageChange> changes = {
        {.file = "P/Info.plist",
         .value = {.keyPath = {"a", "0"}, .from = from, .to = std::nullopt}}};
    const std::vector<KeptText> kept = {{.file = "P/x", .keyPath = {"k"}, .text = "t"}};
    const std::string json = cli::changeReportJson(
        {.package = "a.ipa", .result = "/b.ipa", .changes = changes, .kept = kept, .warnings = {}});
    EXPECT_EQ(
        readByPython(json),
        "package='a.ipa'\nresult='/b.ipa'\nchanges=[{'file': 'P/Info.plist', 'keyPath': ['a', "
        "'0'], 'from': {'text': 'a', 'numbers': [-1, 1.5, True], 'data': 'AAE=', 'date': "
        "'2001-01-01T00:00:00Z', 'infinite': '+infinity', 'uid': {'CF$UID': 3}, 'null': None}, "
        "'to': None}]\nkept=[{'file': 'P/x', 'keyPath': ['k'], 'text': 't'}]\nwarnings=[]\n");
    EXPECT_EQ(json.substr(0, 4), "{\n  ");
    EXPECT_EQ(json.back(), '\n');
}

TEST(Json, EntryMembersAreInOrder) {
    const auto opened = Archive::open(Data(test::rawArchive({{.name = "a", .data = "123456789"}})),
                                      Archive::AccessMode::read);
    const std::string json = cli::entryJson(*opened->begin(), "a");
    EXPECT_EQ(readByPython(json).substr(0, readByPython(json).find("modified")),
              "path='a'\ntype='file'\nmethod=0\ncompressedSize=9\nuncompressedSize=9\n"
              "checksum='cbf43926'\n");
    EXPECT_NE(json.find(R"("permissions":"0644","dataOffset":31,"localSize":40,"zip64":false})"),
              std::string::npos)
        << json;
}

TEST(Json, InvalidNamesGiveValidJson) {
    EXPECT_EQ(readByPython(cli::jobJson({"a\xff\n\x1b"}, "\xed\xa0\x80", "\"\\", {"w\xff"})),
              "log=['a\\ufffd\\n\\x1b']\nerrorMessage='\\ufffd\\ufffd\\ufffd'\nresult='\"\\\\'\n"
              "warnings=['w\\ufffd']\n");
}

TEST(Json, ControlCharactersAreEscaped) {
    EXPECT_EQ(cli::problemJson({"\x1b[2J\x7f", "\xc2\x80\xc2\x9b\xc2\xa0\xc3\x9b"}),
              R"({"entry":"\u001b[2J\u007f","problem":"\u0080\u009b)"
              "\xc2\xa0\xc3\x9b"
              R"("})");
    EXPECT_EQ(readByPython(cli::problemJson({"\x7f", "\xc2\x9b"})),
              "entry='\\x7f'\nproblem='\\x9b'\n");
}

TEST(Json, HeadsAreContinuedByTheirElements) {
    EXPECT_EQ(readByPython(cli::listHeadJson("a.zip", true) + "]}"),
              "archive='a.zip'\nzip64=True\nentries=[]\n");
    EXPECT_EQ(cli::testHeadJson("a", false) + cli::problemJson({"e", "p"}) + "]}",
              R"({"archive":"a","ok":false,"problems":[{"entry":"e","problem":"p"}]})");
}

} // namespace

} // namespace vellomir::cli
