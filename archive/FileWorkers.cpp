#include "archive/FileWorkers.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

namespace vellomir::archive {
namespace {

using EntryType = Entry::EntryType;

/// Ends the work on a file whose batch will be undone.
struct Unwanted {};

std::string_view folderAbove(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

/// Whether a file might be written if nothing were there of the files behind it: names, room,
/// memory and descriptors are shared with them. What the archive itself holds is not.
bool mayDependOnOthers(const std::exception_ptr &failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const Error &error) {
        return error.code().category() != make_error_code(ArchiveError::invalidCRC32).category() &&
               error.code() != CompressionError::corruptedData;
    } catch (...) {
        return true;
    }
}

} // namespace

void FileBatches::add(std::uint64_t size) {
    const bool isFull = starts_.empty() || files_ - starts_.back() >= limits_.files ||
                        size > limits_.bytes - bytes_;
    if (isFull) {
        starts_.push_back(files_);
        bytes_ = 0;
    }
    bytes_ += std::min(size, limits_.bytes - bytes_);
    ++files_;
}

struct FileWorkers::Worker {
    Worker(std::unique_ptr<Archive> openArchive, const DestinationFolder &openFolder,
           const URL &destination, const FileManager::UnzipOptions &options)
        : archive(std::move(openArchive)), folder(openFolder.forAnotherThread()),
          writer(*archive, folder, destination, options) {}

    std::unique_ptr<Archive> archive;
    DestinationFolder folder;
    EntryWriter writer;
};

/// Notes what one batch makes, and ends it early once it is not wanted.
class FileWorkers::BatchObserver : public DestinationObserver {
public:
    BatchObserver(DestinationFolder &folder, const OrderedItem &item, MadeItems &made)
        : folder_(folder), item_(item), made_(made) {
        folder_.setObserver(this);
    }
    BatchObserver(const BatchObserver &) = delete;
    BatchObserver &operator=(const BatchObserver &) = delete;
    ~BatchObserver() override { folder_.setObserver(nullptr); }

    void madeFile() override { ++made_.created; }
    void madeFolder(std::string_view path) override {
        const std::string_view above = folderAbove(path);
        if (!made_.folders.empty() && made_.folders.back().path == above)
            made_.folders.back().path = path;
        else
            made_.folders.push_back({std::string(path), above.size()});
    }
    void willWrite() override {
        if (!item_.isWanted())
            throw Unwanted();
    }

private:
    DestinationFolder &folder_;
    const OrderedItem &item_;
    MadeItems &made_;
};

FileWorkers::FileWorkers(const Archive &archive, DestinationFolder &folder, EntryWriter &writer,
                         const URL &destination, const FileManager::UnzipOptions &options)
    : archive_(archive), folder_(folder), writer_(writer), destination_(destination),
      options_(options) {}

FileWorkers::~FileWorkers() = default;

void FileWorkers::write(const RecordPositions &files, const FileBatches &batches) {
    files_ = &files;
    batches_ = &batches;
    // Without folders in the archive, the first file makes the destination: nothing can be opened
    // before that.
    std::size_t first = 0;
    if (!folder_.isOpen() && batches.count() > 0)
        writeOnOneThread(0, batches.start(++first));
    makeWorkers(batches.count() - first);
    if (others_.empty())
        return writeOnOneThread(batches.start(first), files.size());
    made_.resize(std::max<std::size_t>(batches.limits().window, 1));
    const OrderedOutcome outcome = runInOrder(
        {batches.count() - first, static_cast<unsigned>(others_.size()) + 1, made_.size()},
        [&](const OrderedItem &item) { writeBatch(item, first + item.number()); });
    others_.clear();
    if (!outcome.failure)
        return;
    undo(first + outcome.failed + 1, first + outcome.begun);
    finishAfter(outcome.failure, first + outcome.failed);
}

void FileWorkers::writeOnOneThread(std::size_t start, std::size_t end) {
    for (std::size_t file = start; file < end; ++file)
        writer_.write((*files_)[file], EntryType::file);
}

/// A worker that cannot be made is no error: there are fewer then.
void FileWorkers::makeWorkers(std::size_t batches) {
    const auto count = std::min<std::size_t>(options_.jobs, batches);
    try {
        while (others_.size() + 1 < count) {
            auto archive = archive_.openForAnotherThread();
            if (!archive)
                return;
            others_.push_back(
                std::make_unique<Worker>(std::move(archive), folder_, destination_, options_));
        }
    } catch (const std::exception &) { // no descriptors or no memory
    }
}

void FileWorkers::writeBatch(const OrderedItem &item, std::size_t batch) {
    MadeItems &items = made(batch);
    items = {};
    Worker *const worker = item.worker() == 0 ? nullptr : others_[item.worker() - 1].get();
    EntryWriter &writer = worker == nullptr ? writer_ : worker->writer;
    const BatchObserver observer(worker == nullptr ? folder_ : worker->folder, item, items);
    const auto count = [&] {
        items.lastUnits = writer.countedUnits();
        items.units += items.lastUnits;
    };
    for (std::size_t file = batches_->start(batch); file < batches_->start(batch + 1); ++file) {
        if (!item.isWanted())
            return; // done as far as `done` says, and will be undone
        try {
            writer.write((*files_)[file], EntryType::file);
        } catch (...) {
            count();
            throw;
        }
        count();
        ++items.done;
    }
}

/// Ends as one thread would have after all files in front of the failed one.
void FileWorkers::finishAfter(const std::exception_ptr &failure, std::size_t batch) {
    if (!mayDependOnOthers(failure))
        std::rethrow_exception(failure);
    const MadeItems &items = made(batch);
    const std::size_t file = batches_->start(batch) + items.done;
    if (items.created > items.done)
        writer_.removeFile((*files_)[file]);
    uncount(items.lastUnits);
    writeOnOneThread(file, files_->size());
}

void FileWorkers::undo(std::size_t first, std::size_t end) {
    std::vector<MadeFolder> folders;
    for (std::size_t batch = first; batch < end; ++batch) {
        removeFiles(batch);
        MadeItems &items = made(batch);
        uncount(items.units);
        std::move(items.folders.begin(), items.folders.end(), std::back_inserter(folders));
    }
    removeFolders(std::move(folders));
    folder_.forgetParents();
}

/// What cannot be removed stays: the caller gets the first error.
void FileWorkers::removeFiles(std::size_t batch) {
    const std::size_t start = batches_->start(batch);
    for (std::size_t file = start; file < start + made(batch).created; ++file)
        try {
            writer_.removeFile((*files_)[file]);
        } catch (const Error &) {
        }
}

/// Those that other files, or other programs, have put something into stay. Which of two folders is
/// above the other does not follow from their order, so this repeats until nothing can be removed.
void FileWorkers::removeFolders(std::vector<MadeFolder> folders) {
    const auto removeOne = [this](MadeFolder &folder) {
        if (folder.path.size() <= folder.existing || !folder_.removeEmptyFolder(folder.path))
            return false;
        folder.path = folderAbove(folder.path);
        return true;
    };
    for (bool isChanged = true; isChanged;) {
        isChanged = false;
        for (MadeFolder &folder : folders)
            while (removeOne(folder))
                isChanged = true;
    }
}

void FileWorkers::uncount(std::int64_t units) {
    if (options_.progress && units > 0)
        options_.progress->addCompletedUnitCount(-units);
}

} // namespace vellomir::archive
