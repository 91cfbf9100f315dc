#include "Vellomir/Inspection/CopyNumber.h"

#include <algorithm>

namespace vellomir {
namespace {

std::string_view commonEnding(std::string_view left, std::string_view right) {
    const auto ends = std::mismatch(left.rbegin(), left.rend(), right.rbegin(), right.rend());
    return left.substr(left.size() - static_cast<std::size_t>(ends.first - left.rbegin()));
}

} // namespace

CopyNumber::CopyNumber(const BundleInfo &copy)
    : copy_(copy),
      ending_(commonEnding(commonEnding(copy.displayName, copy.name), copy.identifier)) {}

bool CopyNumber::mayEnd(std::string_view text) const {
    if (text == copy_.displayName || text == copy_.name)
        return true;
    const std::string_view ending = ending_.empty() ? copy_.displayName : ending_;
    return !ending.empty() && text.ends_with(ending.back());
}

bool CopyNumber::keepsOldIdentifier(std::string_view identifier) const {
    const std::string_view own = copy_.identifier;
    if (own.empty() || identifier.starts_with(copy_.identifier + "."))
        return false;
    if (ending_.empty())
        return true; // The copy got an identifier of its own, without a number.
    for (std::size_t size = 1; size <= ending_.size(); ++size)
        if (identifier.starts_with(std::string(own.substr(0, own.size() - size)) + "."))
            return true;
    return false;
}

} // namespace vellomir
