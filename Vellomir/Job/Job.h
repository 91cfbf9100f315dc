#pragma once

#include "Vellomir/Inspection/IconFiles.h"
#include "Vellomir/Job/ChangeRecord.h"
#include "Vellomir/Job/DeepChanges.h"
#include "Vellomir/Job/JobProgress.h"
#include "Vellomir/Job/ResultRemarks.h"
#include "Vellomir/Pictures/Picture.h"
#include "Vellomir/PropertyLists/PropertyList.h"
#include "Vellomir/Sandbox/PackageFiles.h"
#include "Vellomir/Sandbox/Sandbox.h"
#include "archive/TextEncoding.h"
#include "archive/URL.h"

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace vellomir {

/// What a job makes its copy from. The functions are called on the job's thread, each when a step
/// needs the value, so that a form may still be edited while a job runs.
struct JobInput {
    std::optional<archive::URL> package; ///< without one, `run` does nothing
    std::function<std::string()> duplicationNumber;
    std::function<std::optional<Picture>()> icon; ///< nothing: the icon files are kept
    /// The encoding of names in the package; without it, each entry's flag decides.
    std::optional<archive::TextEncoding> nameEncoding = std::nullopt;
    DeepChanges changes = {};
};

/// Where a job works.
struct JobServices {
    Sandbox sandbox;
    std::shared_ptr<const PackageFiles> files; ///< of the sandbox; of this job only
    /// Counts and cancels copying, unpacking and packing. Null: no progress and no cancellation.
    std::shared_ptr<archive::Progress> progress = nullptr;
    /// How many threads unpack and pack; 0 for one a core, at most 8. All else is on the job's
    /// thread.
    unsigned jobs = 1;
    /// Displays a path outside the sandbox, such as "~/a.ipa".
    std::function<std::string(const std::string &path)> displayPath = [](const std::string &path) {
        return path;
    };
};

/// A step, or a part of one, that failed.
struct JobProblem {
    enum class Kind {
        packageNotUnzipped,
        bundleNotFound, ///< the one that takes the icons
        iconNotEncoded,
        iconNotWritten,
        infoPlistNotFound,
        infoPlistNotRead,
        infoPlistNotSerialized,
        infoPlistNotWritten,
        stagingFolderNotCreated,
        payloadNotMoved,
        packageNotZipped,
        temporaryFilesNotCleared,
        changeNotMade, ///< one of `JobInput::changes`, or a part of one
    };

    Kind kind;
    std::string text;      ///< the line of the log; `reason` if the log has no line about it
    std::string reason;    ///< the error in one line, under the user's names; "" without an error
    std::string errorName; ///< such as "FileError.fileReadTooLarge"; "" unless it is an `Error`
    std::error_code code;  ///< of the `Error`
};

/// Receives what a job reports while it runs, on the job's thread. Must not throw.
class JobObserver {
public:
    virtual ~JobObserver() = default;

    /// The log is emptied and begins with this line.
    virtual void logRestarted(const std::string &line) = 0;
    /// A new line of the log.
    virtual void logged(const std::string &line) = 0;
    /// An error for the console: by its name, if it has one, and with its reason.
    virtual void diagnosed(const std::string &line) = 0;
    /// The outcome in one line. The last one counts.
    virtual void summarized(const std::string &text) = 0;
    /// The new package is there. At most once, before the temporary files are removed.
    virtual void finished(const archive::URL &result, const ResultRemarks &remarks) = 0;

protected:
    JobObserver() = default;
    JobObserver(const JobObserver &) = default;
    JobObserver &operator=(const JobObserver &) = default;
};

/// Makes the second copy of one package, on the calling thread. An object is for one job.
///
/// The steps do not throw: when they fail, they return nothing and say why in the log, in
/// `failure` or in `complaints`.
class Job {
public:
    /// The observer must outlive the job.
    Job(JobInput input, JobServices services, JobObserver &observer);

    /// All steps. Returns the new package, which `finished` had as well.
    std::optional<archive::URL> run();

    /// Copies the package into Documents and unpacks it there, or as the files of the job do that.
    /// Returns the folder.
    std::optional<archive::URL> unzipIPA(const archive::URL &url);
    /// Writes the icon files into the bundle below the folder. Returns the bundle's path.
    std::optional<std::string> updateAppIcon(const archive::URL &url, const Picture &newIcon);
    /// Changes the names in the bundle's property list. Returns the new display name.
    std::optional<std::string> updateInfoPlist(const archive::URL &url);
    /// Packs the folder's Payload. Returns the new package.
    std::optional<archive::URL> zipUpdatedIPA(const archive::URL &url,
                                              const std::string &updatedAppName);
    void clearTemporaryFiles();

    /// Empties the Documents folder. False if that failed, which only the console says.
    [[nodiscard]] bool clearDocuments();
    /// Empties both folders, except for this file. What cannot be removed does not keep the rest.
    void clearAllBut(const std::optional<archive::URL> &kept);

    /// The error in one line, under the names that the user knows.
    [[nodiscard]] std::string reason(const std::exception &error) const;
    /// Why there is no new package; nothing if there is one, and if no step has run.
    [[nodiscard]] const std::optional<JobProblem> &failure() const { return failure_; }
    /// What failed without ending the job, in the order of the log.
    [[nodiscard]] const std::vector<JobProblem> &complaints() const { return complaints_; }
    /// What was changed in the package, in the order of the steps.
    [[nodiscard]] const std::vector<PackageChange> &changes() const { return record_.changes; }
    /// Texts that still hold the old identifier; only looked for when nested bundles are changed.
    [[nodiscard]] const std::vector<KeptText> &keptTexts() const { return record_.kept; }

private:
    using Kind = JobProblem::Kind;

    /// What the app's list was given.
    struct Renaming {
        archive::URL list;
        std::string suffix;
        std::string oldIdentifier;
        std::string newIdentifier;
        std::string displayName; ///< the new one
    };

    /// The content of an icon file, and the size of the picture in pixels.
    struct IconFile {
        archive::Data png;
        int width = 0;
        int height = 0;
    };

    [[nodiscard]] archive::URL documentsFolder() const;
    void diagnose(const std::exception &error) const;
    void diagnoseClearing(const std::exception &error) const;
    [[nodiscard]] JobProblem problem(Kind kind, const std::exception &error) const;
    [[nodiscard]] JobProblem report(Kind kind, const std::string &line,
                                    const std::exception &error) const;
    void complain(Kind kind, const std::string &line, const std::exception &error);
    void countEntries(const archive::URL &package);

    [[nodiscard]] std::optional<archive::URL> findBundle(const archive::URL &url) const;
    [[nodiscard]] std::optional<IconFile> encodeIcon(const Picture &newIcon);
    [[nodiscard]] std::vector<IconFile> encodeIcons(const Picture &newIcon);
    [[nodiscard]] bool writeIcons(const archive::URL &url, const archive::URL &bundle,
                                  const std::vector<IconFile> &icons);
    void recordIcon(const std::string &entry, std::optional<std::uint64_t> oldSize,
                    const IconFile &icon);

    [[nodiscard]] std::optional<archive::URL> firstInfoPlist(const archive::URL &url) const;
    [[nodiscard]] std::optional<archive::URL> findInfoPlist(const archive::URL &url) const;
    [[nodiscard]] std::optional<PropertyList> readInfoPlist(const archive::URL &file);
    void failReading(const std::exception &error);
    [[nodiscard]] Renaming rename(PropertyList &propertyList) const;
    [[nodiscard]] bool writeInfoPlist(const PropertyList &propertyList, const archive::URL &file);
    void recordInfoPlist(const archive::URL &url, const PropertyList &old,
                         const PropertyList &changed, const std::vector<ValueChange> &removedKeys);
    void changeDeeply(const archive::URL &url);
    void changeParts(const archive::URL &url);
    void logChanges();

    void stagePayload(const archive::URL &url, const archive::URL &staging);
    void removeAllButPayload(const archive::URL &staging) const;
    [[nodiscard]] archive::URL packagePlace(const archive::URL &output,
                                            const archive::URL &staging) const;
    void removeOldPackage(const archive::URL &place) const;

    JobInput input_;
    JobServices services_;
    JobProgress progress_;
    JobObserver &observer_;
    ResultRemarks remarks_;
    ChangeRecord record_;
    bool hasNewIcons_ = false;
    std::optional<Renaming> renaming_; ///< once the app's list is written
    std::optional<JobProblem> failure_;
    std::vector<JobProblem> complaints_;
};

} // namespace vellomir
