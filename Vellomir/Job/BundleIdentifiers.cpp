#include "Vellomir/Job/BundleIdentifiers.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <span>

namespace vellomir {
namespace {

// The keys of Apple's Information Property List reference that name a bundle by its identifier.
// Booleans such as WKWatchOnly, and the keys below NSAppClip, name none.

/// WKCompanionAppBundleIdentifier: "The bundle ID of the watchOS app's companion iOS app."
constexpr std::array<std::string_view, 1> companionApp = {"WKCompanionAppBundleIdentifier"};
/// WKAppBundleIdentifier, below NSExtensionAttributes of NSExtension: "The bundle ID of the
/// WatchKit app."
constexpr std::array<std::string_view, 3> watchApp = {"NSExtension", "NSExtensionAttributes",
                                                      "WKAppBundleIdentifier"};

constexpr std::array<std::span<const std::string_view>, 2> references = {companionApp, watchApp};

PropertyListValue *valueAt(PropertyListDictionary *members,
                           std::span<const std::string_view> path) {
    for (;; path = path.subspan(1)) {
        const auto found =
            std::find_if(members->begin(), members->end(),
                         [&](const PropertyListMember &each) { return each.key == path.front(); });
        if (found == members->end() || path.size() == 1)
            return found == members->end() ? nullptr : &found->value;
        members = std::get_if<PropertyListDictionary>(&found->value.content);
        if (members == nullptr)
            return nullptr;
    }
}

/// A dot only joins identifiers, so it is none of these.
bool isPartOfName(char each) {
    return (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z') ||
           (each >= '0' && each <= '9') || each == '-' || each == '_';
}

bool holdsIdentifier(std::string_view text, std::string_view identifier) {
    if (identifier.empty())
        return false;
    for (std::size_t start = text.find(identifier); start != text.npos;
         start = text.find(identifier, start + 1)) {
        const std::size_t end = start + identifier.size();
        const bool startsInName = start > 0 && isPartOfName(text[start - 1]);
        const bool endsInName = end < text.size() && isPartOfName(text[end]);
        if (!startsInName && !endsInName)
            return true;
    }
    return false;
}

class IdentifierFinder {
public:
    explicit IdentifierFinder(const IdentifierChange &change) : change_(change) {}

    void look(const PropertyListDictionary &members) {
        for (const PropertyListMember &member : members) {
            path_.push_back(member.key);
            lookAt(member.key);
            look(member.value);
            path_.pop_back();
        }
    }

    [[nodiscard]] IdentifierSearch take() { return std::move(result_); }

private:
    void look(const PropertyListValue &value) {
        if (const auto *const text = std::get_if<std::string>(&value.content))
            lookAt(*text);
        else if (const auto *const members = std::get_if<PropertyListDictionary>(&value.content))
            look(*members);
        else if (const auto *const array = std::get_if<PropertyListArray>(&value.content))
            for (const PropertyListValue &element : *array) {
                path_.push_back(std::to_string(&element - array->data()));
                look(element);
                path_.pop_back();
            }
    }

    void lookAt(const std::string &text) {
        if (!holdsIdentifier(text, change_.from) || holdsIdentifier(text, change_.to))
            return;
        const std::size_t size = std::accumulate(
            path_.begin(), path_.end(), std::size_t{0},
            [](std::size_t sum, const std::string &step) { return sum + step.size(); });
        if (result_.found.size() < IdentifierSearch::limit &&
            size <= IdentifierSearch::longestKeyPath)
            result_.found.emplace_back(path_, text);
        else
            ++result_.more;
    }

    const IdentifierChange &change_;
    KeyPath path_;
    IdentifierSearch result_;
};

} // namespace

std::optional<std::string> IdentifierChange::nested(const std::string &identifier) const {
    if (from.empty() || !identifier.starts_with(from + '.'))
        return std::nullopt;
    return to + identifier.substr(from.size());
}

std::vector<ValueChange> changeBundleReferences(PropertyListDictionary &members,
                                                const IdentifierChange &change) {
    std::vector<ValueChange> changes;
    for (const auto &path : references) {
        PropertyListValue *const value = valueAt(&members, path);
        auto *const text = value == nullptr ? nullptr : std::get_if<std::string>(&value->content);
        if (text == nullptr || change.from.empty())
            continue;
        const auto changed = *text == change.from ? change.to : change.nested(*text);
        if (!changed || *changed == *text)
            continue;
        changes.push_back({.keyPath = KeyPath(path.begin(), path.end()),
                           .from = PropertyListValue{*text},
                           .to = PropertyListValue{*changed}});
        *text = *changed;
    }
    return changes;
}

IdentifierSearch findOldIdentifier(const PropertyListDictionary &members,
                                   const IdentifierChange &change) {
    IdentifierFinder finder(change);
    if (!change.from.empty() && change.from.size() <= IdentifierSearch::longestIdentifier &&
        change.from != change.to)
        finder.look(members);
    return finder.take();
}

} // namespace vellomir
