#pragma once

#include "archive/Data.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vellomir::test {

/// Contents of different compressibility.
enum class Content { zeros, text, random };
[[nodiscard]] archive::Data makeContent(Content content, std::size_t size);
[[nodiscard]] std::string name(Content content);

/// Deflates and inflates, in chunks of `bufferSize`.
[[nodiscard]] archive::Data deflated(const archive::Data &plain, std::int64_t bufferSize = 16384);
[[nodiscard]] archive::Data inflated(const archive::Data &stream, std::int64_t bufferSize = 16384);

/// A provider's bytes, with a record of its calls. Must outlive its provider.
class Source {
public:
    using Call = std::pair<std::int64_t, std::size_t>; ///< position and size

    explicit Source(archive::Data data) : data_(std::move(data)) {}
    [[nodiscard]] archive::Provider provider();
    [[nodiscard]] std::int64_t size() const { return static_cast<std::int64_t>(data_.size()); }
    [[nodiscard]] const std::vector<Call> &calls() const { return calls_; }

private:
    archive::Data data_;
    std::vector<Call> calls_;
};

/// A consumer's chunks and their sizes. Must outlive its consumer.
class Sink {
public:
    [[nodiscard]] archive::Consumer consumer();
    [[nodiscard]] const archive::Data &data() const { return data_; }
    [[nodiscard]] const std::vector<std::size_t> &chunks() const { return chunks_; }

private:
    archive::Data data_;
    std::vector<std::size_t> chunks_;
};

} // namespace vellomir::test
