#include "cli/PrivateFolder.h"

#include "cli/ErrorText.h"
#include "cli/ResultStream.h"

#include "Vellomir/Platform/SandboxFiles.h"
#include "archive/Error.h"

#include <cerrno>
#include <cstdlib>
#include <memory>

namespace cli {
namespace {

std::string resolved(const std::string &folder) {
    const std::unique_ptr<char, void (*)(void *)> path(::realpath(folder.c_str(), nullptr),
                                                       std::free);
    if (!path)
        throw archive::readError(folder, errno);
    return path.get();
}

} // namespace

PrivateFolder::PrivateFolder(const std::string &parent)
    : path_(resolved(parent) + "/.vellomir-XXXXXX") {
    if (::mkdtemp(path_.data()) == nullptr)
        throw archive::writeError(parent == "." ? resolved(parent) : parent, errno);
}

PrivateFolder::~PrivateFolder() {
    const auto folder = archive::URL::folder(path_);
    try {
        vellomir::SandboxFiles(folder.deletingLastPathComponent()).remove(folder);
    } catch (const std::exception &error) {
        const std::string text = "warning: cannot remove " + path_ + ": " + describe(error);
        static_cast<void>(writeFully(STDERR_FILENO, errorLine(text)));
    }
}

} // namespace cli
