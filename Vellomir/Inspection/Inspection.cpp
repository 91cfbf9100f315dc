#include "Vellomir/Inspection/Inspection.h"

#include "Vellomir/Inspection/AppSearch.h"
#include "Vellomir/Inspection/EntryReader.h"
#include "Vellomir/Inspection/Errors.h"
#include "Vellomir/Inspection/ListValues.h"
#include "Vellomir/Inspection/Survey.h"
#include "Vellomir/Inspection/Warnings.h"

#include <algorithm>
#include <set>

namespace vellomir {
namespace {

using archive::Archive;
using archive::ArchiveError;
using archive::Entry;

/// An item of the package that fails by itself is noted; these end the inspection.
bool endsInspection(const Error &error) {
    return error.code() == ArchiveError::cancelledOperation ||
           error.code() == archive::DataError::unreadableFile;
}

std::string lastName(const std::string &path) {
    return path.substr(path.rfind('/') + 1);
}

/// The name without its extension: by that name the program is called unless the list says another.
std::string stem(const std::string &folder) {
    const std::string name = lastName(folder);
    return name.substr(0, name.rfind('.'));
}

class Inspector {
public:
    Inspector(const Archive &archive, archive::ProgressPointer progress)
        : progress_(std::move(progress)), survey_(surveyPackage(archive, progress_)),
          reader_(archive, progress_) {
        found_ = std::move(survey_.facts);
        items_ = surveyApp(archive, found_.bundle, progress_);
    }

    Inspection inspect() {
        readApp();
        for (const auto &[folder, kind] : items_.bundles)
            readNested({.folder = folder, .kind = kind});
        noteLimit(items_.bundles.size(), "nested bundles");
        noteLimit(items_.localizedFiles.size(), "files with names by language");
        noteLimit(items_.libraries.size(), "libraries");
        for (const std::string &file : items_.localizedFiles)
            readNames(file);
        readProfileOfApp();
        for (const auto &[path, mustExist] : programs_)
            readProgramAt(path, mustExist);
        for (const std::string &path : items_.libraries)
            readProgramAt(full(path), true);
        gatherGroups();
        found_.warnings = inspectionWarnings(found_);
        return std::move(found_);
    }

private:
    [[nodiscard]] std::string full(const std::string &path) const {
        return found_.bundle + "/" + path;
    }

    /// Runs a step for one item; its failure is noted.
    template <class Step>
    void attempt(const std::string &path, Step step) {
        try {
            step();
        } catch (const Error &error) {
            if (endsInspection(error))
                throw;
            found_.unread.push_back({path, reasonOf(error)});
        }
    }

    void noteLimit(std::size_t count, const std::string &what) {
        if (count == maximumItems)
            found_.unread.push_back(
                {found_.bundle,
                 "Only the first " + std::to_string(maximumItems) + " " + what + " are looked at"});
    }

    void readApp() {
        found_.info = bundleInfo(reader_.list(survey_.propertyList));
        found_.isCopy = found_.info.hasCopyIcons;
        found_.hasAssetCatalogue = items_.hasAssetCatalogue;
        addProgram(found_.bundle, found_.info.executable, true);
    }

    void addProgram(const std::string &folder, const std::string &executable, bool mustExist) {
        programs_.emplace_back(folder + "/" + (executable.empty() ? stem(folder) : executable),
                               mustExist && !executable.empty());
    }

    void readNested(const NestedBundle &place) {
        InspectedBundle bundle{.place = place};
        const std::string folder = full(place.folder);
        std::string executable;
        if (const std::string path = folder + "/Info.plist"; reader_.has(path))
            attempt(path, [&] {
                const BundleInfo info = bundleInfo(reader_.list(path));
                bundle.identifier = info.identifier;
                bundle.companion = info.companion;
                executable = info.executable;
            });
        addProgram(folder, executable, place.kind != BundleKind::other);
        found_.nestedBundles.push_back(std::move(bundle));
    }

    void readNames(const std::string &file) {
        attempt(full(file), [&] {
            for (LocalizedName &name : localizedNames(file, reader_.list(full(file))))
                found_.localizedNames.push_back(std::move(name));
        });
    }

    void readProfileOfApp() {
        const std::string path = full("embedded.mobileprovision");
        if (reader_.has(path))
            attempt(path,
                    [&] { found_.profile = readProfile(reader_.data(path), progress_.get()); });
    }

    void readProgramAt(const std::string &path, bool mustExist) {
        if (!mustExist && !reader_.has(path))
            return;
        attempt(path, [&] {
            const EntryReader::File file = reader_.file(path);
            found_.programs.push_back(
                {path,
                 readProgram(file.read, file.size, reader_.signatureBytesLeft(), progress_.get())});
        });
    }

    void gatherGroups() {
        for (const Program &program : found_.programs)
            for (const ProgramSlice &slice : program.slices)
                if (slice.signature) {
                    addNew(found_.appGroups, slice.signature->entitlements.appGroups);
                    addNew(found_.keychainGroups, slice.signature->entitlements.keychainGroups);
                }
    }

    archive::ProgressPointer progress_;
    PackageSurvey survey_;
    EntryReader reader_;
    AppItems items_;
    Inspection found_;
    std::vector<std::pair<std::string, bool>> programs_; ///< and whether the package must hold it
};

} // namespace

bool Inspection::isEncrypted() const {
    return std::any_of(programs.begin(), programs.end(),
                       [](const Program &program) { return program.isEncrypted(); });
}

const Program *Inspection::mainProgram() const {
    const std::string path =
        bundle + "/" + (info.executable.empty() ? stem(bundle) : info.executable);
    const auto found = std::find_if(programs.begin(), programs.end(),
                                    [&](const Program &each) { return each.path == path; });
    return found == programs.end() ? nullptr : &*found;
}

Inspection inspect(const archive::Archive &archive, const InspectOptions &options) {
    return Inspector(archive, options.progress).inspect();
}

} // namespace vellomir
