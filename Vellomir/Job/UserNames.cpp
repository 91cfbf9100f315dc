#include "Vellomir/Job/UserNames.h"

#include <cerrno>
#include <utility>

namespace vellomir {
namespace {

using archive::URL;

std::string withSlash(const URL &folder) {
    return folder.path().ends_with('/') ? folder.path() : folder.path() + '/';
}

/// The text behind the prefix; nothing if the text does not begin with it.
std::optional<std::string> rest(const std::string &text, const std::string &start) {
    if (start.empty() || !text.starts_with(start))
        return std::nullopt;
    return text.substr(start.size());
}

bool isFullDisk(const ErrorContext &context) {
    return context.systemError == ENOSPC || context.systemError == EDQUOT;
}

} // namespace

UserNames::UserNames(const Sandbox &sandbox, std::optional<URL> package,
                     std::function<std::string(const std::string &path)> display)
    : root_(withSlash(sandbox.root())), disk_(sandbox.root().deletingLastPathComponent().path()),
      package_(std::move(package)), display_(std::move(display)) {
    if (const auto documents = sandbox.documentsFolder())
        documents_ = withSlash(*documents);
}

void UserNames::operator()(ErrorContext &context) const {
    if (isFullDisk(context)) {
        context.path = display_(disk_);
        context.entry.clear();
        return;
    }
    if (context.path.empty()) {
        if (package_ && !context.entry.empty())
            context.path = display_(package_->path());
        return;
    }
    if (const auto name = rest(context.path, documents_))
        renameDocument(context, *name);
    else if (rest(context.path, root_))
        context.path = URL::file(context.path).lastPathComponent();
    else
        context.path = display_(context.path);
}

/// `name` is relative to the folder for documents.
void UserNames::renameDocument(ErrorContext &context, const std::string &name) const {
    const std::string copy = package_ ? package_->lastPathComponent() : std::string();
    const std::string folder =
        package_ ? package_->deletingPathExtension().lastPathComponent() : std::string();
    const std::string package = package_ ? display_(package_->path()) : name;
    for (const std::string &unpacked : {folder + "/unzipped/", std::string("tempFolder/")})
        if (const auto entry = rest(name, unpacked)) {
            if (context.entry.empty())
                context.entry = *entry;
            context.path = package;
            return;
        }
    const bool isPackage =
        name == copy || name == folder || name == folder + "/unzipped" || name == "tempFolder";
    context.path = isPackage ? package : name;
}

} // namespace vellomir
