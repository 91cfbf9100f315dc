// Texts that hold names of strangers: the lines of the log and of standard error are one line of
// valid UTF-8 that drives no terminal, and JSON is read by another parser as the values that went
// in. Input: what to try, a number, texts behind their lengths, then values of an entry.

#include "Vellomir/ContentView/LogMessages.h"
#include "Vellomir/Job/ErrorText.h"
#include "Vellomir/Job/UserNames.h"
#include "archive/TextEncoding.h"
#include "cli/EntryText.h"
#include "cli/ErrorText.h"
#include "cli/Json.h"
#include "fuzz/Folder.h"
#include "fuzz/Input.h"
#include "fuzz/PlainText.h"
#include "fuzz/Require.h"
#include "fuzz/Terminal.h"

#include <array>
#include <cerrno>

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace vellomir::archive {

using fuzz::require;

namespace {

struct Texts {
    std::string one;
    std::string two;
    std::string three;
};

void requirePrintable(const std::string &text) {
    const std::string line = printable(text);
    require(fuzz::isCleanLine(line), "a printed text is one line without control characters");
    if (fuzz::isCleanLine(text))
        require(line == text, "a text that is clean is printed as it is");
    if (text.find('\\') == std::string::npos)
        require(fuzz::withoutEscapes(line) == text, "a printed text loses nothing");
}

/// Of the engine, under the user's names and on standard error.
void requireErrors(const Texts &texts, unsigned number) {
    static const fuzz::Folder folder;
    static const Sandbox sandbox{archive::URL::folder((folder / "vellomir-box").string())};
    static constexpr std::array errors = {0, ENOSPC, EACCES, ENOENT, EIO};
    const std::string root = sandbox.root().path();
    const bool isInside = number % 2 == 0;
    const ErrorContext context{.path = (isInside ? root + "/Documents/" : "/") + texts.one,
                               .entry = texts.two,
                               .systemError = errors[number % errors.size()]};
    const Error error(FileError::fileReadUnknown, context);
    require(fuzz::isCleanLine(error.what()), "an error is one clean line");
    require(fuzz::isCleanLine(cli::describe(error)), "a described error is one clean line");
    const auto package = archive::URL::file("/home/" + texts.three + ".ipa");
    const UserNames names(sandbox, package, [](const std::string &own) { return own; });
    const std::string line = errorText(error, names);
    require(fuzz::isCleanLine(line), "an error in the log is one clean line");
    const bool isGiven =
        (texts.one + texts.two + texts.three).find(root.substr(1)) != std::string::npos;
    require(isGiven || line.find(root) == std::string::npos,
            "the log names no folder of the program's own");
    const std::string printed = cli::errorLine(texts.one);
    require(printed.starts_with("vellomir-cli: ") && printed.ends_with('\n') &&
                fuzz::isCleanLine(printed.substr(0, printed.size() - 1)),
            "standard error gets one clean line");
}

/// Observers get what the log holds, line by line.
void requireLog(const Texts &texts, unsigned number) {
    LogMessages log([](const Task &task) { task(); });
    std::vector<std::string> heard;
    const auto observation = log.observe([&heard](const LogChange &change) {
        if (change.replacesAll)
            heard.clear();
        heard.insert(heard.end(), change.lines.begin(), change.lines.end());
    });
    log.append(texts.one);
    log.append(texts.two);
    if (number % 3 == 0)
        log.replace({texts.three});
    log.append(texts.one);
    const std::vector<std::string> expected = number % 3 == 0
                                                  ? std::vector{texts.three, texts.one}
                                                  : std::vector{texts.one, texts.two, texts.one};
    require(log.get() == expected && heard == expected, "the log holds its lines as they came");
}

QJsonObject parsed(const std::string &json) {
    require(fuzz::isCleanLine(json), "JSON is valid UTF-8 without control characters");
    QJsonParseError error{};
    const auto document = QJsonDocument::fromJson(
        QByteArray(json.data(), static_cast<qsizetype>(json.size())), &error);
    require(error.error == QJsonParseError::NoError && document.isObject(), "JSON can be parsed");
    return document.object();
}

void requireText(const QJsonValue &value, const std::string &text) {
    require(value.isString() && value.toString().toStdString() == fuzz::withReplacements(text),
            "a text is read as it went in");
}

void requireTexts(const QJsonValue &value, const std::vector<std::string> &texts) {
    const QJsonArray array = value.toArray();
    require(array.size() == static_cast<qsizetype>(texts.size()), "all texts of a list are read");
    for (std::size_t index = 0; index < texts.size(); ++index)
        requireText(array.at(static_cast<qsizetype>(index)), texts[index]);
}

void requireJobJson(const Texts &texts, unsigned number) {
    const std::vector<std::string> log = {texts.one, texts.two, texts.one};
    const auto result = number % 2 == 0 ? std::optional(texts.three) : std::nullopt;
    const QJsonObject job = parsed(cli::jobJson(log, texts.two, result, {texts.three}));
    require(job.size() == 4, "a job has four members");
    requireTexts(job["log"], log);
    requireTexts(job["warnings"], {texts.three});
    requireText(job["errorMessage"], texts.two);
    if (result)
        requireText(job["result"], *result);
    else
        require(job["result"].isNull(), "without a result there is null");
}

Entry entryOf(const Texts &texts, fuzz::Input &input) {
    archive::CentralDirectoryStructure record;
    record.versionMadeBy = static_cast<std::uint16_t>(input.number());
    record.versionNeededToExtract = static_cast<std::uint16_t>(input.number());
    record.generalPurposeBitFlag = static_cast<std::uint16_t>(input.number() & ~std::size_t{1});
    record.compressionMethod = static_cast<std::uint16_t>(input.number());
    record.lastModFileDate = static_cast<std::uint16_t>(input.number());
    record.lastModFileTime = static_cast<std::uint16_t>(input.number());
    record.crc32 = static_cast<std::uint32_t>(input.number() << 16U | input.number());
    record.compressedSize = static_cast<std::uint32_t>(input.number() << 16U | input.number());
    record.uncompressedSize = static_cast<std::uint32_t>(input.number() << 16U | input.number());
    record.externalFileAttributes = static_cast<std::uint32_t>(input.number() << 16U);
    record.fileNameData = Data(texts.one);
    record.fileNameLength = static_cast<std::uint16_t>(texts.one.size());
    auto entry = Entry::make(std::move(record), {}, std::nullopt, std::nullopt);
    require(entry.has_value(), "an entry can be made");
    return std::move(*entry);
}

void requireEntryJson(const Entry &entry, const std::string &path) {
    const QJsonObject json = parsed(cli::entryJson(entry, path));
    require(json.size() == 11, "an entry has its members");
    requireText(json["path"], path);
    const auto isNumber = [&json](const char *name, std::uint64_t value) {
        return json[QLatin1String(name)].toInteger(-1) == static_cast<qint64>(value);
    };
    require(isNumber("method", entry.centralDirectoryStructure().compressionMethod) &&
                isNumber("compressedSize", entry.compressedSize()) &&
                isNumber("uncompressedSize", entry.uncompressedSize()) &&
                isNumber("localSize", entry.localSize()) &&
                isNumber("dataOffset", entry.dataOffset()),
            "numbers are read as they went in");
    bool isHexadecimal = false;
    bool isOctal = false;
    require(json["checksum"].toString().toUInt(&isHexadecimal, 16) == entry.checksum() &&
                isHexadecimal && json["checksum"].toString().size() == 8,
            "a checksum has eight digits");
    require(json["permissions"].toString().toUInt(&isOctal, 8) ==
                    entry.fileAttributes().posixPermissions &&
                isOctal,
            "permissions are read as they went in");
    const QDateTime date = QDateTime::fromString(json["modified"].toString(), Qt::ISODate);
    require(static_cast<double>(date.toSecsSinceEpoch()) ==
                entry.fileAttributes().modificationDate.timeIntervalSince1970,
            "a date is read as it went in");
}

void requireListing(const Entry &entry, const std::string &path) {
    const std::string line = cli::listingLine(entry, path);
    if (path.empty())
        require(fuzz::isCleanLine(line), "a name that is no text is escaped");
    static fuzz::Terminal terminal;
    const std::string seen = terminal.shown(line);
    require(seen.ends_with("\r\n") && fuzz::isCleanLine(seen.substr(0, seen.size() - 2)),
            "a name drives no terminal");
}

void requireTestJson(const Texts &texts, unsigned number) {
    const bool isGood = number % 2 == 0;
    const QJsonObject test = parsed(cli::testHeadJson(texts.one, isGood) +
                                    cli::problemJson({texts.two, texts.three}) + "]}");
    requireText(test["archive"], texts.one);
    require(test["ok"].toBool() == isGood && test["problems"].toArray().size() == 1,
            "a test has its problem");
    requireText(test["problems"].toArray().at(0).toObject()["entry"], texts.two);
    requireText(test["problems"].toArray().at(0).toObject()["problem"], texts.three);
}

void requireListJson(const Texts &texts, unsigned number, const Entry &entry) {
    const QJsonObject list = parsed(cli::listHeadJson(texts.two, number % 2 == 0) +
                                    cli::entryJson(entry, texts.one) + "]}");
    requireText(list["archive"], texts.two);
    require(list["entries"].toArray().size() == 1, "a list has its entry");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::size_t kind = input.choice(4);
    const unsigned number = input.byte();
    Texts texts;
    texts.one = input.text();
    texts.two = input.text();
    texts.three = input.text();
    if (kind == 0) {
        requirePrintable(texts.one);
        requireLog(texts, number);
    } else if (kind == 1) {
        requireErrors(texts, number);
    } else if (kind == 2) {
        requireJobJson(texts, number);
        requireTestJson(texts, number);
    } else {
        const Entry entry = entryOf(texts, input);
        requireEntryJson(entry, texts.one);
        requireListJson(texts, number, entry);
        requireListing(entry, number % 2 == 0 ? texts.one : "");
    }
    return 0;
}

} // namespace vellomir::archive
