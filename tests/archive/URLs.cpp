// URLs, and the paths of entries below a folder.

#include "archive/PathBelow.h"
#include "archive/URL.h"
#include "tests/support/Errors.h"
#include "tests/support/Hex.h"
#include "tests/support/Referee.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>

namespace vellomir::archive {

namespace {

URL file(std::string_view path) {
    return URL::file(path);
}

/// The text of the standardized file URL.
std::string standard(std::string_view path) {
    return file(path).standardized().absoluteString();
}

/// Runs a test in another current folder.
class InFolder {
public:
    explicit InFolder(const std::filesystem::path &folder)
        : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    ~InFolder() { std::filesystem::current_path(before_); }
    InFolder(const InFolder &) = delete;
    InFolder &operator=(const InFolder &) = delete;

private:
    std::filesystem::path before_;
};

// --- Making one -------------------------------------------------------------------------------

TEST(FileURL, HasASchemeAndAPath) {
    const URL url = file("/a/b.txt");
    EXPECT_EQ(url.scheme(), "file");
    EXPECT_TRUE(url.isFileURL());
    EXPECT_EQ(url.path(), "/a/b.txt");
    EXPECT_EQ(url.absoluteString(), "file:///a/b.txt");
    EXPECT_FALSE(url.hasDirectoryPath());
}

TEST(FileURL, OfAFolderEndsInASlash) {
    for (const URL &url : {URL::folder("/a/b"), URL::folder("/a/b/"), file("/a/b/")}) {
        EXPECT_TRUE(url.hasDirectoryPath());
        EXPECT_EQ(url.path(), "/a/b");
        EXPECT_EQ(url.absoluteString(), "file:///a/b/");
    }
    EXPECT_EQ(URL::folder("/").absoluteString(), "file:///");
    EXPECT_EQ(URL::folder("/").path(), "/");
}

TEST(FileURL, OfARelativePathIsBelowTheCurrentFolder) {
    const test::TemporaryFolder folder;
    const InFolder in(folder.path());
    const std::string current = std::filesystem::current_path().string();
    EXPECT_EQ(file("a/b").path(), current + "/a/b");
    EXPECT_EQ(file("../a").path(), current + "/../a");
    EXPECT_EQ(URL::folder("a").absoluteString(), "file://" + current + "/a/");
    EXPECT_EQ(file("").path(), current);
}

TEST(FileURL, OfARelativePathBelowTheRootHasOneSlash) {
    const InFolder in("/");
    EXPECT_EQ(file("a").absoluteString(), "file:///a");
    EXPECT_EQ(file("").absoluteString(), "file:///");
}

TEST(FileURL, OfARelativePathNeedsACurrentFolder) {
    const test::TemporaryFolder folder;
    const auto gone = folder / "gone";
    std::filesystem::create_directory(gone);
    const InFolder in(gone);
    std::filesystem::remove(gone);
    EXPECT_EQ(file("/a").path(), "/a");
    const Error error = test::thrownBy([] { static_cast<void>(file("a")); });
    EXPECT_EQ(error.code(), FileError::fileReadNoSuchFile);
    EXPECT_EQ(error.path(), "a");
    EXPECT_EQ(error.systemError(), ENOENT);
}

TEST(OtherURL, HasItsOwnScheme) {
    const URL url(std::string(memoryURLScheme), "/");
    EXPECT_EQ(url.scheme(), "memory");
    EXPECT_FALSE(url.isFileURL());
    EXPECT_EQ(url.absoluteString(), "memory:///");
    EXPECT_NE(url, file("/"));
    EXPECT_FALSE(URL("memory", "/a/b").isContained(file("/a")));
}

TEST(URLValue, EqualityIsThatOfTheText) {
    EXPECT_EQ(file("/a/b"), file("/a/b"));
    EXPECT_NE(file("/a/b"), file("/a/b/"));
    EXPECT_NE(file("/a/b"), file("/a/./b"));
    EXPECT_EQ(URL().path(), "");
    EXPECT_EQ(URL(), URL());
}

// --- Components -------------------------------------------------------------------------------

TEST(LastComponent, FollowsTheLastSlash) {
    EXPECT_EQ(file("/a/b.txt").lastPathComponent(), "b.txt");
    EXPECT_EQ(file("/a/b/").lastPathComponent(), "b");
    EXPECT_EQ(file("/a/b///").lastPathComponent(), "b");
    EXPECT_EQ(file("/a").lastPathComponent(), "a");
    EXPECT_EQ(file("/").lastPathComponent(), "");
    EXPECT_EQ(file("//").lastPathComponent(), "");
    EXPECT_EQ(file("/a/..").lastPathComponent(), "..");
    EXPECT_EQ(URL().lastPathComponent(), "");
}

TEST(LastComponent, CanBeDeleted) {
    EXPECT_EQ(file("/a/b").deletingLastPathComponent().absoluteString(), "file:///a/");
    EXPECT_EQ(file("/a/b/").deletingLastPathComponent().absoluteString(), "file:///a/");
    EXPECT_EQ(file("/a").deletingLastPathComponent().absoluteString(), "file:///");
    EXPECT_EQ(file("/").deletingLastPathComponent().absoluteString(), "file:///");
    EXPECT_EQ(URL().deletingLastPathComponent().path(), "");
}

TEST(LastComponent, CanBeAppended) {
    const auto appended = [](std::string_view path, std::string_view component) {
        return file(path).appendingPathComponent(component).absoluteString();
    };
    EXPECT_EQ(appended("/a", "b"), "file:///a/b");
    EXPECT_EQ(appended("/a/", "b"), "file:///a/b");
    EXPECT_EQ(appended("/", "b"), "file:///b");
    EXPECT_EQ(appended("/a", "b/c"), "file:///a/b/c");
    EXPECT_EQ(appended("/a", "b/"), "file:///a/b/");
    EXPECT_EQ(appended("/a", ""), "file:///a/");
    EXPECT_EQ(appended("/a", "/etc/x"), "file:///a/etc/x");
    EXPECT_EQ(appended("/a", "///etc/x"), "file:///a/etc/x");
    EXPECT_EQ(appended("/a", "../b"), "file:///a/../b");
    EXPECT_EQ(appended("/a", "100%/ü"), "file:///a/100%25/%C3%BC");
    EXPECT_EQ(URL("memory", "/").appendingPathComponent("a").absoluteString(), "memory:///a");
}

// --- Extensions -------------------------------------------------------------------------------

struct Name {
    const char *whole;
    const char *shortened;
    const char *extension;
};

constexpr Name names[] = {
    {"My.App.ipa", "My.App", "ipa"},
    {"a.zip", "a", "zip"},
    {"name", "name", ""},
    {".hidden", ".hidden", ""},
    {".hidden.zip", ".hidden", "zip"},
    {"a.", "a.", ""},
    {"a..", "a..", ""},
    {"a..zip", "a.", "zip"},
    {"a.b.", "a.b.", ""},
    {".", ".", ""},
    {"..", "..", ""},
    {"...", "...", ""},
    {"..zip", "..zip", ""},
    {"a b.c d", "a b", "c d"},
    {"ü.ïpä", "ü", "ïpä"},
    {"A.APP", "A", "APP"},
};

TEST(PathExtension, FollowsTheLastDotBehindAName) {
    for (const auto &[whole, shortened, extension] : names) {
        const URL url = file("/x.y/").appendingPathComponent(whole);
        EXPECT_EQ(url.pathExtension(), extension) << whole;
        EXPECT_EQ(url.deletingPathExtension().lastPathComponent(), shortened) << whole;
        EXPECT_EQ(url.deletingPathExtension(), file("/x.y").appendingPathComponent(shortened));
    }
}

TEST(PathExtension, OfAFolderIsThatOfItsName) {
    for (const auto &[whole, shortened, extension] : names) {
        const URL url = URL::folder(std::string("/x.y/") + whole);
        EXPECT_EQ(url.pathExtension(), extension) << whole;
        EXPECT_EQ(url.deletingPathExtension().absoluteString(),
                  URL::folder(std::string("/x.y/") + shortened).absoluteString());
    }
    EXPECT_EQ(file("/").pathExtension(), "");
    EXPECT_EQ(file("/").deletingPathExtension(), file("/"));
    EXPECT_EQ(file("/a.b").deletingPathExtension(), file("/a"));
}

TEST(PathExtension, CanBeAppended) {
    EXPECT_EQ(file("/a/b").appendingPathExtension("zip").path(), "/a/b.zip");
    EXPECT_EQ(file("/a/b.c").appendingPathExtension("zip").path(), "/a/b.c.zip");
    EXPECT_EQ(file("/a/b").appendingPathExtension("zip").deletingPathExtension(), file("/a/b"));
}

// --- The text ---------------------------------------------------------------------------------

TEST(AbsoluteString, IsPercentEncodedAsInPython) {
    // Each character but NUL and "/" once, and some beyond ASCII.
    std::string name;
    for (char character = 1; character > 0 && character < 127; ++character)
        if (character != '/')
            name += character;
    name += "\x7Fß€😀\xFF\x80";
    const std::string script = R"(
import sys, urllib.parse
safe = "-._~!$&'()*+,;=:@/"
sys.stdout.write(urllib.parse.quote(bytes.fromhex(sys.argv[1]), safe=safe))
)";
    const std::string digits = test::hex(Data(std::string_view(name)));
    const test::Verdict verdict = test::run({"python3", "-c", script, digits});
    ASSERT_EQ(verdict.exitCode, 0) << verdict.output;
    EXPECT_EQ(file("/" + name).absoluteString(), "file:///" + verdict.output);
}

TEST(AbsoluteString, EscapesReservedCharacters) {
    EXPECT_EQ(file("/a b?c#d%20[e]").absoluteString(), "file:///a%20b%3Fc%23d%2520%5Be%5D");
    EXPECT_EQ(file("/a\nb").absoluteString(), "file:///a%0Ab");
    EXPECT_EQ(file("/a b?c#d%20[e]").path(), "/a b?c#d%20[e]");
}

TEST(Standardized, ResolvesDotsByTheText) {
    for (const auto &[path, expected] :
         {std::pair<std::string, std::string>{"/a/./b", "file:///a/b"},
          {"/a/../b", "file:///b"},
          {"/a/b/../../c", "file:///c"},
          {"/../../a", "file:///a"},
          {"/a//b///c", "file:///a/b/c"},
          {"/a/.../..b/c..", "file:///a/.../..b/c.."},
          {"/a/b", "file:///a/b"}})
        EXPECT_EQ(standard(path), expected) << path;
}

TEST(Standardized, KeepsAndFindsFolders) {
    for (const auto &[path, expected] : {std::pair<std::string, std::string>{"/a/", "file:///a/"},
                                         {"/a//", "file:///a/"},
                                         {"/a/.", "file:///a/"},
                                         {"/a/b/..", "file:///a/"},
                                         {"/a/..", "file:///"},
                                         {"/..", "file:///"},
                                         {"/.", "file:///"},
                                         {"/", "file:///"}})
        EXPECT_EQ(standard(path), expected) << path;
    EXPECT_EQ(URL().standardized().path(), "/");
}

TEST(Standardized, TwiceIsTheSame) {
    for (const char *path : {"/a/../b/./c//", "/../x", "/a/b/..", "//", "/.././a/..", "/a"})
        EXPECT_EQ(file(path).standardized(), file(path).standardized().standardized()) << path;
}

// --- Containment ------------------------------------------------------------------------------

TEST(Containment, ComparesStandardizedTexts) {
    const auto isIn = [](std::string_view path, std::string_view folder) {
        return file(path).isContained(file(folder));
    };
    EXPECT_TRUE(isIn("/tmp/out/a", "/tmp/out"));
    EXPECT_TRUE(isIn("/tmp/out/a", "/tmp/out/"));
    EXPECT_TRUE(isIn("/tmp/out/a/b/c/", "/tmp/out"));
    EXPECT_FALSE(isIn("/tmp/outside/x", "/tmp/out"));
    EXPECT_FALSE(isIn("/tmp/outside", "/tmp/out/"));
    EXPECT_FALSE(isIn("/tmp/out/../evil", "/tmp/out"));
    EXPECT_FALSE(isIn("/tmp/out/a/../../evil", "/tmp/out"));
    EXPECT_FALSE(isIn("/tmp/out/a/../../../../../../etc", "/tmp/out"));
    EXPECT_TRUE(isIn("/tmp/out/a/../b", "/tmp/out"));
    EXPECT_TRUE(isIn("/tmp/x/../out/a", "/tmp/./out/y/.."));
    EXPECT_TRUE(isIn("/tmp/out/..a", "/tmp/out"));
    EXPECT_TRUE(isIn("/a", "/"));
    EXPECT_FALSE(isIn("/TMP/out/a", "/tmp/out"));
    EXPECT_TRUE(isIn("/o u?t/a", "/o u?t"));
}

TEST(Containment, OfTheFolderItselfNeedsItsSlash) {
    EXPECT_FALSE(file("/tmp/out").isContained(file("/tmp/out")));
    EXPECT_TRUE(file("/tmp/out/").isContained(file("/tmp/out")));
    EXPECT_TRUE(file("/tmp/out/a/..").isContained(file("/tmp/out")));
}

TEST(Containment, OfAppendedNames) {
    const URL folder = file("/tmp/out");
    for (const char *name : {"../evil.txt", "a/../../evil.txt", "..", "./../x", "../out"})
        EXPECT_FALSE(folder.appendingPathComponent(name).isContained(folder)) << name;
    for (const char *name : {"/etc/x", "a/../b", "...", "a", "../out/a"})
        EXPECT_TRUE(folder.appendingPathComponent(name).isContained(folder)) << name;
}

// --- Paths below a folder ---------------------------------------------------------------------

struct Case {
    std::string path;
    std::string below;
};

const Case cases[] = {{"a", "a"},
                      {"a/b", "a/b"},
                      {"a/", "a"},
                      {"/etc/x", "etc/x"},
                      {"//y", "y"},
                      {"./w", "w"},
                      {"c//d", "c/d"},
                      {"b/../z", "z"},
                      {"e/./f", "e/f"},
                      {"g/h/..", "g"},
                      {"i/j/../", "i"},
                      {".", ""},
                      {"./", ""},
                      {"k/..", ""},
                      {"", ""},
                      {"a..b/.c", "a..b/.c"},
                      {"a//b//c/", "a/b/c"},
                      {"one/../two/./three", "two/three"}};

TEST(PathBelow, IsTheSameForEveryDestination) {
    for (const std::string destination : {"/", "/tmp", "/tmp/out/", "/tmp/x/../out", "//tmp//out"})
        for (const Case &each : cases)
            EXPECT_EQ(pathBelow(URL::folder(destination), each.path), each.below)
                << each.path << " in " << destination;
}

TEST(PathBelow, RefusesPathsThatLeaveTheFolder) {
    for (const std::string path : {"..", "../a", "a/../..", "a/../../b", "./../c", "../out2/a"}) {
        const Error error =
            test::thrownBy([&] { static_cast<void>(pathBelow(URL::folder("/tmp/out"), path)); });
        EXPECT_EQ(error.code(), FileError::fileReadInvalidFileName) << path;
        EXPECT_EQ(error.path(), "/tmp/out/" + path);
    }
}

TEST(PathBelow, RootHasNoParent) {
    EXPECT_EQ(pathBelow(URL::folder("/"), "../a"), "a");
    EXPECT_EQ(pathBelow(URL::folder("/"), "a/../../b"), "b");
}

TEST(PathBelow, AcceptsAPathThatReturnsToTheFolder) {
    EXPECT_EQ(pathBelow(URL::folder("/tmp/out"), "../out/a"), "a");
}

} // namespace

} // namespace vellomir::archive
