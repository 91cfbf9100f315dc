// What others wrote comes out of our hands as they would read it: Python's plistlib writes property
// lists of all types at random, we read and rewrite them, and Python compares.

#include "Vellomir/Platform/PropertyList.h"
#include "tests/support/Referee.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

using archive::Data;
using testing::HasSubstr;
using vellomir::PropertyList;
namespace fs = std::filesystem;

namespace {

constexpr const char *generator = R"(
import datetime, plistlib, random, struct, sys
random.seed(int(sys.argv[2]))
alphabet = 'abc <>&"\'\t\n\u00e9\u20ac\U0001f600\\;={}()[]%$#-_./'
def text():
    return ''.join(random.choice(alphabet) for _ in range(random.choice((0, 1, 5, 14, 15, 40, 300))))
def date():
    return datetime.datetime(random.randint(1000, 9999), random.randint(1, 12), random.randint(1, 28),
        random.randint(0, 23), random.randint(0, 59), random.randint(0, 59))
def integer():
    return random.choice((0, 1, -1, 127, 128, 255, 256, 65535, 65536, 2**31 - 1, 2**31, 2**32 - 1, 2**32,
        2**63 - 1, 2**63, 2**64 - 1, -2**31, -2**63, random.randint(-2**63, 2**64 - 1)))
def real():
    value = random.choice((0.0, 0.1, 1.0, -2.5, 1e22, 1e-310, 1.7976931348623157e308, float('inf'), float('-inf'),
        float('nan'), random.uniform(-1e6, 1e6), struct.unpack('>d', random.randbytes(8))[0]))
    return value if value != 0 else 0.0
def value(depth):
    kinds = [text, integer, real, date, lambda: random.random() < 0.5,
        lambda: random.randbytes(random.choice((0, 1, 2, 3, 14, 15, 100)))]
    if depth < 4:
        kinds += 2 * [lambda: [value(depth + 1) for _ in range(random.choice((0, 1, 3, 20)))], lambda: dictionary(depth + 1)]
    return random.choice(kinds)()
def dictionary(depth):
    return {text() + str(index): value(depth) for index in range(random.choice((0, 1, 3, 16)))}
for index in range(int(sys.argv[3])):
    content = dictionary(0)
    for name, form in (('xml', plistlib.FMT_XML), ('binary', plistlib.FMT_BINARY)):
        with open(f'{sys.argv[1]}/{index}.{name}', 'wb') as file:
            plistlib.dump(content, file, fmt=form, sort_keys=False)
)";

constexpr const char *comparer = R"(
import math, plistlib, sys
def same(a, b):
    if type(a) is not type(b):
        return False
    if isinstance(a, float):
        return a == b or math.isnan(a) and math.isnan(b)
    if isinstance(a, list):
        return len(a) == len(b) and all(map(same, a, b))
    if isinstance(a, dict):
        return list(a) == list(b) and all(same(a[key], b[key]) for key in a)
    return a == b
bad = 0
for index in range(int(sys.argv[2])):
    for name in ('xml', 'binary'):
        with open(f'{sys.argv[1]}/{index}.{name}', 'rb') as before, open(f'{sys.argv[1]}/{index}.{name}.new', 'rb') as after:
            bad += not same(plistlib.load(before), plistlib.load(after, fmt=plistlib.FMT_XML))
print(f'{index + 1} compared, {bad} differ')
)";

TEST(Python, ReadsFromOurHandsWhatItWrote) {
    constexpr int count = 200;
    const test::TemporaryFolder folder;
    const std::string path = folder.path();
    const std::string countText = std::to_string(count);
    ASSERT_EQ(test::run({"python3", "-c", generator, path, "7", countText}).output, "");
    for (int index = 0; index < count; ++index)
        for (const char *format : {".xml", ".binary"}) {
            const fs::path file = folder / (std::to_string(index) + format);
            const std::string content = test::readFile(file);
            const auto list = PropertyList::parse(Data(std::string_view(content)));
            test::writeFile(file.string() + ".new", list.xmlData().text());
        }
    EXPECT_EQ(test::run({"python3", "-c", comparer, path, countText}).output,
              "200 compared, 0 differ\n");
}

TEST(Python, AgreesOnIdentifiersOfArchivedObjects) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "list";
    ASSERT_EQ(test::run({"python3", "-c",
                         "import plistlib, sys\n"
                         "list = {'a': plistlib.UID(0), 'b': [plistlib.UID(2**32 - 1)]}\n"
                         "plistlib.dump(list, open(sys.argv[1], 'wb'), fmt=plistlib.FMT_BINARY)",
                         path})
                  .output,
              "");
    const auto list = PropertyList::parse(Data(std::string_view(test::readFile(path))));
    test::writeFile(path, list.xmlData().text());
    EXPECT_EQ(
        test::run({"python3", "-c",
                   "import plistlib, sys; print(plistlib.load(open(sys.argv[1], 'rb')))", path})
            .output,
        "{'a': {'CF$UID': 0}, 'b': [{'CF$UID': 4294967295}]}\n");
}

TEST(Python, ReadsTheOldFormatAsWeRewriteIt) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "list";
    const auto list = PropertyList::parse(Data(std::string_view(
        "{CFBundleName = \"N\\U00f6tes\"; list = (a, (\"b c\")); data = <00ff>; }")));
    test::writeFile(path, list.xmlData().text());
    EXPECT_EQ(
        test::run({"python3", "-c",
                   "import plistlib, sys; print(plistlib.load(open(sys.argv[1], 'rb')))", path})
            .output,
        "{'CFBundleName': 'N\xC3\xB6tes', 'list': ['a', ['b c']], 'data': b'\\x00\\xff'}\n");
}

} // namespace
