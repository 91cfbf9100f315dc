#include "Vellomir/Inspection/Profile.h"

#include "Vellomir/Inspection/Errors.h"
#include "Vellomir/Inspection/ListValues.h"

#include <string_view>

namespace vellomir {
namespace {

constexpr double secondsFrom1970To2001 = 978307200;

/// The message holds the list as one run of bytes: from its declaration to its last end tag.
std::span<const std::byte> listIn(std::span<const std::byte> message) {
    static constexpr std::string_view endTag = "</plist>";
    const std::string_view text(reinterpret_cast<const char *>(message.data()), message.size());
    const std::size_t start = text.find("<?xml");
    const std::size_t end = text.rfind(endTag);
    if (start == text.npos || end == text.npos || end < start)
        throw Error(InspectionError::unreadableProfile,
                    {.detail = "The provisioning profile holds no property list"});
    return message.subspan(start, end + endTag.size() - start);
}

} // namespace

Profile readProfile(std::span<const std::byte> bytes, const archive::Progress *progress) {
    const PropertyList list = PropertyList::parse(listIn(bytes), progress);
    const PropertyListValue *const root = &list.value();
    Profile profile;
    profile.name = textAt(root, "Name");
    profile.team = textAt(root, "TeamName");
    profile.identifier = textAt(member(root, "Entitlements"), "application-identifier");
    const PropertyListValue *const end = member(root, "ExpirationDate");
    if (const auto *date = end ? std::get_if<PropertyListDate>(&end->content) : nullptr)
        profile.endDate = archive::Date{date->seconds + secondsFrom1970To2001};
    return profile;
}

} // namespace vellomir
