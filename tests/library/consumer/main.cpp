// Uses the library as others do: public headers, and something of each class's compiled code.
#include "archive/Archive.h"
#include "archive/BatchAddition.h"
#include "archive/FileManager.h"
#include "archive/PathIndex.h"

#include <cstdlib>
#include <iostream>
#include <string>

using vellomir::archive::Archive;
using vellomir::archive::BatchAddition;
using vellomir::archive::CompressionMethod;
using vellomir::archive::Data;
using vellomir::archive::Date;
using vellomir::archive::Entry;
using vellomir::archive::FileManager;
using vellomir::archive::PathIndex;
using vellomir::archive::Progress;
using vellomir::archive::URL;
using AccessMode = Archive::AccessMode;

namespace {

constexpr std::int64_t size = 100000;
const std::string letters(size, 'a');

void require(bool isTrue, const char *what) {
    if (isTrue)
        return;
    std::cerr << "Not true: " << what << '\n';
    std::exit(1);
}

std::span<const std::byte> provide(std::int64_t position, std::size_t count) {
    return std::as_bytes(std::span(letters)).subspan(static_cast<std::size_t>(position), count);
}

Data makeArchive() {
    const auto made = Archive::open(Data(), AccessMode::create);
    BatchAddition batch(*made);
    batch.addEntry("letters.txt", Entry::EntryType::file, size, Date{1.6e9}, std::nullopt, provide,
                   {.compressionMethod = CompressionMethod::deflate});
    batch.addEntry("folder/", Entry::EntryType::directory, 0, Date{1.6e9}, std::nullopt,
                   [](std::int64_t, std::size_t) { return std::span<const std::byte>(); });
    batch.finish();
    return made->data().value();
}

void readInMemory() {
    const auto opened = Archive::open(makeArchive(), AccessMode::update);
    const auto entry = (*opened)["letters.txt"];
    require(entry && entry->path() == "letters.txt", "the entry is found by its path");
    require(entry->compressedSize() < entry->uncompressedSize(), "the entry is compressed");
    Data content;
    opened->extractChecked(*entry,
                           [&](std::span<const std::byte> chunk) { content.append(chunk); });
    require(content.text() == letters, "what goes in comes out");
    require(entry->checksum() == content.builtInCRC32(0), "both checksums agree");
    PathIndex index(*opened);
    require(index["letters.txt"] == entry, "the index finds the entry");
    require(!index["missing"], "the index finds no other");
    opened->remove(*entry);
    require(opened->entries().begin()->path() == "folder/", "the other entry is left");
}

void cancel() {
    const auto opened = Archive::open(makeArchive(), AccessMode::read);
    const auto entry = (*opened)["letters.txt"].value();
    const auto progress = Archive::makeProgressForReading(entry);
    progress->setObserver([&](const Progress &) { progress->cancel(); });
    try {
        opened->extractChecked(entry, [](std::span<const std::byte>) {}, {.progress = progress});
        require(false, "the operation is cancelled");
    } catch (const vellomir::archive::Error &error) {
        require(error.code() == Archive::ArchiveError::cancelledOperation, "the code tells");
        require(error.name() == "ArchiveError.cancelledOperation", "the name tells");
    }
    require(progress->completedUnitCount() < size, "the end is not reached");
}

void unpack() {
    const auto at = URL::file("consumer.zip");
    Data archiveData = makeArchive();
    std::FILE *file = std::fopen(at.path().c_str(), "wb");
    Data::write(archiveData, file);
    std::fclose(file);
    FileManager().unzipItem(at, URL::folder("unpacked"));
    require(FileManager().fileSizeForItem(URL::file("unpacked/letters.txt")) == size,
            "the file is as large as the entry");
    FileManager().zipItem(URL::folder("unpacked"), URL::file("again.zip"),
                          {.shouldKeepParent = false});
    try {
        FileManager().unzipItem(URL::file("missing.zip"), URL::folder("unpacked"));
        require(false, "there is no such archive");
    } catch (const std::system_error &error) {
        require(error.code() == vellomir::archive::FileError::fileReadNoSuchFile, "the code tells");
    }
}

} // namespace

int main() {
    readInMemory();
    cancel();
    unpack();
    std::cout << "All is as the library says.\n";
}
