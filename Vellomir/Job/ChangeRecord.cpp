#include "Vellomir/Job/ChangeRecord.h"

#include "files/PrintableText.h"

#include <string_view>
#include <unordered_map>

namespace vellomir {

std::string describeKeyPath(const KeyPath &path) {
    std::string text;
    for (const std::string &step : path)
        text += (text.empty() ? "" : " > ") + step;
    return text;
}

std::vector<ValueChange> changesBetween(const PropertyListDictionary &old,
                                        const PropertyListDictionary &changed) {
    std::unordered_map<std::string_view, const PropertyListValue *> added;
    for (const PropertyListMember &member : changed)
        added.emplace(member.key, &member.value);
    std::vector<ValueChange> changes;
    for (const PropertyListMember &member : old) {
        const auto now = added.find(member.key);
        if (now == added.end())
            changes.push_back({.keyPath = {member.key}, .from = member.value, .to = std::nullopt});
        else if (*now->second != member.value)
            changes.push_back({.keyPath = {member.key}, .from = member.value, .to = *now->second});
        if (now != added.end())
            added.erase(now);
    }
    for (const PropertyListMember &member : changed)
        if (added.contains(member.key))
            changes.push_back({.keyPath = {member.key}, .from = std::nullopt, .to = member.value});
    return changes;
}

void ChangeRecord::say(const std::string &line) {
    lines.push_back({.text = printable(line)});
}

void ChangeRecord::warn(const std::string &line) {
    lines.push_back({.text = printable(line), .isWarning = true});
}

void ChangeRecord::fail(const std::string &line) {
    lines.push_back(
        {.text = printable(line), .isWarning = true, .error = std::current_exception()});
}

} // namespace vellomir
