#include "cli/Commands.h"
#include "cli/ErrorText.h"
#include "cli/InspectionText.h"
#include "cli/Interruption.h"
#include "cli/Terminal.h"

#include "Vellomir/Sending/FileServer.h"
#include "Vellomir/Sending/QrCode.h"
#include "Vellomir/Sending/SendingFault.h"
#include "Vellomir/Sending/SendingText.h"

#include <unistd.h>

namespace vellomir::cli {
namespace {

std::vector<InterfaceAddress> chosenAddresses(const SendOptions &options) {
    const std::vector<InterfaceAddress> all = interfaceAddresses();
    try {
        return servedAddresses(all, options.interface);
    } catch (const SendingFault &fault) {
        if (options.interface || all.empty())
            throw;
        throw SendingFault(
            std::string(fault.what()) +
            "; --interface serves in another network, of one of: " + interfaceNames(all));
    }
}

/// A code that is broken over two lines is of no use.
bool isCodeShown(const SendOptions &options, const QrCode &code) {
    if (options.qr != QrMode::automatic)
        return options.qr == QrMode::always;
    const auto width =
        static_cast<std::size_t>(code.side()) + 2 * static_cast<std::size_t>(QrCode::quietZone);
    return isSmartTerminal(STDOUT_FILENO) &&
           terminalColumns(STDOUT_FILENO).value_or(width) >= width;
}

void printAddresses(const FileServer &server, const SendOptions &options, ResultStream &out) {
    const std::vector<std::string> addresses = server.addresses();
    for (const std::string &address : addresses)
        out.text(address + "\n");
    const QrCode code(addresses.front());
    const auto colours =
        hasColours(STDOUT_FILENO) ? TerminalColours::set : TerminalColours::inherit;
    if (isCodeShown(options, code))
        for (const std::string &line : terminalLines(code, colours))
            out.text(line + "\n");
    out.flush();
}

std::string howToFetch(const FileServer &server) {
    const bool isOne = server.addresses().size() == 1;
    return std::string("Open ") + (isOne ? "this address" : "one of these addresses") +
           " on the phone, in the same network (" + server.interfaces() + "). Ctrl-C ends it.";
}

/// A line on standard error that is neither a warning nor an error.
void say(Session &session, const std::string &text) {
    session.bar().finish();
    if (!session.isQuiet())
        static_cast<void>(writeFully(STDERR_FILENO, text + "\n"));
}

} // namespace

void run(const SendOptions &options, Session &session) {
    FileServer server(
        options.package,
        {.addresses = chosenAddresses(options), .port = options.port, .limits = options.limits});
    printAddresses(server, options, session.out());
    say(session, howToFetch(server));
    std::string progress;
    const auto show = [&](const SendingState &state) {
        progress = progressText(state, server.fileSize(), sizeText);
        session.bar().show(progress);
    };
    show({});
    const SendingEnd end = server.run(show, [] { return Interruption::signal() == 0; });
    say(session, progress);
    Interruption::throwIfInterrupted();
    if (end == SendingEnd::fileChanged)
        throw SendingFault(endText(end));
    if (end == SendingEnd::quiet)
        say(session, endText(end));
}

} // namespace vellomir::cli
