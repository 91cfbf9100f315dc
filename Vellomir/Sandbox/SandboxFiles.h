#pragma once

#include "Vellomir/Sandbox/PackageFiles.h"
#include "files/FileCopy.h"
#include "files/FolderItems.h"

namespace vellomir {

/// Files on disk, below one root folder only. Each path is walked name by name from the root. Links
/// are followed only if they stay below it.
///
/// For any thread. Trees may have any depth.
class SandboxFiles : public PackageFiles {
public:
    /// The root must exist and be no link; links in its path must lead to it always. `list` lists
    /// the folders of a search.
    explicit SandboxFiles(archive::URL root, ListFolder list = folderItems);

    void requireItem(const archive::URL &url) const override;
    void requireFile(const archive::URL &url) const override;
    [[nodiscard]] bool isFolder(const archive::URL &url) const override;
    [[nodiscard]] std::optional<std::uint64_t> fileSize(const archive::URL &url) const override;
    [[nodiscard]] archive::URL withoutLinks(const archive::URL &url) const override;
    [[nodiscard]] archive::Data read(const archive::URL &url, std::size_t limit) const override;
    void write(const archive::URL &url, std::span<const std::byte> content) const override;
    void replace(const archive::URL &url, std::span<const std::byte> content) const override;

    void createFolder(const archive::URL &url) const override;
    void copyIn(const archive::URL &from, const archive::URL &to,
                const ProgressPointer &progress) const override;
    /// The same of a file that is open at its start.
    void copyIn(const OpenFile &source, const archive::URL &to,
                const ProgressPointer &progress) const;
    void move(const archive::URL &from, const archive::URL &to) const override;
    void remove(const archive::URL &url) const override;
    void removeIfThere(const archive::URL &url) const override;

    [[nodiscard]] std::vector<archive::URL> children(const archive::URL &folder) const override;
    [[nodiscard]] std::optional<archive::URL>
    findFirst(const archive::URL &folder,
              const std::function<bool(const archive::URL &)> &test) const override;

    [[nodiscard]] WorkShares shares() const override { return {}; }
    void unpack(const archive::URL &package, const archive::URL &folder,
                const UnpackOptions &options) const override;
    [[nodiscard]] EntryCount countEntries(const archive::URL &package) const override;
    void pack(const archive::URL &folder, const archive::URL &package,
              const PackOptions &options) const override;

private:
    archive::URL root_;
    ListFolder list_;
};

/// Opens the file that is to be copied in. Throws a `FileError` if it is no regular file that can
/// be read.
[[nodiscard]] OpenFile openSource(const std::string &path);

} // namespace vellomir
