// SandboxFiles: unpacking and packing.

#include "Vellomir/Sandbox/SandboxFiles.h"
#include "archive/FileManager.h"

namespace vellomir {

using archive::Archive;
using archive::URL;

void SandboxFiles::unpack(const URL &package, const URL &folder,
                          const UnpackOptions &options) const {
    archive::FileManager().unzipItem(package, folder,
                                     {.progress = options.progress,
                                      .preferredEncoding = options.nameEncoding,
                                      .holdsToDirectory = true,
                                      .jobs = options.jobs});
}

EntryCount SandboxFiles::countEntries(const URL &package) const {
    EntryCount count;
    try {
        const auto archive = Archive::make(package, Archive::AccessMode::read);
        if (!archive)
            return {};
        auto walk = archive->makeIterator();
        while (walk.next())
            ++count.read;
        count.promised = walk.end() == Archive::EntryIterator::End::complete
                             ? count.read
                             : archive->totalNumberOfEntriesInCentralDirectory();
    } catch (const Error &) {
        return {};
    }
    return count;
}

void SandboxFiles::pack(const URL &folder, const URL &package, const PackOptions &options) const {
    archive::FileManager().zipItem(folder, package,
                                   {.progress = options.progress, .jobs = options.jobs});
}

} // namespace vellomir
