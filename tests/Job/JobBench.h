#pragma once

#include "Vellomir/Job/Job.h"
#include "files/FolderItems.h"
#include "tests/Job/Packages.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace vellomir::test {

using Lines = std::vector<std::string>;

/// Jobs in one sandbox, on the test's thread, and what they report.
class JobBench : private JobObserver {
public:
    explicit JobBench(std::shared_ptr<archive::Progress> progress = nullptr,
                      ListFolder listFolder = folderItems,
                      const std::vector<std::string> &documentFolders = {"Documents"});

    TemporaryFolder folder;
    std::optional<archive::URL> package;
    std::string number;
    std::optional<Picture> icon;
    DeepChanges changes;
    /// Whether the jobs share `ListedFiles`; else they work on disk.
    bool isListed = false;

    [[nodiscard]] std::filesystem::path documents() const { return folder / "box/Documents"; }
    [[nodiscard]] std::filesystem::path temporary() const { return folder / "box/tmp"; }
    /// Where "Notes.ipa" is unpacked.
    [[nodiscard]] std::filesystem::path unzipped() const { return documents() / "Notes/unzipped"; }
    [[nodiscard]] archive::URL unzippedURL() const {
        return archive::URL::folder(unzipped().string());
    }

    /// Writes a file beside the sandbox, which is the next job's package.
    void pick(const std::string &content, const std::string &name = "Notes.ipa");

    /// A new job, which replaces the one before.
    Job &newJob();
    // Each by a new job.
    void run() { newJob().run(); }
    auto unzipIPA(const archive::URL &url) { return newJob().unzipIPA(url); }
    auto updateAppIcon(const archive::URL &url, const Picture &picture) {
        return newJob().updateAppIcon(url, picture);
    }
    auto updateInfoPlist(const archive::URL &url) { return newJob().updateInfoPlist(url); }
    auto zipUpdatedIPA(const archive::URL &url, const std::string &name) {
        return newJob().zipUpdatedIPA(url, name);
    }
    void clearTemporaryFiles() { newJob().clearTemporaryFiles(); }
    bool clearDocuments() { return newJob().clearDocuments(); }

    /// Ends the last job, which closes what its files hold open.
    void end() {
        job_.reset();
        listedFiles_.reset();
    }

    /// What the last job failed with. Fails the test if it did not fail.
    [[nodiscard]] JobProblem failure() const;
    [[nodiscard]] const Job &job() const { return *job_; }
    /// What the last job complained of.
    [[nodiscard]] std::vector<JobProblem::Kind> complaints() const;

    // What all jobs have reported so far.
    [[nodiscard]] const Lines &log() const { return log_; }
    [[nodiscard]] const Lines &console() const { return console_; }
    [[nodiscard]] std::string consoleText() const;
    [[nodiscard]] const std::string &summary() const { return summary_; }
    [[nodiscard]] const std::optional<archive::URL> &result() const { return result_; }
    [[nodiscard]] const ResultRemarks &remarks() const { return remarks_; }

private:
    void logRestarted(const std::string &line) override { log_ = {line}; }
    void logged(const std::string &line) override { log_.push_back(line); }
    void diagnosed(const std::string &line) override { console_.push_back(line); }
    void summarized(const std::string &text) override { summary_ = text; }
    void finished(const archive::URL &result, const ResultRemarks &remarks) override {
        result_ = result;
        remarks_ = remarks;
    }

    [[nodiscard]] std::shared_ptr<const PackageFiles> files();

    std::shared_ptr<archive::Progress> progress_;
    ListFolder listFolder_;
    Sandbox sandbox_;
    std::shared_ptr<const PackageFiles> listedFiles_;
    std::optional<Job> job_;
    Lines log_;
    Lines console_;
    std::string summary_;
    std::optional<archive::URL> result_;
    ResultRemarks remarks_;
};

} // namespace vellomir::test
