#include "cli/ArchiveSource.h"
#include "cli/Commands.h"
#include "cli/InspectionText.h"

#include "Vellomir/Inspection/Inspection.h"

namespace vellomir::cli {

void run(const InspectOptions &options, Session &session) {
    const auto archive = openArchive(options.package, false, session.progress(), options.encoding);
    const Inspection found = inspect(*archive, {.progress = session.progress()});
    if (options.json) {
        session.out().text(inspectionJson(found) + "\n");
        return;
    }
    for (const std::string &line : inspectionLines(found))
        session.out().text(line + "\n");
}

} // namespace vellomir::cli
