// Python's plistlib writes thousands of random lists in XML and in binary; we read and rewrite
// them; Python compares. Then in the other direction: Python reads what we write and writes it
// again, and we compare.

#include "tests/support/Referee.h"
#include "Vellomir/PropertyLists/PropertyList.h"
#include "Vellomir/PropertyLists/XmlWriter.h"
#include "tests/support/TemporaryFolder.h"

#include <bit>
#include <gmock/gmock.h>
#include <random>

namespace vellomir {

using archive::Data;
namespace fs = std::filesystem;

namespace {

// --- Python writes ----------------------------------------------------------------------------

/// Several lists are stored in one file: four bytes for the size of a list, then its bytes.
constexpr const char *shared = R"(
import datetime, math, plistlib, random, struct, sys
def put(file, content):
    file.write(struct.pack('<I', len(content)) + content)
def get(file):
    return file.read(struct.unpack('<I', file.read(4))[0])
def same(a, b):
    if type(a) is not type(b):
        return False
    if isinstance(a, float):
        return struct.pack('>d', a) == struct.pack('>d', b) or math.isnan(a) and math.isnan(b)
    if isinstance(a, list):
        return len(a) == len(b) and all(map(same, a, b))
    if isinstance(a, dict):
        return list(a) == list(b) and all(same(a[key], b[key]) for key in a)
    return a == b
)";

constexpr const char *generator = R"(
random.seed(int(sys.argv[2]))
alphabet = 'abc <>&"\'\t\n\r\u00e9\u20ac\U0001f600\\;={}()[]%$#-_./\x7f\x85\u2028]]>'
def text():
    return ''.join(random.choice(alphabet) for _ in range(random.choice((0, 1, 5, 14, 15, 40))))
def date(form):
    fraction = random.choice((0, 0, 1, 500000, 999999)) if form == plistlib.FMT_BINARY else 0
    return datetime.datetime(random.choice((1, 2, 999, 1000, 1969, 2001, 9999, random.randint(1, 9999))),
        random.randint(1, 12), random.randint(1, 28), random.randint(0, 23), random.randint(0, 59),
        random.randint(0, 59), fraction)
def integer():
    return random.choice((0, 1, -1, 127, 128, 255, 256, 65535, 65536, 2**31 - 1, 2**31, 2**32 - 1, 2**32,
        2**63 - 1, 2**63, 2**64 - 1, -2**31, -2**63, random.randint(-2**63, 2**64 - 1)))
def real():
    return random.choice((0.0, -0.0, 0.1, 1.0, -2.5, 1e22, 5e-324, 1.7976931348623157e308, float('inf'),
        float('-inf'), float('nan'), random.uniform(-1e6, 1e6), struct.unpack('>d', random.randbytes(8))[0]))
def uid(form):
    if form != plistlib.FMT_BINARY:
        return {'CF$UID': random.randint(0, 2**64 - 1)}
    return plistlib.UID(random.choice((0, 255, 256, 2**32 - 1, 2**32, 2**64 - 1)))
def value(depth, form):
    kinds = [text, integer, real, lambda: date(form), lambda: uid(form), lambda: random.random() < 0.5,
        lambda: random.randbytes(random.choice((0, 1, 2, 3, 14, 15, 56, 57, 58, 100)))]
    if depth < 4:
        kinds += 2 * [lambda: [value(depth + 1, form) for _ in range(random.choice((0, 1, 2, 6)))],
            lambda: dictionary(depth + 1, form)]
    return random.choice(kinds)()
def dictionary(depth, form):
    return {text() + str(index): value(depth, form) for index in range(random.choice((0, 1, 3, 6)))}
with open(sys.argv[1], 'wb') as file:
    for index in range(int(sys.argv[3])):
        form = random.choice((plistlib.FMT_XML, plistlib.FMT_BINARY))
        put(file, plistlib.dumps(dictionary(0, form), fmt=form, sort_keys=False))
)";

/// Reduces what Python read to what XML can hold: whole seconds, and UIDs as dictionaries.
constexpr const char *comparer = R"(
def inXml(a):
    if isinstance(a, plistlib.UID):
        return {'CF$UID': a.data}
    if isinstance(a, datetime.datetime):
        return a.replace(microsecond=0)
    if isinstance(a, list):
        return list(map(inXml, a))
    if isinstance(a, dict):
        return {key: inXml(value) for key, value in a.items()}
    return a
bad = 0
with open(sys.argv[1], 'rb') as before, open(sys.argv[2], 'rb') as after:
    for index in range(int(sys.argv[3])):
        old, new = get(before), get(after)
        bad += not same(inXml(plistlib.loads(old)), plistlib.loads(new, fmt=plistlib.FMT_XML))
print(f'{index + 1} compared, {bad} differ')
)";

std::string python(const std::string &script, std::vector<std::string> arguments) {
    std::vector<std::string> command = {"python3", "-c", shared + script};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return test::run(command).output;
}

std::vector<std::string> unpackLists(const std::string &file) {
    const std::string content = test::readFile(file);
    std::vector<std::string> lists;
    for (std::size_t position = 0; position < content.size();) {
        const Data size(std::string_view(content).substr(position, 4));
        lists.push_back(content.substr(position + 4, archive::scanValue<std::uint32_t>(size, 0)));
        position += 4 + lists.back().size();
    }
    return lists;
}

std::string packed(const Data &list) {
    Data size;
    size.appendValue(static_cast<std::uint32_t>(list.size()));
    return std::string(size.text()) + std::string(list.text());
}

TEST(Python, ListsWrittenByPythonSurviveRewriting) {
    constexpr std::size_t count = 2000;
    const test::TemporaryFolder folder;
    const std::string theirs = folder / "theirs";
    const std::string ours = folder / "ours";
    ASSERT_EQ(python(generator, {theirs, "7", std::to_string(count)}), "");
    const std::vector<std::string> lists = unpackLists(theirs);
    ASSERT_EQ(lists.size(), count);
    std::string rewritten;
    for (const std::string &list : lists)
        rewritten += packed(PropertyList::parse(Data(std::string_view(list))).xmlData());
    test::writeFile(ours, rewritten);
    EXPECT_EQ(python(comparer, {theirs, ours, std::to_string(count)}), "2000 compared, 0 differ\n");
}

// --- We write ---------------------------------------------------------------------------------

class ValueGenerator {
public:
    explicit ValueGenerator(unsigned seed) : random_(seed) {}

    PropertyListValue dictionary(int depth) {
        PropertyListDictionary members;
        for (std::uint64_t count = below(6), index = 0; index < count; ++index)
            members.push_back({text() + std::to_string(index), value(depth + 1)});
        return {std::move(members)};
    }

private:
    std::uint64_t below(std::uint64_t end) { return random_() % end; }

    std::string text() {
        static const std::vector<std::string> pieces = {
            "a",   "\r", "\n",      "&", "<", ">", "\"", " ", "\xC3\xA9", "\xF0\x9F\x98\x80",
            "]]>", "\t", "\xC2\x85"};
        std::string text;
        for (std::uint64_t count = below(20); count > 0; --count)
            text += pieces[below(pieces.size())];
        return text;
    }

    PropertyListValue value(int depth) {
        switch (below(depth < 4 ? 9 : 7)) {
        case 0:
            return {text()};
        case 1:
            return makeInteger(random_() >> below(64));
        case 2:
            return {static_cast<std::int64_t>(random_() >> below(64))};
        case 3:
            return {PropertyListReal{std::bit_cast<double>(random_())}};
        case 4:
            return {below(2) == 0};
        case 5:
            return {
                PropertyListDate{static_cast<double>(below(315'537'897'600)) - 63'113'904'000.0}};
        case 6:
            return {Data(std::string_view(text()))};
        case 7:
            return dictionary(depth);
        default:
            return array(depth);
        }
    }

    PropertyListValue array(int depth) {
        PropertyListArray elements;
        for (std::uint64_t count = below(6); count > 0; --count)
            elements.push_back(value(depth + 1));
        return {std::move(elements)};
    }

    std::mt19937_64 random_;
};

/// Writes binary lists, because plistlib loses "\r" in XML.
constexpr const char *rewriter = R"(
with open(sys.argv[1], 'rb') as before, open(sys.argv[2], 'wb') as after:
    for index in range(int(sys.argv[3])):
        value = plistlib.loads(get(before))
        put(after, plistlib.dumps(value, fmt=plistlib.FMT_BINARY, sort_keys=False))
)";

TEST(Python, ListsWrittenHereSurvivePython) {
    constexpr std::size_t count = 2000;
    const test::TemporaryFolder folder;
    const std::string ours = folder / "ours";
    const std::string theirs = folder / "theirs";
    ValueGenerator values(11);
    std::vector<PropertyListValue> before;
    std::string written;
    for (std::size_t index = 0; index < count; ++index) {
        before.push_back(values.dictionary(0));
        written += packed(writeXmlPropertyList(before.back(), nullptr));
    }
    test::writeFile(ours, written);
    ASSERT_EQ(python(rewriter, {ours, theirs, std::to_string(count)}), "");
    const std::vector<std::string> lists = unpackLists(theirs);
    ASSERT_EQ(lists.size(), count);
    for (std::size_t index = 0; index < count; ++index)
        EXPECT_EQ(PropertyList::parse(Data(std::string_view(lists[index]))).value(), before[index])
            << index;
}

TEST(Python, ReadsRewrittenOldFormat) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "list";
    const auto list = PropertyList::parse(Data(std::string_view(
        "{CFBundleName = \"N\\U00f6tes\r\"; list = (a, (\"b c\")); data = <00ff>; }")));
    test::writeFile(path, list.xmlData().text());
    EXPECT_EQ(
        python("print(plistlib.load(open(sys.argv[1], 'rb')))", {path}),
        "{'CFBundleName': 'N\xC3\xB6tes\\r', 'list': ['a', ['b c']], 'data': b'\\x00\\xff'}\n");
}

/// Encodes with Python's own codecs.
constexpr const char *encoder = R"(
names = sys.argv[2].split()
with open(sys.argv[1], 'wb') as file:
    for name, codec in zip(names[::2], names[1::2]):
        characters = []
        for code in range(0xa0, 0x10000):
            try:
                if not 0xd800 <= code < 0xe000 and chr(code).encode(codec).decode(codec) == chr(code):
                    characters.append(chr(code))
            except UnicodeError:
                pass
        text = ''.join(characters[:3000])
        put(file, f'<?xml version="1.0" encoding="{name}"?><dict><key>k</key><string>{text}</string></dict>'.encode(codec))
        put(file, text.encode())
)";

TEST(Python, AgreesOnEncodings) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "lists";
    ASSERT_EQ(
        python(encoder, {path, "ISO-8859-1 latin-1 ISO-8859-2 iso8859-2 ISO-8859-15 iso8859-15 "
                               "windows-1251 cp1251 windows-1252 cp1252 macintosh mac-roman "
                               "GBK gbk KOI8-R koi8-r EUC-KR euc-kr UTF-8 utf-8-sig "
                               "UTF-16 utf-16 UTF-16BE utf-16-be UTF-16LE utf-16-le"}),
        "");
    const std::vector<std::string> lists = unpackLists(path);
    ASSERT_EQ(lists.size(), 26U);
    for (std::size_t index = 0; index < lists.size(); index += 2)
        EXPECT_EQ(PropertyList::parse(Data(std::string_view(lists[index]))).text("k"),
                  lists[index + 1])
            << lists[index].substr(0, 60);
}

} // namespace

} // namespace vellomir
