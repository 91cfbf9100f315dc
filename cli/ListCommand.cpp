#include "cli/ArchiveSource.h"
#include "cli/Commands.h"
#include "cli/EntryText.h"
#include "cli/Json.h"
#include "cli/Reach.h"

#include <utility>

namespace vellomir::cli {
namespace {

using archive::Archive;

/// Prints the entries one by one, so that memory does not grow with their number.
class Listing {
public:
    Listing(const ListOptions &options, const Archive &archive, ResultStream &out)
        : options_(options), archive_(archive), out_(out) {}

    Archive::Reach print(const Archive::ProgressPointer &progress) {
        if (options_.json)
            out_.text(
                listHeadJson(options_.archive, archive_.zip64EndOfCentralDirectory().has_value()));
        bool isFirst = true;
        const auto reach = archive_.reach(
            [&](const archive::Entry &entry) { print(entry, std::exchange(isFirst, false)); },
            progress);
        if (options_.json)
            out_.text("]}\n");
        return reach;
    }

private:
    void print(const archive::Entry &entry, bool isFirst) {
        const std::string path = archive_.path(entry);
        if (options_.json) {
            out_.text((isFirst ? "" : ",\n") + entryJson(entry, path));
            return;
        }
        line_.clear();
        appendListingLine(line_, entry, path);
        out_.entryLine(line_);
    }

    const ListOptions &options_;
    const Archive &archive_;
    ResultStream &out_;
    std::string line_; ///< keeps its memory from line to line
};

} // namespace

void run(const ListOptions &options, Session &session) {
    const auto archive =
        openArchive(options.archive, options.memory, session.progress(), options.encoding);
    const auto reach = Listing(options, *archive, session.out()).print(session.progress());
    session.out().flush();
    if (const auto warning = shortfall(reach))
        session.warn(options.archive + ": " + *warning);
}

} // namespace vellomir::cli
