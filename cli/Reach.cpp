#include "cli/Reach.h"

#include "cli/EntryText.h"

namespace vellomir::cli {
namespace {

using archive::Archive;
using End = Archive::EntryIterator::End;

/// Why the walk ended too early.
std::string reason(const Archive::Reach &reach) {
    const std::string next = std::to_string(reach.reached + 1);
    if (reach.end == End::encryptedEntry)
        return "entry " + next + " is encrypted";
    if (reach.displacement > 0)
        return "something stands in front of the archive in its file (" +
               countText(static_cast<std::uint64_t>(reach.displacement), "byte") + ")";
    if (reach.displacement < 0)
        return "the directory does not fit in front of the end record";
    if (reach.end == End::damagedLocalHeader)
        return "there is no local header where the directory's record " + next + " says";
    return "the directory's record " + next + " is damaged";
}

} // namespace

std::optional<std::string> shortfall(const Archive::Reach &reach) {
    if (reach.isComplete())
        return std::nullopt;
    const std::string reached = std::to_string(reach.reached) + " could be reached: ";
    if (reach.end == End::complete)
        return "the directory holds " + countText(reach.promised + reach.uncounted, "entry") +
               ", " + reached + "the end record counts no more";
    return "the directory promises " + countText(reach.promised, "entry") + ", " + reached +
           reason(reach);
}

} // namespace vellomir::cli
