// Job: the changes that are made on request only, and what the log says of them.

#include "Vellomir/Job/BundleIdentifiers.h"
#include "Vellomir/Job/Job.h"
#include "Vellomir/Job/ListEditor.h"
#include "Vellomir/Job/LocalizedFiles.h"
#include "Vellomir/Job/NestedBundles.h"

namespace vellomir {

using archive::URL;

/// The nested bundles and the localized names follow the app's own list, so they stay as they are
/// if that could not be written.
void Job::changeDeeply(const URL &url) {
    const DeepChanges &asked = input_.changes;
    if (!asked.nested && !asked.localized)
        return;
    if (!renaming_) {
        record_.warn("Nested bundles and localized names are left as they were, because Info.plist "
                     "was not updated");
        return;
    }
    try {
        changeParts(url);
    } catch (const std::exception &) { // no memory
        record_.fail("Error while changing nested bundles and localized names: ");
    }
}

void Job::changeParts(const URL &url) {
    const DeepChanges &asked = input_.changes;
    const URL app = renaming_->list.deletingLastPathComponent();
    const ListEditor editor(*services_.files, url, app, record_, progress_.progress());
    if (asked.nested)
        changeNestedIdentifiers(editor, renaming_->list.lastPathComponent(),
                                {.from = renaming_->oldIdentifier, .to = renaming_->newIdentifier});
    if (asked.localized)
        changeLocalizedNames(editor, [&](const std::string &oldName) {
            return asked.name.value_or(oldName + renaming_->suffix);
        });
}

/// Behind the last line of the steps.
void Job::logChanges() {
    for (const ChangeRecord::Line &line : record_.lines) {
        if (!line.error) {
            observer_.logged(line.text);
            if (line.isWarning)
                complaints_.push_back({.kind = Kind::changeNotMade, .text = line.text});
            continue;
        }
        try {
            std::rethrow_exception(line.error);
        } catch (const std::exception &error) {
            complain(Kind::changeNotMade, line.text, error);
        }
    }
}

} // namespace vellomir
