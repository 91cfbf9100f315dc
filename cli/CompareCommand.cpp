#include "cli/ArchiveSource.h"
#include "cli/Commands.h"
#include "cli/EntryText.h"
#include "cli/ErrorText.h"
#include "cli/Json.h"

#include "archive/Comparison.h"

#include <array>
#include <optional>

namespace vellomir::cli {
namespace {

using archive::ChangedEntry;
using archive::Comparison;
using archive::EntryDifferences;

/// The name of each difference.
struct DifferenceWord {
    bool EntryDifferences::*member;
    const char *word;
    bool isInContents;
};
constexpr std::array differenceWords = {
    DifferenceWord{&EntryDifferences::kind, "kind", true},
    DifferenceWord{&EntryDifferences::content, "content", true},
    DifferenceWord{&EntryDifferences::link, "link", true},
    DifferenceWord{&EntryDifferences::unreadable, "unreadable", true},
    DifferenceWord{&EntryDifferences::mode, "mode", false},
    DifferenceWord{&EntryDifferences::date, "date", false},
    DifferenceWord{&EntryDifferences::method, "method", false},
    DifferenceWord{&EntryDifferences::order, "order", false},
};

/// As in a listing: "" for bytes that are no text.
std::string pathInJson(std::string_view path) {
    return archive::isValidUTF8(path) ? std::string(path) : "";
}

/// Prints the result, line by line or element by element.
class ComparisonPrinter {
public:
    ComparisonPrinter(const CompareOptions &options, ResultStream &out)
        : options_(options), out_(out) {}

    void printText(const Comparison &comparison) {
        for (const std::string_view path : comparison.removed)
            out_.entryLine("removed: " + std::string(path));
        for (const std::string_view path : comparison.added)
            out_.entryLine("added: " + std::string(path));
        for (const ChangedEntry &entry : comparison.changed)
            if (const auto what = words(entry.differences); !what.empty())
                out_.entryLine("changed: " + std::string(entry.path) + " (" + joined(what) + ")");
        out_.entryLine(groupedText(comparison.equal) + " of " + groupedText(comparison.total) +
                       (comparison.total == 1 ? " entry" : " entries") + " equal byte for byte");
    }

    void printJson(const Comparison &comparison) {
        out_.text("{\"equal\":" + std::to_string(comparison.equal) + ",\"added\":[");
        printPaths(comparison.added);
        out_.text("],\"removed\":[");
        printPaths(comparison.removed);
        out_.text("],\"changed\":[");
        const char *separator = "";
        for (const ChangedEntry &entry : comparison.changed)
            if (const auto what = words(entry.differences); !what.empty()) {
                out_.text(separator + changeJson(pathInJson(entry.path), what));
                separator = ",\n";
            }
        out_.text("]}\n");
    }

private:
    void printPaths(const std::vector<std::string_view> &paths) {
        const char *separator = "";
        for (const std::string_view path : paths) {
            out_.text(separator + textJson(pathInJson(path)));
            separator = ",\n";
        }
    }

    [[nodiscard]] std::vector<std::string> words(const EntryDifferences &differences) const {
        std::vector<std::string> found;
        for (const DifferenceWord &each : differenceWords)
            if (differences.*each.member && (each.isInContents || !options_.contents))
                found.emplace_back(each.word);
        return found;
    }

    static std::string joined(const std::vector<std::string> &words) {
        std::string text;
        for (const std::string &word : words)
            text += (text.empty() ? "" : ", ") + word;
        return text;
    }

    const CompareOptions &options_;
    ResultStream &out_;
};

/// Counts entries whose data cannot be read, and warns of all but the first, which the error names.
class UnreadableEntries {
public:
    explicit UnreadableEntries(Session &session) : session_(session) {}

    void add(const Error &error) {
        if (++count_ == 1)
            first_ = describe(error);
        else
            session_.warn(describe(error));
    }

    void requireNone(const CompareOptions &options) const {
        if (count_ != 0)
            throw Failure("the comparison of " + options.first + " with " + options.second +
                          " is incomplete: " + countText(count_, "entry") +
                          " could not be read: " + first_);
    }

private:
    Session &session_;
    std::uint64_t count_ = 0;
    std::string first_;
};

} // namespace

void run(const CompareOptions &options, Session &session) {
    const auto first = openArchive(options.first, false, session.progress(), options.encoding);
    const auto second = openArchive(options.second, false, session.progress(), options.encoding);
    UnreadableEntries unreadable(session);
    const Comparison comparison = archive::compare(
        *first, *second, [&](const Error &error) { unreadable.add(error); }, session.progress());
    session.bar().finish();
    ComparisonPrinter printer(options, session.out());
    if (options.json)
        printer.printJson(comparison);
    else if (!session.isQuiet())
        printer.printText(comparison);
    session.out().flush();
    unreadable.requireNone(options);
    if (!comparison.hasEqualContents())
        session.answerNo();
}

} // namespace vellomir::cli
