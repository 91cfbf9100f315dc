#include "cli/NextStep.h"

#include "Vellomir/Inspection/Errors.h"
#include "archive/Error.h"
#include "files/Error.h"

namespace vellomir::cli {
namespace {

const std::string testArchive = "; vellomir-cli archive test names all damaged entries";
const std::string listArchive = "; vellomir-cli archive list shows what is in it";

bool isDamage(const std::error_code &code) {
    return code == archive::ArchiveError::invalidCRC32 ||
           code == archive::CompressionError::corruptedData;
}

} // namespace

std::string nextStep(const std::error_code &code, const Options &options) {
    if (isDamage(code))
        return testArchive;
    if (code == InspectionError::noApp)
        return listArchive;
    if (code != FileError::fileWriteFileExists)
        return {};
    if (std::holds_alternative<CreateOptions>(options))
        return "; choose another name, or add to it with vellomir-cli archive add";
    if (std::holds_alternative<ExtractOptions>(options))
        return "; nothing is overwritten, so choose a new folder";
    return {};
}

std::string nextStep(const std::optional<JobProblem> &failure) {
    if (!failure)
        return {};
    if (isDamage(failure->code))
        return testArchive;
    return failure->kind == JobProblem::Kind::infoPlistNotFound ? listArchive : "";
}

} // namespace vellomir::cli
