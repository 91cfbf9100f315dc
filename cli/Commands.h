#pragma once

#include "cli/Options.h"
#include "cli/Session.h"

#include <string>

/// The commands. Each throws when it fails, with nothing changed that was there before and nothing
/// temporary left behind: `Error`, `Failure` with the whole text, or `Interrupted`.
namespace vellomir::cli {

void run(const DuplicateOptions &options, Session &session);
/// Prints the outcome of each; a copy that fails makes the session answer no.
void run(const DuplicateBatchOptions &options, Session &session);
void run(const InspectOptions &options, Session &session);
void run(const SendOptions &options, Session &session);
void run(const ListOptions &options, Session &session);
void run(const ExtractOptions &options, Session &session);
void run(const CreateOptions &options, Session &session);
void run(const AddOptions &options, Session &session);
void run(const RemoveOptions &options, Session &session);
void run(const CatOptions &options, Session &session);
void run(const TestOptions &options, Session &session);
void run(const CompareOptions &options, Session &session);

/// What could not be done if it fails: "cannot list a.zip".
[[nodiscard]] std::string purpose(const Options &options);

/// Runs the one that is asked for; throws `Failure`, `Interrupted` and `UsageError` only.
void run(const Request &request, Session &session);

} // namespace vellomir::cli
