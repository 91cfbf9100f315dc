#include "Vellomir/PropertyLists/Builder.h"

#include "Vellomir/PropertyLists/Limits.h"
#include "archive/Archive.h"

#include <algorithm>
#include <numeric>

namespace vellomir {
namespace {

/// O(n log n), and without a hash table, whose collisions an attacker could choose.
void keepLastOfEachKey(PropertyListDictionary &members) {
    std::vector<std::size_t> order(members.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t left, std::size_t right) {
        return members[left].key < members[right].key;
    });
    std::vector<bool> isRepeated(members.size());
    bool hasRepeated = false;
    for (std::size_t first = 0, index = 1; index < order.size(); ++index) {
        if (members[order[index]].key != members[order[first]].key) {
            first = index;
            continue;
        }
        members[order[first]].value = std::move(members[order[index]].value);
        isRepeated[order[index]] = hasRepeated = true;
    }
    if (!hasRepeated)
        return;
    std::size_t end = 0;
    for (std::size_t index = 0; index < members.size(); ++index)
        if (!isRepeated[index] && end++ != index)
            members[end - 1] = std::move(members[index]);
    members.erase(members.begin() + static_cast<std::ptrdiff_t>(end), members.end());
}

/// The UID that XML stores as a dictionary with the single key "CF$UID"; nothing for other
/// dictionaries.
std::optional<PropertyListUID> uidOf(const PropertyListDictionary &members) {
    if (members.size() != 1 || members.front().key != "CF$UID")
        return std::nullopt;
    const auto &content = members.front().value.content;
    if (const auto *number = std::get_if<std::uint64_t>(&content))
        return PropertyListUID{*number};
    const auto *number = std::get_if<std::int64_t>(&content);
    if (number == nullptr || *number < 0)
        return std::nullopt;
    return PropertyListUID{static_cast<std::uint64_t>(*number)};
}

std::size_t textSizeOf(const PropertyListValue &value) {
    if (const auto *text = std::get_if<std::string>(&value.content))
        return text->size();
    const auto *data = std::get_if<archive::Data>(&value.content);
    return data == nullptr ? 0 : data->size();
}

} // namespace

void requireNotCancelled(const archive::Progress *progress) {
    if (progress != nullptr)
        progress->throwIfCancelled();
}

void PropertyListBuilder::poll() {
    requireNotCancelled(progress_);
}

void PropertyListBuilder::addKey(std::string key) {
    poll();
    countText(key.size());
    open_.back().key = std::move(key);
}

void PropertyListBuilder::addValue(PropertyListValue value) {
    poll();
    countValue();
    countText(textSizeOf(value));
    store(std::move(value));
}

void PropertyListBuilder::begin(bool isDictionary) {
    poll();
    countValue();
    if (open_.size() == maximumPropertyListDepth)
        throw error("the values are nested more than " + std::to_string(maximumPropertyListDepth) +
                    " deep");
    open_.push_back({.isDictionary = isDictionary});
}

void PropertyListBuilder::end() {
    Container container = std::move(open_.back());
    open_.pop_back();
    if (!container.isDictionary)
        return store({std::move(container.elements)});
    keepLastOfEachKey(container.members);
    const auto uid = open_.empty() ? std::nullopt : uidOf(container.members);
    if (uid)
        store({*uid});
    else
        store({std::move(container.members)});
}

void PropertyListBuilder::store(PropertyListValue value) {
    if (open_.empty()) {
        root_ = std::move(value);
        return;
    }
    Container &container = open_.back();
    if (!container.isDictionary) {
        container.elements.push_back(std::move(value));
        return;
    }
    container.members.push_back({std::move(*container.key), std::move(value)});
    container.key.reset();
}

void PropertyListBuilder::countValue() {
    if (++values_ > maximumPropertyListValues)
        throw error("there are more than " + std::to_string(maximumPropertyListValues) + " values");
}

void PropertyListBuilder::countText(std::size_t size) {
    textSize_ += size;
    if (textSize_ > maximumPropertyListTextSize)
        throw error("the texts and data have more than " +
                    std::to_string(maximumPropertyListTextSize >> 20U) + " MiB");
}

bool PropertyListBuilder::expectsKey() const {
    return !open_.empty() && open_.back().isDictionary && !open_.back().key;
}

bool PropertyListBuilder::expectsValue() const {
    return !open_.empty() && open_.back().key.has_value();
}

Error PropertyListBuilder::error(const std::string &what) const {
    const std::string place = path();
    return unreadable("The " + format_ + " property list cannot be read: " + position_() +
                      (place.empty() ? "" : ", " + place) + ": " + what);
}

/// The keys and indexes that lead to the next value; only the last ones if there are many.
std::string PropertyListBuilder::path() const {
    static constexpr std::size_t limit = 8;
    std::string text;
    const auto append = [&text](const std::string &step) {
        text += (text.empty() ? "" : " > ") + step;
    };
    if (open_.size() > limit)
        append("...");
    for (std::size_t index = open_.size() - std::min(open_.size(), limit); index < open_.size();
         ++index)
        if (!open_[index].isDictionary)
            append(std::to_string(open_[index].elements.size()));
        else if (open_[index].key)
            append(quotedText(*open_[index].key));
    return text;
}

} // namespace vellomir
