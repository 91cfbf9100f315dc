#include "tests/support/Streams.h"

#include <algorithm>
#include <random>
#include <string_view>

namespace vellomir::test {
namespace {

archive::Data makeText(std::size_t size) {
    static constexpr std::string_view words = "the quick brown fox jumps over the lazy dog, ";
    std::string text;
    for (std::size_t line = 0; text.size() < size; ++line)
        text += std::to_string(line * line) + ' ' + std::string(words.substr(line % words.size()));
    text.resize(size);
    return archive::Data(text);
}

archive::Data makeRandom(std::size_t size) {
    std::mt19937 generator(4711); // NOLINT(cert-msc*): the same bytes in every run
    std::vector<std::byte> bytes(size);
    for (std::byte &byte : bytes)
        byte = static_cast<std::byte>(generator() & 0xFFU);
    return archive::Data(std::move(bytes));
}

} // namespace

archive::Data makeContent(Content content, std::size_t size) {
    switch (content) {
    case Content::text:
        return makeText(size);
    case Content::random:
        return makeRandom(size);
    case Content::zeros:
        break;
    }
    return archive::Data(std::vector<std::byte>(size));
}

std::string name(Content content) {
    switch (content) {
    case Content::text:
        return "text";
    case Content::random:
        return "random";
    case Content::zeros:
        break;
    }
    return "zeros";
}

archive::Data deflated(const archive::Data &plain, std::int64_t bufferSize) {
    Source source(plain);
    Sink sink;
    archive::Data::compress(source.size(), bufferSize, source.provider(), sink.consumer());
    return sink.data();
}

archive::Data inflated(const archive::Data &stream, std::int64_t bufferSize) {
    Source source(stream);
    Sink sink;
    archive::Data::decompress(source.size(), bufferSize, false, source.provider(), sink.consumer());
    return sink.data();
}

archive::Provider Source::provider() {
    return [this](std::int64_t position, std::size_t size) {
        calls_.emplace_back(position, size);
        const auto rest = std::as_const(data_).bytes().subspan(
            std::min(static_cast<std::size_t>(position), data_.size()));
        return rest.first(std::min(rest.size(), size));
    };
}

archive::Consumer Sink::consumer() {
    return [this](std::span<const std::byte> chunk) {
        chunks_.push_back(chunk.size());
        data_.append(chunk);
    };
}

} // namespace vellomir::test
