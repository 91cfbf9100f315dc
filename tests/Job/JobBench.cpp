#include "tests/Job/JobBench.h"

#include "Vellomir/Sandbox/ListedFiles.h"

namespace vellomir::test {

using archive::URL;

JobBench::JobBench(std::shared_ptr<archive::Progress> progress, ListFolder listFolder,
                   const std::vector<std::string> &documentFolders)
    : progress_(std::move(progress)), listFolder_(std::move(listFolder)),
      sandbox_(folder.url("box"), documentFolders) {}

void JobBench::pick(const std::string &content, const std::string &name) {
    writeFile(folder / "picked" / name, content);
    package = URL::file((folder / "picked" / name).string());
}

Job &JobBench::newJob() {
    return job_.emplace(JobInput{.package = package,
                                 .duplicationNumber = [this] { return number; },
                                 .icon = [this] { return icon; },
                                 .changes = changes},
                        JobServices{.sandbox = sandbox_, .files = files(), .progress = progress_},
                        static_cast<JobObserver &>(*this));
}

std::shared_ptr<const PackageFiles> JobBench::files() {
    if (!isListed)
        return std::make_shared<SandboxFiles>(sandbox_.root(), listFolder_);
    if (!listedFiles_)
        listedFiles_ = std::make_shared<ListedFiles>(sandbox_);
    return listedFiles_;
}

JobProblem JobBench::failure() const {
    if (job_ && job_->failure())
        return *job_->failure();
    ADD_FAILURE() << "the job did not fail";
    return {};
}

std::vector<JobProblem::Kind> JobBench::complaints() const {
    std::vector<JobProblem::Kind> kinds;
    for (const JobProblem &complaint : job_->complaints())
        kinds.push_back(complaint.kind);
    return kinds;
}

std::string JobBench::consoleText() const {
    std::string text;
    for (const std::string &line : console_)
        text += line + '\n';
    return text;
}

} // namespace vellomir::test
