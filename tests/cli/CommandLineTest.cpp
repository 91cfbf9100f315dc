#include "cli/CommandLine.h"

#include <gmock/gmock.h>

namespace vellomir::cli {

using namespace cli;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

using Arguments = std::vector<std::string>;

Request request(const Arguments &arguments) {
    return std::get<Request>(parse(arguments));
}

template <class Options>
Options options(const Arguments &arguments) {
    return std::get<Options>(request(arguments).options);
}

std::string error(const Arguments &arguments) {
    try {
        static_cast<void>(parse(arguments));
    } catch (const UsageError &failure) {
        return failure.what();
    }
    return "no error";
}

TEST(CommandLine, DuplicateAcceptsAllOptions) {
    const auto chosen = options<DuplicateOptions>(
        {"duplicate", "a.ipa", "--number", "2", "--icon", "i.png", "--zoom", "--output", "out",
         "--force", "--json", "--strict", "--allow-incomplete", "--encoding", "utf-8", "--on-disk",
         "--jobs", "3"});
    EXPECT_EQ(chosen.package, "a.ipa");
    EXPECT_EQ(chosen.number, "2");
    EXPECT_EQ(chosen.icon, "i.png");
    EXPECT_EQ(chosen.output, "out");
    EXPECT_TRUE(chosen.zoom && chosen.force && chosen.json && chosen.strict &&
                chosen.allowIncomplete && chosen.onDisk);
    EXPECT_EQ(chosen.jobs, 3U);
    EXPECT_EQ(chosen.encoding, archive::TextEncoding::utf8);
}

TEST(CommandLine, OperandsMayBeNamedLikeCommands) {
    EXPECT_EQ(options<ListOptions>({"archive", "list", "list"}).archive, "list");
    EXPECT_EQ(options<ListOptions>({"archive", "list", "duplicate"}).archive, "duplicate");
    EXPECT_EQ(options<CatOptions>({"archive", "cat", "archive", "test"}).entry, "test");
    EXPECT_THAT(error({"list", "a.zip"}), HasSubstr("\"list\" is no command"));
}

TEST(CommandLine, ErrorsAndHelpNameAllCommands) {
    EXPECT_THAT(error({"archive", "lst", "a.zip"}), HasSubstr("did you mean \"list\"?"));
    EXPECT_THAT(std::get<Answer>(parse({"archive", "--help"})).text,
                AllOf(HasSubstr("list"), HasSubstr("extract"), HasSubstr("compare")));
    EXPECT_THAT(std::get<Answer>(parse({"archive", "list", "--help"})).text,
                AllOf(HasSubstr("--encoding"), HasSubstr("--json")));
}

TEST(CommandLine, DuplicateHasDefaults) {
    const auto chosen = options<DuplicateOptions>({"duplicate", "--number", "2", "a.ipa"});
    EXPECT_EQ(chosen.icon, std::nullopt);
    EXPECT_EQ(chosen.output, ".");
    EXPECT_EQ(chosen.encoding, std::nullopt);
    EXPECT_FALSE(chosen.zoom || chosen.force || chosen.json || chosen.strict ||
                 chosen.allowIncomplete || chosen.onDisk);
    EXPECT_EQ(chosen.jobs, 0U);
}

TEST(CommandLine, DuplicateAcceptsDeepChanges) {
    const auto chosen = options<DuplicateOptions>(
        {"duplicate", "a.ipa", "--number", "2", "--nested", "--localized", "--icons", "--icon", "i",
         "--opaque", "--name", "--", "--identifier", "a.B-1", "--report", "r.json"});
    EXPECT_TRUE(chosen.changes.nested && chosen.changes.localized && chosen.changes.icons &&
                chosen.opaque);
    EXPECT_EQ(chosen.changes.name, "--");
    EXPECT_EQ(chosen.changes.identifier, "a.B-1");
    EXPECT_EQ(chosen.report, "r.json");
    const auto plain = options<DuplicateOptions>({"duplicate", "a.ipa", "--number", "2"});
    EXPECT_FALSE(plain.changes.nested || plain.changes.localized || plain.changes.icons ||
                 plain.opaque || plain.changes.name || plain.changes.identifier || plain.report);
}

TEST(CommandLine, DeepIsAllThree) {
    const auto with =
        options<DuplicateOptions>({"duplicate", "a", "--number", "2", "--deep", "--icon", "i"});
    EXPECT_TRUE(with.changes.nested && with.changes.localized && with.changes.icons);
    const auto without = options<DuplicateOptions>({"duplicate", "a", "--number", "2", "--deep"});
    EXPECT_TRUE(without.changes.nested && without.changes.localized);
    EXPECT_FALSE(without.changes.icons);
}

TEST(CommandLine, NameAndIdentifierNeedNoNumber) {
    EXPECT_EQ(
        options<DuplicateOptions>({"duplicate", "a", "--name", "n", "--identifier", "i"}).number,
        "");
}

TEST(CommandLine, NumberMayBeAnyText) {
    for (const std::string number :
         {"", "-copy", "--json", "--", "[1,2]", "-2", "ü\n", "a=b", " "}) {
        EXPECT_EQ(options<DuplicateOptions>({"duplicate", "a", "--number", number}).number, number);
        EXPECT_EQ(options<DuplicateOptions>({"duplicate", "a", "--number=" + number}).number,
                  number);
    }
}

TEST(CommandLine, OnlyLongCommandsHaveProgressBar) {
    EXPECT_EQ(request({"archive", "extract", "a", "b"}).feedback.progress, ProgressMode::automatic);
    EXPECT_EQ(request({"duplicate", "a", "--number", "1"}).feedback.progress,
              ProgressMode::automatic);
    EXPECT_EQ(request({"archive", "list", "a"}).feedback.progress, ProgressMode::never);
    EXPECT_EQ(request({"archive", "cat", "a", "b"}).feedback.progress, ProgressMode::never);
    const auto chosen =
        request({"archive", "create", "a", "b", "--progress", "always", "--quiet"}).feedback;
    EXPECT_EQ(chosen.progress, ProgressMode::always);
    EXPECT_TRUE(chosen.quiet);
}

TEST(CommandLine, ArchiveCommandsAcceptTheirOptions) {
    const auto list =
        options<ListOptions>({"archive", "list", "a", "--encoding", "cp437", "--json"});
    EXPECT_EQ(list.encoding, archive::TextEncoding::codePage437);
    EXPECT_TRUE(list.json);

    const auto extract = options<ExtractOptions>(
        {"archive", "extract", "a", "d", "--skip-crc32", "--encoding", "utf-8", "--jobs", "64"});
    EXPECT_EQ(extract.destination, "d");
    EXPECT_EQ(extract.encoding, archive::TextEncoding::utf8);
    EXPECT_TRUE(extract.skipCRC32);
    EXPECT_EQ(extract.jobs, 64U);
    EXPECT_EQ(options<ExtractOptions>({"archive", "extract", "a", "d"}).jobs, 0U);

    const auto create = options<CreateOptions>(
        {"archive", "create", "a", "s", "--keep-parent", "--method", "deflate"});
    EXPECT_EQ(create.method, archive::CompressionMethod::deflate);
    EXPECT_TRUE(create.keepParent);

    EXPECT_EQ(options<CatOptions>({"archive", "cat", "a", "e"}).entry, "e");
    EXPECT_TRUE(options<TestOptions>({"archive", "test", "a", "--json"}).json);

    const auto compare = options<CompareOptions>(
        {"archive", "compare", "a", "--contents", "b", "--encoding", "utf-8", "--json"});
    EXPECT_EQ(compare.first, "a");
    EXPECT_EQ(compare.second, "b");
    EXPECT_EQ(compare.encoding, archive::TextEncoding::utf8);
    EXPECT_TRUE(compare.contents);
    EXPECT_TRUE(compare.json);

    const auto remove = options<RemoveOptions>({"archive", "remove", "a", "x", "--memory", "y"});
    EXPECT_THAT(remove.entries, ElementsAre("x", "y"));
    EXPECT_TRUE(remove.memory);
    EXPECT_TRUE(options<ListOptions>({"archive", "list", "a", "--memory"}).memory);
    EXPECT_TRUE(options<CatOptions>({"archive", "cat", "--memory", "a", "e"}).memory);
    EXPECT_TRUE(options<TestOptions>({"archive", "test", "a", "--memory"}).memory);
    EXPECT_TRUE(options<AddOptions>({"archive", "add", "a", "x", "--memory"}).memory);
}

TEST(CommandLine, AddAcceptsAnyPath) {
    const auto add = options<AddOptions>(
        {"archive", "add", "a", "[x,y]", "--relative-to", "f", "b", "--", "-c", "--json"});
    EXPECT_EQ(add.relativeTo, "f");
    EXPECT_EQ(add.method, archive::CompressionMethod::none);
    EXPECT_THAT(add.paths, ElementsAre("[x,y]", "b", "-c", "--json"));
}

TEST(CommandLine, FilesMayBeNamedLikeCommands) {
    EXPECT_EQ(options<ListOptions>({"archive", "list", "list"}).archive, "list");
    EXPECT_EQ(options<DuplicateOptions>({"duplicate", "archive", "--number", "1"}).package,
              "archive");
}

TEST(CommandLine, ErrorsAreOneLineAndMentionHelp) {
    EXPECT_EQ(error({}),
              "wrong command line: a command is missing (vellomir-cli --help tells more)");
    EXPECT_EQ(error({"bogus"}),
              "wrong command line: \"bogus\" is no command (vellomir-cli --help tells more)");
    EXPECT_EQ(error({"archive", "bogus"}), "wrong command line: \"bogus\" is no command "
                                           "(vellomir-cli archive --help tells more)");
    EXPECT_EQ(error({"archive", "list"}), "wrong command line: ARCHIVE is required "
                                          "(vellomir-cli archive list --help tells more)");
}

TEST(CommandLine, WrongCommandLinesAreRefused) {
    const std::vector<std::pair<Arguments, std::string>> cases = {
        {{"duplicate", "a"}, "--number is required"},
        {{"duplicate", "--number", "1"}, "PACKAGE is required"},
        {{"duplicate", "a", "--name", "n"}, "--number is required"},
        {{"duplicate", "a", "--identifier", "i"}, "--number is required"},
        {{"duplicate", "a", "--number", "1", "--icons"}, "--icons requires --icon"},
        {{"duplicate", "a", "--number", "1", "--name", "a/b"},
         "--name: the name is also that of the copy's file, so it may not have a \"/\""},
        {{"duplicate", "a", "--number", "1", "--identifier", "a_b"},
         "--identifier: an identifier has only letters, digits, hyphens and dots"},
        {{"duplicate", "a", "--number", "1", "--identifier", "a..b"},
         "--identifier: an identifier has a text in front of and behind each dot"},
        {{"duplicate", "", "--number", "1"}, "may not be empty"},
        {{"duplicate", "a", "--number", "1", "--zoom"}, "--zoom requires --icon"},
        {{"duplicate", "a", "--number", "1", "--icon", ""}, "may not be empty"},
        {{"duplicate", "a", "--number", "1", "--output="}, "may not be empty"},
        {{"duplicate", "a", "--number", "1", "--icon"}, "PICTURE"},
        {{"duplicate", "a", "--number", "1", "--number", "1"}, "\"1\" is given twice"},
        {{"duplicate", "a", "a", "--number", "1"}, "\"a\" is given twice"},
        {{"archive", "list", "a", "--bogus"}, "not expected: --bogus"},
        {{"archive", "list", "[a]", "[b]"}, "not expected: [b]"},
        {{"archive", "list", "a", "--encoding", "latin1"}, "\"latin1\" is none of utf-8|cp437"},
        {{"archive", "create", "a", "b", "--method", "lzma"}, "\"lzma\" is none of none|deflate"},
        {{"archive", "extract", "a", "b", "--jobs", "0"}, "\"0\" is no number from 1 to 64"},
        {{"archive", "extract", "a", "b", "--jobs", "65"}, "\"65\" is no number from 1 to 64"},
        {{"archive", "extract", "a", "b", "--jobs", "-1"}, "\"-1\" is no number from 1 to 64"},
        {{"archive", "extract", "a", "b", "--jobs", "2x"}, "\"2x\" is no number from 1 to 64"},
        {{"archive", "extract", "a", "b", "--jobs="}, "\"\" is no number from 1 to 64"},
        {{"archive", "create", "a", "b", "--progress", "on"}, "none of auto|always|never"},
        {{"archive", "add", "a"}, "PATH"},
        {{"archive", "add", "a", "../b"}, "\"../b\""},
        {{"archive", "add", "a", "/b"}, "absolute"},
        {{"archive", "add", "a", "b", "b"}, "given twice"},
    };
    for (const auto &[arguments, expected] : cases)
        EXPECT_THAT(error(arguments), AllOf(StartsWith("wrong command line: "), HasSubstr(expected),
                                            Not(HasSubstr("\x1f"))));
}

TEST(CommandLine, EveryCommandHasHelp) {
    const std::vector<Arguments> commands = {
        {},
        {"duplicate"},
        {"archive"},
        {"archive", "list"},
        {"archive", "extract"},
        {"archive", "create"},
        {"archive", "add"},
        {"archive", "cat"},
        {"archive", "test"},
        {"archive", "compare"},
    };
    for (Arguments command : commands) {
        std::string usage = "Usage: vellomir-cli";
        for (const std::string &word : command)
            usage += " " + word;
        command.emplace_back("--help");
        EXPECT_THAT(std::get<Answer>(parse(command)).text, HasSubstr(usage + " "));
    }
}

TEST(CommandLine, VersionIsOneLine) {
    EXPECT_EQ(std::get<Answer>(parse({"--version"})).text, "vellomir-cli 2.0\n");
}

TEST(CommandLine, SendHasPortAndInterface) {
    const auto usual = options<SendOptions>({"send", "a.ipa"});
    EXPECT_EQ(usual.package, "a.ipa");
    EXPECT_EQ(usual.port, 0);
    EXPECT_EQ(usual.interface, std::nullopt);
    EXPECT_EQ(usual.qr, QrMode::automatic);
    const auto chosen = options<SendOptions>(
        {"send", "a.ipa", "--port", "65535", "--interface", "wlan0", "--qr", "never"});
    EXPECT_EQ(chosen.port, 65535);
    EXPECT_EQ(chosen.interface, "wlan0");
    EXPECT_EQ(chosen.qr, QrMode::never);
}

TEST(CommandLine, PortIsANumberOfAPort) {
    for (const char *const port :
         {"0", "65536", "99999999999999999999", "-1", "+1", "x", "80x", " 80", ""})
        EXPECT_THAT(error({"send", "a.ipa", "--port", port}),
                    HasSubstr("is no number from 1 to 65535"))
            << port;
}

} // namespace

} // namespace vellomir::cli
