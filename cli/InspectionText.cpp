#include "cli/InspectionText.h"

#include "cli/EntryText.h"

#include "archive/TextEncoding.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>

namespace vellomir::cli {
namespace {

using Row = std::vector<std::string>;

constexpr std::size_t lineWidth = 80;

/// Characters, not bytes.
std::size_t widthOf(const std::string &text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char character) {
        return (static_cast<unsigned char>(character) & 0xC0U) != 0x80U;
    }));
}

std::string padded(const std::string &text, std::size_t width) {
    return text + std::string(width - std::min(width, widthOf(text)), ' ');
}

std::string joined(const std::vector<std::string> &texts) {
    std::string all;
    for (const std::string &text : texts)
        all += (all.empty() ? "" : ", ") + text;
    return all;
}

/// Breaks a text at blanks; each line begins with the indent.
std::vector<std::string> wrapped(const std::string &text, const std::string &indent) {
    std::vector<std::string> lines;
    std::istringstream words(text);
    std::string line;
    for (std::string word; words >> word;) {
        if (!line.empty() && widthOf(indent + line) + 1 + widthOf(word) > lineWidth) {
            lines.push_back(indent + line);
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    if (!line.empty())
        lines.push_back(indent + line);
    return lines;
}

std::string architecturesOf(const Program &program) {
    std::vector<std::string> names;
    for (const ProgramSlice &slice : program.slices)
        names.push_back(slice.architecture);
    return joined(names);
}

/// "signed com.example.notes (TEAM)"
std::string signatureText(const ProgramSlice &slice) {
    if (!slice.signature || slice.signature->identifier.empty())
        return "signed";
    const std::string &team = slice.signature->team;
    return "signed " + slice.signature->identifier + (team.empty() ? "" : " (" + team + ")");
}

/// "encrypted, signed com.example.notes (TEAM)"
std::string stateOf(const Program &program) {
    std::vector<std::string> states;
    if (program.isEncrypted())
        states.emplace_back("encrypted");
    const auto isDamaged = [](const ProgramSlice &slice) { return !slice.problem.empty(); };
    const bool hasDamage = std::any_of(program.slices.begin(), program.slices.end(), isDamaged);
    const auto isSigned = [](const ProgramSlice &slice) { return slice.isSigned; };
    const auto found = std::find_if(program.slices.begin(), program.slices.end(), isSigned);
    if (found != program.slices.end())
        states.push_back(signatureText(*found));
    else if (!hasDamage)
        states.emplace_back("not signed");
    if (hasDamage)
        states.emplace_back("damaged");
    return joined(states);
}

/// Writes the sections one after the other.
class InspectionWriter {
public:
    explicit InspectionWriter(const Inspection &found) : found_(found) {}

    std::vector<std::string> write() {
        writeApp();
        writeNestedBundles();
        writePrograms();
        writeLanguages();
        writeLargestEntries();
        writeUnread();
        writeWarnings();
        return std::move(lines_);
    }

private:
    void add(const std::string &line) { lines_.push_back(printable(line)); }

    void head(const std::string &title) {
        add("");
        add(title);
    }

    /// Columns as wide as their widest text, but for the last one.
    void table(const std::vector<Row> &rows) {
        std::vector<std::size_t> widths;
        for (const Row &row : rows)
            for (std::size_t column = 0; column < row.size(); ++column) {
                widths.resize(std::max(widths.size(), row.size()));
                widths[column] = std::max(widths[column], widthOf(printable(row[column])));
            }
        for (const Row &row : rows) {
            std::string line;
            for (std::size_t column = 0; column < row.size(); ++column)
                line += "  " + (column + 1 == row.size() ? row[column]
                                                         : padded(row[column], widths[column]));
            add(line);
        }
    }

    void writeApp() {
        const BundleInfo &info = found_.info;
        add(found_.bundle + (found_.isCopy ? " (a copy made by Vellomir)" : ""));
        std::vector<Row> rows;
        const auto row = [&rows](const std::string &name, const std::string &text) {
            if (!text.empty())
                rows.push_back({name, text});
        };
        row("identifier", info.identifier);
        row("display name", info.displayName);
        row("name", info.name);
        row("version", info.version + (info.build.empty() ? "" : " (" + info.build + ")"));
        row("needs at least", info.minimumSystemVersion);
        row("icons", joined(info.iconNames));
        row("URL schemes", joined(info.urlSchemes));
        row("app groups", joined(found_.appGroups));
        row("keychain groups", joined(found_.keychainGroups));
        row("profile", profileText());
        row("entries", numberText(found_.entries) + "; " + sizeText(found_.totalSize) +
                           " unpacked, " + sizeText(found_.compressedSize) + " packed");
        table(rows);
    }

    [[nodiscard]] std::string profileText() const {
        if (!found_.profile)
            return {};
        const Profile &profile = *found_.profile;
        std::string text =
            profile.name + (profile.identifier.empty() ? "" : ", for ") + profile.identifier;
        if (profile.endDate)
            text += ", ends " + dateText(*profile.endDate) + " UTC";
        return text;
    }

    void writeNestedBundles() {
        std::vector<Row> rows;
        for (const InspectedBundle &bundle : found_.nestedBundles)
            rows.push_back({nameOf(bundle.place.kind),
                            bundle.identifier.empty() ? "-" : bundle.identifier,
                            bundle.place.folder});
        section("Nested bundles", rows);
    }

    void writePrograms() {
        std::vector<Row> rows;
        for (const Program &program : found_.programs) {
            const auto path = pathBelowFolder(program.path, found_.bundle);
            rows.push_back({std::string(path.value_or(program.path)), architecturesOf(program),
                            stateOf(program)});
        }
        section("Programs", rows);
    }

    void writeLanguages() {
        std::vector<Row> rows;
        for (const LocalizedName &name : found_.localizedNames)
            rows.push_back({name.language, name.file,
                            name.displayName.empty() ? name.name : name.displayName});
        section("Languages with a name of their own", rows);
    }

    void writeLargestEntries() {
        std::vector<Row> rows;
        for (const SizedEntry &entry : found_.largestEntries)
            rows.push_back({sizeText(entry.size), entry.path});
        section("Largest entries", rows);
    }

    void writeUnread() {
        std::vector<Row> rows;
        for (const UnreadItem &item : found_.unread)
            rows.push_back({item.path + ": " + item.reason});
        section("Could not be read", rows);
    }

    void section(const std::string &title, const std::vector<Row> &rows) {
        if (rows.empty())
            return;
        head(title);
        table(rows);
    }

    void writeWarnings() {
        if (found_.warnings.empty())
            head(found_.unread.empty() ? "No warnings" : "No warnings about what could be read");
        else
            head(found_.isCopy ? "Warnings about this copy"
                               : "Warnings about a copy made without further options");
        for (const InspectionWarning &warning : found_.warnings)
            writeWarning(warning);
        add("");
        for (const std::string &line : wrapped("This is what can be seen from outside. A program "
                                               "may also check its own identifier.",
                                               ""))
            add(line);
    }

    void writeWarning(const InspectionWarning &warning) {
        add("  " + std::string(codeText(warning.code)) + ": " +
            (warning.option.empty() ? "no option mends it" : warning.option + " mends it"));
        for (const std::string &line : wrapped(printable(warning.message), "    "))
            add(line);
        static constexpr std::size_t shown = 10;
        const std::size_t count = warning.concerns.size();
        for (std::size_t index = 0; index < std::min(count, shown); ++index)
            add("      " + warning.concerns[index]);
        if (count > shown)
            add("      and " + numberText(count - shown) + " more");
    }

    const Inspection &found_;
    std::vector<std::string> lines_;
};

} // namespace

std::vector<std::string> inspectionLines(const Inspection &found) {
    return InspectionWriter(found).write();
}

std::string sizeText(std::uint64_t bytes) {
    if (bytes < 1000)
        return countText(bytes, "byte");
    static constexpr std::array units = {"kB", "MB", "GB", "TB", "PB", "EB"};
    auto value = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    for (; value >= 999.95 && unit + 1 < units.size(); ++unit)
        value /= 1000;
    std::array<char, 32> buffer{};
    static_cast<void>(
        std::snprintf(buffer.data(), buffer.size(), "%.1f %s", value, units.at(unit)));
    return buffer.data();
}

std::string numberText(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t place = text.size(); place > 3;) {
        place -= 3;
        text.insert(place, ",");
    }
    return text;
}

} // namespace vellomir::cli
