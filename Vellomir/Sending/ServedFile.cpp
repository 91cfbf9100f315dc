#include "Vellomir/Sending/ServedFile.h"

#include "files/Error.h"
#include "files/FileContent.h"

#include <cstdio>
#include <utility>

namespace vellomir {
namespace {

bool isSameState(const FileStatus &left, const FileStatus &right) {
    const timespec before = left.modificationTime();
    const timespec now = right.modificationTime();
    return left.identity() == right.identity() && left.size() == right.size() &&
           before.tv_sec == now.tv_sec && before.tv_nsec == now.tv_nsec;
}

} // namespace

ServedFile::ServedFile(std::string path)
    : path_(std::move(path)), file_(openFile(path_, Access::read)),
      size_(regularFileSize(file_, path_)), status_(requireStatus(file_.get(), path_)) {
    size_ = static_cast<std::uint64_t>(status_.size()); // of the same moment as the time
}

std::string ServedFile::entityTag() const {
    const timespec time = status_.modificationTime();
    char text[64];
    std::snprintf(text, sizeof text, "\"%llx-%llx-%lx\"", static_cast<unsigned long long>(size_),
                  static_cast<unsigned long long>(time.tv_sec),
                  static_cast<unsigned long>(time.tv_nsec));
    return text;
}

bool ServedFile::read(std::uint64_t offset, std::span<std::byte> buffer) const {
    return readAt(file_.get(), offset, buffer) == buffer.size();
}

bool ServedFile::isUnchanged() const {
    const auto now = statusOf(file_.get());
    return now && isSameState(status_, *now);
}

bool ServedFile::isInPlace() const {
    const auto now = statusOf(path_, Links::follow);
    return now && isSameState(status_, *now);
}

} // namespace vellomir
