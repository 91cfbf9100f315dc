#pragma once

#include "Vellomir/Job/ChangeRecord.h"
#include "Vellomir/PropertyLists/PropertyList.h"
#include "Vellomir/Sandbox/PackageFiles.h"

#include <functional>

namespace vellomir {

/// Changes property lists of an unpacked app one by one, and records each change. A list that
/// cannot be read or written stays as it was and gives a warning.
class ListEditor {
public:
    /// `unpacked` is the folder of all entries, `app` the bundle's folder below it. The files,
    /// the record and the progress, which may be null, must outlive this object.
    ListEditor(const PackageFiles &files, archive::URL unpacked, archive::URL app,
               ChangeRecord &record, const archive::Progress *progress)
        : files_(files), unpacked_(std::move(unpacked)), app_(std::move(app)), record_(record),
          progress_(progress) {}

    /// Changes a list and says what was changed.
    using Change = std::function<std::vector<ValueChange>(PropertyList &list)>;

    /// `path` is relative to the app's folder. The list keeps its format where that can be written.
    /// Does not throw.
    void edit(const std::string &path, const Change &change) const;

    [[nodiscard]] const PackageFiles &files() const { return files_; }
    [[nodiscard]] const archive::URL &app() const { return app_; }
    [[nodiscard]] ChangeRecord &record() const { return record_; }
    /// The path of the entry of an item of the app.
    [[nodiscard]] std::string entryPath(const std::string &path) const;

private:
    void tryToEdit(const std::string &path, const Change &change) const;

    const PackageFiles &files_;
    archive::URL unpacked_;
    archive::URL app_;
    ChangeRecord &record_;
    const archive::Progress *progress_;
};

} // namespace vellomir
