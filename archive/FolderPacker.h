#pragma once

#include "archive/FileManager.h"
#include "archive/FileWorkers.h"
#include "archive/PackingWorkers.h"
#include "archive/SourceFolder.h"

#include <string>
#include <vector>

namespace vellomir::archive {

class EntryAppender;

/// Packs a folder with everything below it: lists it, adds the items in that order, and writes the
/// directory. The archive itself, which may be made in the folder, is left out.
class FolderPacker {
public:
    /// The archive must be a new one. The paths in it begin with the prefix. `limits` is the work
    /// that one thread takes at once. Throws a `FileError` with the path if there is no folder.
    FolderPacker(Archive &archive, const URL &folder, std::string prefix,
                 const FileManager::ZipOptions &options, const FileBatches::Limits &limits = {});

    /// Once. Throws what `FileManager::zipItem` throws.
    void run();

private:
    void listItems();
    void add(const PlannedItem &item, EntryAppender &appender);

    Archive &archive_;
    SourceFolder source_;
    std::string prefix_;
    const FileManager::ZipOptions &options_;
    FileBatches::Limits limits_;
    std::vector<PlannedItem> items_;
};

} // namespace vellomir::archive
