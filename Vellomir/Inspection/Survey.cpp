#include "Vellomir/Inspection/Survey.h"

#include "Vellomir/Inspection/AppSearch.h"
#include "Vellomir/Inspection/Errors.h"

#include <algorithm>
#include <climits>
#include <limits>

namespace vellomir {
namespace {

using archive::Archive;
using archive::Entry;

constexpr std::size_t largestCount = 10;
constexpr std::size_t unsafeCount = 10;

std::uint64_t limitedSum(std::uint64_t left, std::uint64_t right) {
    constexpr std::uint64_t maximum = std::numeric_limits<std::uint64_t>::max();
    return right > maximum - left ? maximum : left + right;
}

/// The walk over all entries.
class PackageWalk {
public:
    explicit PackageWalk(const Archive &archive) : archive_(archive) {}

    void look(const Entry &entry) {
        const std::string path = archive_.path(entry);
        count(entry, path);
        const auto unpacked = unpackedPath(path);
        if (!unpacked) {
            addUnsafe(path);
            return;
        }
        const bool isFolder = entry.type() == Entry::EntryType::directory;
        search_.look(*unpacked, isFolder);
        if (search_.propertyList() == unpacked && !isFolder && listPath_.first != *unpacked)
            listPath_ = {*unpacked, path};
        if (entry.type() == Entry::EntryType::symlink)
            lookAtLink(entry, path, *unpacked);
    }

    PackageSurvey finish(const Archive::Reach &reach, const archive::ProgressPointer &progress) {
        facts_.reach = reach;
        facts_.entries = reach.reached;
        const auto list = search_.propertyList();
        if (!list)
            throw noApp(reach);
        if (!links_.empty())
            static_cast<void>(
                archive_.reach([this](const Entry &entry) { findBelowLink(entry); }, progress));
        facts_.bundle = search_.bundle();
        facts_.apps.assign(search_.apps().begin(), search_.apps().end());
        return {.propertyList = listPath_.second, .facts = std::move(facts_)};
    }

private:
    void count(const Entry &entry, const std::string &path) {
        const auto &record = entry.centralDirectoryStructure();
        const std::uint64_t size = record.effectiveUncompressedSize();
        facts_.totalSize = limitedSum(facts_.totalSize, size);
        facts_.compressedSize = limitedSum(facts_.compressedSize, entry.compressedSize());
        auto &largest = facts_.largestEntries;
        if (size == 0 || (largest.size() == largestCount && largest.back().size >= size))
            return;
        const auto place = std::find_if(largest.begin(), largest.end(),
                                        [size](const auto &each) { return each.size < size; });
        largest.insert(place, {path, size});
        if (largest.size() > largestCount)
            largest.pop_back();
    }

    void addUnsafe(const std::string &path) {
        ++facts_.unsafeEntryCount;
        if (facts_.unsafeEntries.size() < unsafeCount)
            facts_.unsafeEntries.push_back(path);
    }

    /// The target of a link is stored, and no longer than a path may be.
    void lookAtLink(const Entry &entry, const std::string &path, const std::string &unpacked) {
        const auto &record = entry.centralDirectoryStructure();
        const std::uint64_t size = record.effectiveUncompressedSize();
        if (record.compressionMethod != 0 || size == 0 || size >= PATH_MAX)
            addUnsafe(path);
        if (links_.size() < maximumItems)
            links_.insert(unpacked);
    }

    /// An unpacker writes nothing through a link.
    void findBelowLink(const Entry &entry) {
        const std::string path = archive_.path(entry);
        const auto unpacked = unpackedPath(path);
        if (!unpacked)
            return;
        for (std::size_t slash = unpacked->find('/'); slash != unpacked->npos;
             slash = unpacked->find('/', slash + 1))
            if (links_.contains(std::string_view(*unpacked).substr(0, slash))) {
                addUnsafe(path);
                return;
            }
    }

    [[nodiscard]] Error noApp(const Archive::Reach &reach) const {
        std::string detail = "The package has no app: there is no Info.plist in a folder *.app";
        if (!reach.isComplete())
            detail += " among the " + std::to_string(reach.reached) + " of " +
                      std::to_string(reach.promised + reach.uncounted) +
                      " entries that can be read";
        return Error(InspectionError::noApp, {.path = archive_.url().path(), .detail = detail});
    }

    const Archive &archive_;
    AppSearch search_;
    std::pair<std::string, std::string> listPath_; ///< unpacked, and as the archive has it
    std::set<std::string, std::less<>> links_;
    Inspection facts_;
};

template <class Set>
void insertLimited(Set &set, std::string_view path) {
    if (set.size() < maximumItems)
        set.emplace(path);
}

void takeItem(AppItems &items, std::string_view path) {
    if (path == "Assets.car")
        items.hasAssetCatalogue = true;
    else if (mayHaveLocalizedNames(path))
        insertLimited(items.localizedFiles, path);
    else if (path.ends_with(".dylib"))
        insertLimited(items.libraries, path);
    for (const NestedBundle &each : nestedBundles(path))
        if (items.bundles.size() < maximumItems)
            items.bundles.emplace(each.folder, each.kind);
}

} // namespace

PackageSurvey surveyPackage(const Archive &archive, const archive::ProgressPointer &progress) {
    PackageWalk walk(archive);
    const auto reach = archive.reach([&walk](const Entry &entry) { walk.look(entry); }, progress);
    return walk.finish(reach, progress);
}

AppItems surveyApp(const Archive &archive, const std::string &bundle,
                   const archive::ProgressPointer &progress) {
    AppItems items;
    const auto look = [&](const Entry &entry) {
        auto path = unpackedPath(archive.path(entry));
        if (!path)
            return;
        if (entry.type() == Entry::EntryType::directory)
            *path += '/';
        if (const auto below = pathBelowFolder(*path, bundle))
            takeItem(items, *below);
    };
    static_cast<void>(archive.reach(look, progress));
    return items;
}

} // namespace vellomir
