#pragma once

#include "cli/CommandGrammar.h"
#include "cli/CommandLine.h"

#include <functional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vellomir::cli {

inline constexpr const char *versionText = "vellomir-cli " VELLOMIR_VERSION;

/// The commands, and the values that a command line fills in.
class Grammar {
public:
    using IsDeclared = std::function<bool(std::string_view name)>;
    /// Declares all commands, or those that are asked for.
    explicit Grammar(const IsDeclared &isDeclared = [](auto) { return true; });

    /// Throws what the library throws.
    [[nodiscard]] Request read(const std::vector<std::string> &arguments);
    [[nodiscard]] std::variant<Request, Answer> parse(const std::vector<std::string> &arguments);
    [[nodiscard]] CommandDescription description() const { return descriptionOf(app_); }

private:
    static const Choices<archive::TextEncoding> encodings;

    void declareDuplicate(CLI::App &parent);
    void declareInspect(CLI::App &parent);
    void declareSend(CLI::App &parent);
    void declareNumbers(CommandGrammar &command);
    void declareDeepChanges(CommandGrammar &command, CLI::Option &icon);
    [[nodiscard]] std::vector<std::string> numbersInOrder(const CLI::App &command) const;
    void finishDuplicate(const CLI::App &command, bool hasIcon);
    void declareList(CLI::App &parent);
    void declareExtract(CLI::App &parent);
    void declareCreate(CLI::App &parent);
    void declareAdd(CLI::App &parent);
    void declareRemove(CLI::App &parent);
    void declareCat(CLI::App &parent);
    void declareTest(CLI::App &parent);
    void declareCompare(CLI::App &parent);
    void declareFeedback(CommandGrammar &command);
    void declareQuiet(CommandGrammar &command);
    static void declareMemory(CommandGrammar &command, bool &memory);

    template <class Chosen>
    void choose(CommandGrammar &command, const Chosen &options) {
        command.app().callback([this, &options] { request_.options = options; });
    }

    void checkAdditions() const;

    [[nodiscard]] const CLI::App &chosen(std::string &path) const;
    [[nodiscard]] std::string describe(const CLI::ParseError &error) const;

    CLI::App app_{"Makes second copies of iOS application packages, and works with ZIP archives.",
                  "vellomir-cli"};
    Request request_;
    DuplicateOptions duplicate_; ///< what all copies have in common
    std::vector<std::string> packages_;
    std::vector<std::string> numbers_;             ///< of `--number`
    std::vector<std::vector<std::string>> ranges_; ///< of `--numbers`
    bool isDeep_ = false;
    InspectOptions inspect_;
    SendOptions send_;
    ListOptions list_;
    ExtractOptions extract_;
    CreateOptions create_;
    AddOptions add_;
    RemoveOptions remove_;
    CatOptions cat_;
    TestOptions test_;
    CompareOptions compare_;
};

} // namespace vellomir::cli
