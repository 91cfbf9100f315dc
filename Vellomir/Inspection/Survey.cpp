#include "Vellomir/Inspection/Survey.h"

#include "Vellomir/Inspection/AppSearch.h"
#include "Vellomir/Inspection/Errors.h"
#include "Vellomir/Inspection/ListValues.h"

#include <algorithm>
#include <climits>
#include <limits>

namespace vellomir {
namespace {

using archive::Archive;
using archive::Entry;

constexpr std::size_t largestCount = 10;
constexpr std::size_t unsafeCount = 10;
/// Of so many files it is known whether two have one path: 8 MB.
constexpr std::size_t maximumHashes = 1'000'000;

std::uint64_t limitedSum(std::uint64_t left, std::uint64_t right) {
    constexpr std::uint64_t maximum = std::numeric_limits<std::uint64_t>::max();
    return right > maximum - left ? maximum : left + right;
}

/// FNV-1a, piece by piece: the folders around an item of a long path take no longer than the path.
class PathHash {
public:
    PathHash &add(std::string_view piece) {
        for (const char each : piece)
            value_ = (value_ ^ static_cast<unsigned char>(each)) * 0x100000001B3U;
        return *this;
    }
    [[nodiscard]] std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 0xCBF29CE484222325U;
};

/// The walk over all entries.
class PackageWalk {
public:
    explicit PackageWalk(const Archive &archive) : archive_(archive) {}

    void look(const Entry &entry) {
        const std::string path = archive_.path(entry);
        count(entry, path);
        const auto unpacked = unpackedPath(path);
        if (!unpacked) {
            addUnsafe(path, "leads out of the package");
            return;
        }
        const bool isFolder = entry.type() == Entry::EntryType::directory;
        search_.look(*unpacked, isFolder);
        if (!isFolder && files_.size() < maximumHashes)
            files_.push_back(PathHash().add(*unpacked).value());
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
        keepRepeatedHashes();
        if (!links_.empty() || !files_.empty())
            static_cast<void>(
                archive_.reach([this](const Entry &entry) { lookAgain(entry); }, progress));
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
        largest.insert(place, {kept(path), size});
        if (largest.size() > largestCount)
            largest.pop_back();
    }

    void addUnsafe(const std::string &path, const std::string &reason) {
        ++facts_.unsafeEntryCount;
        if (facts_.unsafeEntries.size() < unsafeCount)
            facts_.unsafeEntries.push_back(kept(path) + ": " + reason);
    }

    /// The target of a link is stored, and no longer than a path may be.
    void lookAtLink(const Entry &entry, const std::string &path, const std::string &unpacked) {
        const auto &record = entry.centralDirectoryStructure();
        const std::uint64_t size = record.effectiveUncompressedSize();
        if (record.compressionMethod != 0)
            addUnsafe(path, "a compressed link");
        else if (size == 0 || size >= PATH_MAX)
            addUnsafe(path,
                      size == 0 ? "a link without a target" : "a link with too long a target");
        if (links_.size() < maximumItems) {
            links_.insert(unpacked);
            linkHashes_.insert(PathHash().add(unpacked).value());
        }
    }

    /// Leaves those that occur more than once, each of them once.
    void keepRepeatedHashes() {
        std::sort(files_.begin(), files_.end());
        std::vector<std::uint64_t> repeated;
        for (std::size_t index = 1; index < files_.size(); ++index)
            if (files_[index] == files_[index - 1] &&
                (repeated.empty() || repeated.back() != files_[index]))
                repeated.push_back(files_[index]);
        files_ = std::move(repeated);
    }

    void lookAgain(const Entry &entry) {
        const std::string path = archive_.path(entry);
        const auto unpacked = unpackedPath(path);
        if (!unpacked)
            return;
        if (entry.type() != Entry::EntryType::directory && isTaken(*unpacked))
            addUnsafe(path, "an earlier entry has the same path");
        else
            findBelowLink(path, *unpacked);
    }

    /// Whether an earlier file or link has this path.
    bool isTaken(const std::string &unpacked) {
        if (!std::binary_search(files_.begin(), files_.end(), PathHash().add(unpacked).value()))
            return false;
        if (taken_.contains(unpacked))
            return true;
        if (taken_.size() < maximumItems)
            taken_.insert(unpacked);
        return false;
    }

    /// An unpacker writes nothing through a link.
    void findBelowLink(const std::string &path, const std::string &unpacked) {
        PathHash hash;
        std::size_t start = 0;
        for (std::size_t slash = unpacked.find('/'); slash != unpacked.npos;
             slash = unpacked.find('/', slash + 1)) {
            const std::string_view folder = std::string_view(unpacked).substr(0, slash);
            hash.add(folder.substr(start));
            start = slash;
            if (linkHashes_.contains(hash.value()) && links_.contains(folder))
                return addUnsafe(path, "below a link");
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
    std::set<std::uint64_t> linkHashes_; ///< of the same paths
    std::vector<std::uint64_t> files_;   ///< hashes of the paths of files and links
    std::set<std::string> taken_;        ///< paths of which there are more entries
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
