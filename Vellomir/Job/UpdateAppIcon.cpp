// Job: writing the new icon into the bundle.

#include "Vellomir/Job/Job.h"
#include "Vellomir/Pictures/PictureGeometry.h"

#include <array>

namespace vellomir {
namespace {

/// What the names of the icon files promise, in pixels: points times "@2x" or "@3x".
constexpr std::array iconSides = {60, 120, 180, 152, 120};

bool isBundle(const archive::URL &item) {
    return item.pathExtension() == "app";
}

/// Of the bundles on the way from the folder to the item.
std::optional<archive::URL> outermostBundle(const archive::URL &folder, const archive::URL &item) {
    std::optional<archive::URL> bundle;
    const std::size_t start = folder.path().size();
    for (archive::URL each = item; each.path().size() > start;
         each = each.deletingLastPathComponent())
        if (isBundle(each))
            bundle = each;
    return bundle;
}

} // namespace

std::optional<std::string> Job::updateAppIcon(const archive::URL &url, const Picture &newIcon) {
    const auto bundle = findBundle(url);
    if (!bundle) {
        complaints_.push_back({.kind = Kind::bundleNotFound,
                               .text = "App directory not found in the unzipped folder"});
        observer_.logged(complaints_.back().text);
        return std::nullopt;
    }
    const auto icons = encodeIcons(newIcon);
    if (icons.empty() || !writeIcons(url, *bundle, icons))
        return std::nullopt;
    return bundle->path();
}

/// The icons go where the property list is: into the outermost bundle around it. Without a property
/// list in a bundle, they go into the first bundle.
std::optional<archive::URL> Job::findBundle(const archive::URL &url) const {
    try {
        const auto list = firstInfoPlist(url);
        auto bundle = list ? outermostBundle(url, *list) : std::nullopt;
        if (!bundle)
            bundle = services_.files->findFirst(url, isBundle);
        if (bundle)
            services_.files->requireItem(*bundle);
        return bundle;
    } catch (const std::exception &error) {
        diagnose(error);
        return std::nullopt;
    }
}

std::optional<Job::IconFile> Job::encodeIcon(const Picture &newIcon) {
    const archive::Progress *const progress = progress_.progress();
    try {
        IconFile icon{.png = newIcon.pngData(
                          [progress] { return progress != nullptr && progress->isCancelled(); }),
                      .width = newIcon.bitmap().width,
                      .height = newIcon.bitmap().height};
        // The values from 5 on turn the picture by a quarter.
        if (newIcon.orientation() >= Orientation::leftMirrored)
            std::swap(icon.width, icon.height);
        return icon;
    } catch (const std::exception &error) {
        complain(Kind::iconNotEncoded, "Error converting new icon to PNG data", error);
        return std::nullopt;
    }
}

/// One for all files, or one for each if they get the sizes of their names; none after a failure.
std::vector<Job::IconFile> Job::encodeIcons(const Picture &newIcon) {
    std::vector<IconFile> icons;
    const auto add = [&](const Picture &picture) {
        auto icon = encodeIcon(picture);
        if (!icon)
            return false;
        icons.push_back(*std::move(icon));
        return true;
    };
    if (!input_.changes.icons) {
        add(newIcon);
        return icons;
    }
    for (const int side : iconSides)
        if (!add(Picture(scaledToSquare(newIcon.bitmap(), side), 1, newIcon.orientation())))
            return {};
    return icons;
}

bool Job::writeIcons(const archive::URL &url, const archive::URL &bundle,
                     const std::vector<IconFile> &icons) {
    for (std::size_t index = 0; index < iconFileNames.size(); ++index) {
        const std::string &name = iconFileNames[index];
        const IconFile &icon = icons[std::min(index, icons.size() - 1)];
        const archive::URL file = bundle.appendingPathComponent(name);
        try {
            const auto oldSize = services_.files->fileSize(file);
            services_.files->write(file, icon.png);
            observer_.logged(name + " updated");
            if (input_.changes.icons)
                record_.say("Scaled " + name + " to " + std::to_string(icon.width) + " x " +
                            std::to_string(icon.height) + " pixels");
            recordIcon(file.path().substr(url.path().size() + 1), oldSize, icon);
        } catch (const std::exception &error) {
            complain(Kind::iconNotWritten, "Error while updating " + name + ": ", error);
            return false;
        }
    }
    return true;
}

void Job::recordIcon(const std::string &entry, std::optional<std::uint64_t> oldSize,
                     const IconFile &icon) {
    ValueChange change;
    if (oldSize)
        change.from = PropertyListValue{
            PropertyListDictionary{{.key = "bytes", .value = makeInteger(*oldSize)}}};
    change.to = PropertyListValue{PropertyListDictionary{
        {.key = "bytes", .value = makeInteger(icon.png.size())},
        {.key = "width", .value = PropertyListValue{std::int64_t{icon.width}}},
        {.key = "height", .value = PropertyListValue{std::int64_t{icon.height}}}}};
    record_.changes.push_back({.file = entry, .value = std::move(change)});
}

} // namespace vellomir
