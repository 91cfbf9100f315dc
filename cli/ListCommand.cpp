#include "cli/ArchiveSource.h"
#include "cli/Commands.h"
#include "cli/EntryText.h"
#include "cli/Interruption.h"
#include "cli/Json.h"
#include "cli/Reach.h"

namespace vellomir::cli {
namespace {

/// Prints the entries one by one, so that memory does not grow with their number.
class Listing {
public:
    Listing(const ListOptions &options, const archive::Archive &archive, ResultStream &out)
        : options_(options), archive_(archive), out_(out) {}

    Reach print() {
        if (options_.json)
            out_.text(
                listHeadJson(options_.archive, archive_.zip64EndOfCentralDirectory().has_value()));
        auto walk = archive_.makeIterator();
        std::uint64_t count = 0;
        std::uint64_t recordBytes = 0;
        while (const auto entry = walk.next()) {
            Interruption::throwIfInterrupted();
            print(*entry, count++ == 0);
            recordBytes += entry->centralDirectoryStructure().totalSize();
        }
        if (options_.json)
            out_.text("]}\n");
        return reachAfter(archive_, walk, count, recordBytes);
    }

private:
    void print(const archive::Entry &entry, bool isFirst) {
        const std::string path = archive_.path(entry);
        if (options_.json)
            out_.text((isFirst ? "" : ",\n") + entryJson(entry, path));
        else
            out_.line(listingLine(entry, path));
    }

    const ListOptions &options_;
    const archive::Archive &archive_;
    ResultStream &out_;
};

} // namespace

void run(const ListOptions &options, Session &session) {
    const auto archive =
        openArchive(options.archive, options.memory, session.progress(), options.encoding);
    const Reach reach = Listing(options, *archive, session.out()).print();
    session.out().flush();
    if (const auto warning = shortfall(reach))
        session.warn(options.archive + ": " + *warning);
}

} // namespace vellomir::cli
