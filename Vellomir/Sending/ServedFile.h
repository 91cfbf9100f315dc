#pragma once

#include "files/FileDescriptor.h"
#include "files/FileStatus.h"

#include <cstdint>
#include <span>
#include <string>

namespace vellomir {

/// The file that is offered. It is opened once; all bytes are read through that descriptor.
class ServedFile {
public:
    /// Throws a `FileError` with the path: it is missing, may not be read, or is no regular file.
    explicit ServedFile(std::string path);

    [[nodiscard]] const std::string &path() const { return path_; }
    /// In bytes, when it was opened.
    [[nodiscard]] std::uint64_t size() const { return size_; }
    /// A strong one, with its quotation marks: another for each size and modification time.
    [[nodiscard]] std::string entityTag() const;

    /// Fills the buffer with the bytes at the offset. False if there are not so many, or if they
    /// cannot be read.
    [[nodiscard]] bool read(std::uint64_t offset, std::span<std::byte> buffer) const;

    /// Whether the open file has the size and the modification time that it had at first.
    [[nodiscard]] bool isUnchanged() const;
    /// The same, and the path still leads to this file.
    [[nodiscard]] bool isInPlace() const;

private:
    std::string path_;
    FileDescriptor file_;
    std::uint64_t size_ = 0;
    FileStatus status_;
};

} // namespace vellomir
