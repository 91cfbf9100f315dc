#include "cli/FindingText.h"

#include "cli/EntryText.h"

#include "archive/TextEncoding.h"

#include <array>
#include <string_view>

namespace vellomir::cli {
namespace {

using archive::FindingValue;
using Kind = archive::FindingKind;

using Format = std::string (*)(const FindingValue &);

std::uint64_t number(const FindingValue &value) {
    const auto *number = std::get_if<std::uint64_t>(&value);
    return number != nullptr ? *number : 0;
}

std::string plain(const FindingValue &value) {
    return std::to_string(number(value));
}
/// Counting from 1.
std::string ordinal(const FindingValue &value) {
    return std::to_string(number(value) + 1);
}
std::string bytes(const FindingValue &value) {
    return countText(number(value), "byte");
}
std::string entries(const FindingValue &value) {
    return countText(number(value), "entry");
}
std::string method(const FindingValue &value) {
    return methodName(static_cast<std::uint16_t>(number(value)));
}
std::string checksum(const FindingValue &value) {
    return checksumText(static_cast<archive::CRC32>(number(value)));
}
std::string date(const FindingValue &value) {
    const auto *date = std::get_if<archive::Date>(&value);
    return dateText(date != nullptr ? *date : archive::Date());
}
std::string text(const FindingValue &value) {
    const auto *text = std::get_if<std::string>(&value);
    return text != nullptr ? *text : "";
}
std::string name(const FindingValue &value) {
    return "\"" + archive::printable(text(value)) + "\"";
}

/// "{f}" is the found value, "{e}" the expected one, "{d}" the greater less the smaller.
struct Sentence {
    Kind kind;
    std::string_view pattern;
    Format found = plain;
    Format expected = found;
};

constexpr std::array sentences = {
    Sentence{Kind::directoryIsDisplaced,
             "the directory lies {d} behind the place that the end record gives", bytes},
    Sentence{Kind::directoryDoesNotFit,
             "the directory that the end record gives does not fit in front of it"},
    Sentence{Kind::endRecordCountsDiffer, "the end record gives two numbers of entries"},
    Sentence{Kind::endRecordsCountsDiffer, "the end records give two numbers of entries"},
    Sentence{Kind::endRecordsSizesDiffer, "the end records give two sizes of the directory"},
    Sentence{Kind::endRecordsOffsetsDiffer, "the end records give two places of the directory"},
    Sentence{Kind::directoryEndsEarly,
             "the directory promises {e}, but its record {f} is damaged or missing", ordinal,
             entries},
    Sentence{Kind::entryIsNotInDirectory, "the entry at {f} is not in the directory"},
    Sentence{Kind::directorySizeDiffers,
             "the directory's records take {f}, not the {e} that the end record gives", bytes,
             plain},
    Sentence{Kind::localHeaderIsMissing,
             "there is no local header where the directory says, at {e}"},
    Sentence{Kind::localNameDiffers, "the name is {f} in the local header, {e} in the directory",
             name},
    Sentence{Kind::localVersionDiffers,
             "the version is {f} in the local header, {e} in the directory"},
    Sentence{Kind::localFlagsDiffer,
             "the flag word is {f} in the local header, {e} in the directory"},
    Sentence{Kind::localMethodDiffers,
             "the method is {f} in the local header, {e} in the directory", method},
    Sentence{Kind::localDateDiffers, "the date is {f} in the local header, {e} in the directory",
             date},
    Sentence{Kind::localChecksumDiffers,
             "the checksum is {f} in the local header, {e} in the directory", checksum},
    Sentence{Kind::localCompressedSizeDiffers,
             "the compressed size is {f} in the local header, {e} in the directory"},
    Sentence{Kind::localUncompressedSizeDiffers,
             "the size is {f} in the local header, {e} in the directory"},
    Sentence{Kind::descriptorIsMissing, "the data descriptor is missing"},
    Sentence{Kind::descriptorChecksumDiffers,
             "the checksum is {f} in the data descriptor, {e} in the directory", checksum},
    Sentence{Kind::descriptorCompressedSizeDiffers,
             "the compressed size is {f} in the data descriptor, {e} in the directory"},
    Sentence{Kind::descriptorUncompressedSizeDiffers,
             "the size is {f} in the data descriptor, {e} in the directory"},
    Sentence{Kind::entryReachesIntoDirectory, "it reaches into the directory"},
    Sentence{Kind::entryOverlapsAnother, "it overlaps another entry"},
    Sentence{Kind::dataIsEncrypted, "it is encrypted, so its data cannot be checked"},
    Sentence{Kind::dataLiesBeyondAnyFile, "its data lies beyond any file's end"},
    Sentence{Kind::dataIsCutShort, "the archive ends in the middle of the data"},
    Sentence{Kind::dataIsUnreadable, "{f}", text},
    Sentence{Kind::methodIsUnsupported, "{f} is not supported", method},
    Sentence{Kind::dataIsTooLong, "it unpacks to more than the {e} that were promised", bytes},
    Sentence{Kind::dataIsFollowedByBytes, "{d} behind the end of the compressed data", bytes},
    Sentence{Kind::dataSizeDiffers, "it unpacks to {f}, not the {e} that were promised", bytes},
    Sentence{Kind::dataChecksumDiffers, "the data has the checksum {f}, not {e}", checksum},
    Sentence{Kind::pathIsNotText, "its path is not valid UTF-8 text"},
    Sentence{Kind::pathHoldsZeroByte, "its path holds a zero byte"},
    Sentence{Kind::pathLeadsOut, "its path leads out of the folder that it is unpacked into"},
    Sentence{Kind::pathIsNoFileName, "its path is no file name"},
    Sentence{Kind::pathHoldsLongName, "its path holds a name of more than {e}", bytes},
    Sentence{Kind::pathLeadsThroughEntry,
             "its path leads through another entry, which is no folder"},
    Sentence{Kind::pathIsTaken, "another entry has the same path"},
    Sentence{Kind::pathIsFolder, "another entry makes a folder of its path"},
    Sentence{Kind::folderHoldsData, "it is a folder, but it holds data"},
    Sentence{Kind::linkIsCompressed, "it is a link, but its target is compressed"},
    Sentence{Kind::linkHasNoTarget, "it is a link without a target"},
    Sentence{Kind::linkTargetIsTooLong, "it is a link, but its target is longer than {e}", bytes},
    Sentence{Kind::linkTargetIsNotText, "it is a link, but its target is not valid UTF-8 text"},
};

/// Whether each kind is at its own index, so that none is missing before the last.
constexpr bool areInOrder() {
    for (std::size_t index = 0; index < sentences.size(); ++index)
        if (sentences[index].kind != static_cast<Kind>(index))
            return false;
    return sentences.back().kind == Kind::linkTargetIsNotText;
}
static_assert(areInOrder());

FindingValue difference(const archive::Finding &finding) {
    const std::uint64_t found = number(finding.found);
    const std::uint64_t expected = number(finding.expected);
    return found > expected ? found - expected : expected - found;
}

} // namespace

std::string findingText(const archive::Finding &finding) {
    const Sentence &sentence = sentences.at(static_cast<std::size_t>(finding.kind));
    std::string result;
    std::string_view rest = sentence.pattern;
    while (!rest.empty()) {
        const std::size_t brace = std::min(rest.find('{'), rest.size());
        result += rest.substr(0, brace);
        rest.remove_prefix(brace);
        if (rest.starts_with("{f}"))
            result += sentence.found(finding.found);
        else if (rest.starts_with("{e}"))
            result += sentence.expected(finding.expected);
        else if (rest.starts_with("{d}"))
            result += sentence.found(difference(finding));
        rest.remove_prefix(std::min<std::size_t>(3, rest.size()));
    }
    return result;
}

std::string findingPath(const archive::Finding &finding) {
    if (!finding.entry)
        return "";
    return finding.entry->path.empty() ? archive::printable(finding.entry->name)
                                       : finding.entry->path;
}

} // namespace vellomir::cli
