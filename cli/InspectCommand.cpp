#include "cli/ArchiveSource.h"
#include "cli/Commands.h"
#include "cli/InspectionText.h"
#include "cli/Reach.h"

#include "Vellomir/Inspection/Errors.h"
#include "Vellomir/Inspection/Inspection.h"

namespace vellomir::cli {

namespace {

/// If there is no app because entries cannot be reached, the reason is said.
Inspection inspected(const archive::Archive &archive, const archive::ProgressPointer &progress) {
    try {
        return inspect(archive, {.progress = progress});
    } catch (const Error &error) {
        const auto missing =
            error.code() == InspectionError::noApp
                ? shortfall(archive.reach([](const archive::Entry & /*entry*/) {}, progress))
                : std::nullopt;
        if (!missing)
            throw;
        ErrorContext context = error.context();
        context.detail = "No app was found: " + *missing;
        throw Error(error.code(), std::move(context));
    }
}

} // namespace

void run(const InspectOptions &options, Session &session) {
    const auto archive = openArchive(options.package, false, session.progress(), options.encoding);
    const Inspection found = inspected(*archive, session.progress());
    if (options.json) {
        session.out().text(inspectionJson(found) + "\n");
        return;
    }
    for (const std::string &line : inspectionLines(found))
        session.out().text(line + "\n");
}

} // namespace vellomir::cli
