#include "cli/Commands.h"

#include "cli/CommandLine.h"
#include "cli/ErrorText.h"
#include "cli/Interruption.h"
#include "cli/NextStep.h"

namespace vellomir::cli {
namespace {

struct Purpose {
    std::string operator()(const DuplicateOptions &options) const {
        return "duplicate " + options.package;
    }
    std::string operator()(const DuplicateBatchOptions &options) const {
        return "make all " + std::to_string(options.copies.size()) + " copies";
    }
    std::string operator()(const InspectOptions &options) const {
        return "inspect " + options.package;
    }
    std::string operator()(const SendOptions &options) const { return "send " + options.package; }
    std::string operator()(const ListOptions &options) const { return "list " + options.archive; }
    std::string operator()(const ExtractOptions &options) const {
        return "extract " + options.archive;
    }
    std::string operator()(const CreateOptions &options) const {
        return "create " + options.archive;
    }
    std::string operator()(const AddOptions &options) const { return "add to " + options.archive; }
    std::string operator()(const RemoveOptions &options) const {
        return "remove from " + options.archive;
    }
    std::string operator()(const CatOptions &options) const {
        return "print " + options.entry + " of " + options.archive;
    }
    std::string operator()(const TestOptions &options) const { return "test " + options.archive; }
    std::string operator()(const CompareOptions &options) const {
        return "compare " + options.first + " with " + options.second;
    }
};

} // namespace

std::string purpose(const Options &options) {
    return "cannot " + std::visit(Purpose(), options);
}

void run(const Request &request, Session &session) {
    try {
        std::visit([&](const auto &options) { run(options, session); }, request.options);
        session.out().flush();
    } catch (const UsageError &) {
        throw;
    } catch (const std::exception &error) {
        session.bar().finish();
        // A failure after a signal counts as caused by it.
        if (Interruption::signal() != 0)
            throw Interrupted();
        if (dynamic_cast<const Failure *>(&error) != nullptr)
            throw Failure(error.what());
        const auto *known = dynamic_cast<const Error *>(&error);
        throw Failure(purpose(request.options) + ": " + describe(error) +
                      (known == nullptr ? "" : nextStep(known->code(), request.options)));
    }
}

} // namespace vellomir::cli
