// Grammar: the commands and their options, except for `duplicate`.

#include "cli/Grammar.h"

#include "archive/TextEncoding.h"

#include <memory>

namespace vellomir::cli {
namespace {

const Choices<ProgressMode> progressModes = {{"auto", ProgressMode::automatic},
                                             {"always", ProgressMode::always},
                                             {"never", ProgressMode::never}};
const Choices<QrMode> qrModes = {
    {"auto", QrMode::automatic}, {"always", QrMode::always}, {"never", QrMode::never}};
const Choices<archive::CompressionMethod> methods = {
    {"none", archive::CompressionMethod::none}, {"deflate", archive::CompressionMethod::deflate}};

} // namespace

const Choices<archive::TextEncoding> Grammar::encodings = {
    {"utf-8", archive::TextEncoding::utf8}, {"cp437", archive::TextEncoding::codePage437}};

Grammar::Grammar(const IsDeclared &isDeclared) {
    app_.formatter(std::make_shared<HelpFormatter>());
    app_.set_help_flag("-h,--help", "print this help");
    app_.set_version_flag("--version", versionText, "print the version");
    app_.require_subcommand(1);
    const auto declare = [&](const char *name, void (Grammar::*command)(CLI::App &), CLI::App &in) {
        if (isDeclared(name))
            (this->*command)(in);
    };
    declare("duplicate", &Grammar::declareDuplicate, app_);
    declare("inspect", &Grammar::declareInspect, app_);
    declare("send", &Grammar::declareSend, app_);
    CLI::App &archive = *app_.add_subcommand("archive", "work with a ZIP archive");
    archive.require_subcommand(1)->group("Commands");
    declare("list", &Grammar::declareList, archive);
    declare("extract", &Grammar::declareExtract, archive);
    declare("create", &Grammar::declareCreate, archive);
    declare("add", &Grammar::declareAdd, archive);
    declare("remove", &Grammar::declareRemove, archive);
    declare("cat", &Grammar::declareCat, archive);
    declare("test", &Grammar::declareTest, archive);
    declare("compare", &Grammar::declareCompare, archive);
}

void Grammar::declareInspect(CLI::App &parent) {
    CommandGrammar command(parent, "inspect",
                           "say what a package holds, and what would make a copy misbehave");
    command.operand("PACKAGE", inspect_.package, "the package (.ipa); nothing is unpacked to disk");
    command.choice("--encoding", inspect_.encoding, encodings,
                   "how all names are stored (else each entry says it)");
    command.flag("--json", inspect_.json, "print one object; docs/commandLine.md lists its keys");
    declareQuiet(command);
    choose(command, inspect_);
}

void Grammar::declareSend(CLI::App &parent) {
    CommandGrammar command(parent, "send",
                           "offer a package to a phone in the same network, until Ctrl-C, or ten\n"
                           "minutes after the last byte");
    command.operand("PACKAGE", send_.package, "the package (.ipa), or any other file");
    command.number("--port", "N", send_.port, std::uint16_t{1}, "the port; a free one if left out");
    command.text("--interface", "NAME", send_.interface,
                 "the network interface, such as wlan0, with all its addresses;\n"
                 "the local networks if left out");
    command.choice("--qr", send_.qr, qrModes,
                   "print the address as a QR code (auto: if the output is a\nterminal)");
    declareFeedback(command);
    choose(command, send_);
}

void Grammar::declareList(CLI::App &parent) {
    CommandGrammar command(parent, "list", "print what an archive's directory says of its entries");
    command.operand("ARCHIVE", list_.archive, "the archive");
    command.choice("--encoding", list_.encoding, encodings,
                   "how all names are stored (else each entry says it)");
    command.flag("--json", list_.json, "print one object");
    declareMemory(command, list_.memory);
    declareQuiet(command);
    choose(command, list_);
}

void Grammar::declareExtract(CLI::App &parent) {
    CommandGrammar command(parent, "extract",
                           "unpack an archive into a folder; nothing is overwritten, and nothing\n"
                           "lands outside the folder");
    command.operand("ARCHIVE", extract_.archive, "the archive");
    command.operand("DESTINATION", extract_.destination, "the folder, made if it is missing");
    command.choice("--encoding", extract_.encoding, encodings,
                   "how all names are stored (else each entry says it)");
    command.flag("--skip-crc32", extract_.skipCRC32, "do not check the data against its checksums");
    command.jobs(extract_.jobs);
    declareFeedback(command);
    choose(command, extract_);
}

void Grammar::declareCreate(CLI::App &parent) {
    CommandGrammar command(parent, "create", "pack a file or a folder into a new archive");
    command.operand("ARCHIVE", create_.archive, "the archive, which must not exist");
    command.operand("SOURCE", create_.source, "the file, or the folder with all that is in it");
    command.flag("--keep-parent", create_.keepParent, "let the paths begin with the folder's name");
    command.choice("--method", create_.method, methods, "how files are stored (none)");
    command.jobs(create_.jobs);
    declareFeedback(command);
    choose(command, create_);
}

void Grammar::declareAdd(CLI::App &parent) {
    CommandGrammar command(parent, "add",
                           "add files, links and folders to an archive, which is made if it is\n"
                           "missing");
    command.operand("ARCHIVE", add_.archive, "the archive; as it was if anything fails");
    command.operands("PATH", add_.paths,
                     "stored under its own text, exactly the items given:\n"
                     "a folder comes without what is in it");
    command.fileName("--relative-to", "FOLDER", add_.relativeTo,
                     "where the paths start; the current folder if left out");
    command.choice("--method", add_.method, methods, "how files are stored (none)");
    declareMemory(command, add_.memory);
    declareFeedback(command);
    command.app().callback([this] {
        checkAdditions();
        request_.options = add_;
    });
}

void Grammar::checkAdditions() const {
    std::set<std::string> seen;
    for (const std::string &path : add_.paths) {
        const std::string objection = objectionToPath(path);
        if (!objection.empty())
            CommandGrammar::reject("\"" + path + "\"", objection);
        if (!seen.insert(path).second)
            CommandGrammar::reject("\"" + path + "\"", "the path is given twice");
    }
}

void Grammar::declareRemove(CLI::App &parent) {
    CommandGrammar command(parent, "remove", "remove entries from an archive");
    command.operand("ARCHIVE", remove_.archive, "the archive; as it was if anything fails");
    command.operands("ENTRY", remove_.entries,
                     "the exact path, as the list shows it; every entry\nof this path goes");
    declareMemory(command, remove_.memory);
    declareFeedback(command);
    choose(command, remove_);
}

void Grammar::declareCat(CLI::App &parent) {
    CommandGrammar command(parent, "cat", "print an entry's data");
    command.operand("ARCHIVE", cat_.archive, "the archive");
    command.operand("ENTRY", cat_.entry, "the exact path, as the list shows it");
    declareMemory(command, cat_.memory);
    choose(command, cat_);
}

void Grammar::declareTest(CLI::App &parent) {
    CommandGrammar command(parent, "test",
                           "read every entry, check checksums, sizes and records, and name every\n"
                           "entry that differs");
    command.operand("ARCHIVE", test_.archive, "the archive");
    command.flag("--json", test_.json, "print one object");
    declareMemory(command, test_.memory);
    declareFeedback(command);
    choose(command, test_);
}

void Grammar::declareCompare(CLI::App &parent) {
    CommandGrammar command(parent, "compare",
                           "say which entries of an archive are added, removed or changed in\n"
                           "another one; exit code 0 if the contents are equal, else 1");
    command.operand("ARCHIVE", compare_.first, "the archive to start from");
    command.operand("OTHER", compare_.second, "the archive to compare with it");
    command.choice("--encoding", compare_.encoding, encodings,
                   "how all names are stored (else each entry says it)");
    command.flag("--contents", compare_.contents,
                 "leave out differences of mode, date, method and order,\nwhich do not count for "
                 "the exit code");
    command.flag("--json", compare_.json, "print one object");
    declareFeedback(command);
    choose(command, compare_);
}

/// For a command that may take a while.
void Grammar::declareFeedback(CommandGrammar &command) {
    command.app().preparse_callback(
        [this](std::size_t) { request_.feedback.progress = ProgressMode::automatic; });
    command.choice("--progress", request_.feedback.progress, progressModes,
                   "draw a bar on standard error (auto: if it is a terminal)");
    declareQuiet(command);
}

void Grammar::declareMemory(CommandGrammar &command, bool &memory) {
    command.flag("--memory", memory,
                 "read the archive into memory and work on it there;\nif it changes, its file is "
                 "replaced");
}

void Grammar::declareQuiet(CommandGrammar &command) {
    command.flag("--quiet", request_.feedback.quiet, "say nothing but errors");
}

} // namespace vellomir::cli
