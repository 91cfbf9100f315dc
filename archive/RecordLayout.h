#pragma once

#include "archive/Data.h"

#include <new>
#include <tuple>

/// A record says once which fields it has, in the order of the format; reading, writing and its
/// size follow from that list:
///
///     struct R {
///         std::uint32_t signature = …;
///         std::uint16_t nameLength = 0;
///         Data name;
///         static constexpr auto fields = std::tuple{&R::signature, &R::nameLength};
///         static constexpr auto tails = std::tuple{Tail{&R::nameLength, &R::name}};
///     };
namespace vellomir::archive::layout {

/// A variable part behind the fixed one, and the field that holds its length.
template <class Record>
struct Tail {
    std::uint16_t Record::*length;
    Data Record::*bytes;
};
/// The record follows from the members.
template <class Record>
Tail(std::uint16_t Record::*, Data Record::*) -> Tail<Record>;

/// Bytes of a field in a file.
template <class Record, class Value>
constexpr std::size_t width(Value Record::* /*field*/) {
    return sizeof(Value);
}

/// Bytes of all fixed fields.
template <class... Field>
constexpr std::size_t size(const std::tuple<Field...> &list) {
    return std::apply([](auto... field) { return (width(field) + ... + 0U); }, list);
}

/// Reads one field at the offset, and moves the offset behind it.
template <class Record, class Value>
void scan(Record &record, Value Record::*field, std::span<const std::byte> bytes,
          std::size_t &offset) {
    record.*field = scanValue<Value>(bytes, offset);
    offset += sizeof(Value);
}

/// Reads every fixed field; the bytes must be as many as the fields need.
template <class Record>
void scan(Record &record, std::span<const std::byte> bytes) {
    std::size_t offset = 0;
    std::apply([&](auto... field) { (scan(record, field, bytes, offset), ...); }, Record::fields);
}

/// Fetches all variable parts in one call and shares them out; false if the provider throws or
/// returns another count. Throws nothing but `std::bad_alloc`.
template <class Record>
bool scanTails(Record &record, const AdditionalDataProvider &provider) {
    const std::size_t total = std::apply(
        [&](auto... tail) { return (std::size_t{record.*tail.length} + ... + 0U); }, Record::tails);
    std::span<const std::byte> bytes;
    try {
        bytes = provider(total);
    } catch (const std::bad_alloc &) {
        throw;      // says nothing about the bytes
    } catch (...) { // whatever else it throws, this is no record
        return false;
    }
    if (bytes.size() != total)
        return false;
    const auto take = [&](auto tail) {
        record.*tail.bytes = Data(bytes.first(record.*tail.length));
        bytes = bytes.subspan(record.*tail.length);
    };
    std::apply([&](auto... tail) { (take(tail), ...); }, Record::tails);
    return true;
}

/// The fixed fields as little-endian bytes.
template <class Record>
Data serialize(const Record &record) {
    Data data;
    data.reserve(Record::size);
    std::apply([&](auto... field) { (data.appendValue(record.*field), ...); }, Record::fields);
    return data;
}

/// Appends the variable parts, one behind the other.
template <class Record>
void appendTails(Data &data, const Record &record) {
    std::apply([&](auto... tail) { (data.append(record.*tail.bytes), ...); }, Record::tails);
}

} // namespace vellomir::archive::layout
