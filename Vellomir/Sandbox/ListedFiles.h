#pragma once

#include "Vellomir/Sandbox/Sandbox.h"
#include "Vellomir/Sandbox/SandboxFiles.h"
#include "archive/EntryTransfer.h"

namespace vellomir {

/// The files of one job, without a tree on disk: what is unpacked is a list in memory, and the data
/// of its files is in the new package already. Only files that may change have their content in
/// memory. The package is opened once, and read where it is.
///
/// On disk are only empty items that keep the names: the copy of the package, the folder that it is
/// unpacked in, and in that the folder that is packed again. All other paths are those of
/// `SandboxFiles`.
///
/// `SandboxFiles` takes over, with a copy of the package and a tree on disk, when `unpack` finds
/// something that a list cannot treat in exactly the same way: see `EntryTransfer`, and if the file
/// system takes two names for one that differ in the case of letters. So all errors of a package
/// come from there. After `unpack` it stays as it is: no later operation needs the disk instead.
class ListedFiles : public PackageFiles {
public:
    explicit ListedFiles(const Sandbox &sandbox);
    ListedFiles(const ListedFiles &) = delete;
    ListedFiles &operator=(const ListedFiles &) = delete;
    /// Removes the new package if it is not complete.
    ~ListedFiles() override;

    void requireItem(const archive::URL &url) const override;
    void requireFile(const archive::URL &url) const override;
    [[nodiscard]] bool isFolder(const archive::URL &url) const override;
    [[nodiscard]] std::optional<std::uint64_t> fileSize(const archive::URL &url) const override;
    [[nodiscard]] archive::URL withoutLinks(const archive::URL &url) const override;
    [[nodiscard]] archive::Data read(const archive::URL &url, std::size_t limit) const override;
    void write(const archive::URL &url, std::span<const std::byte> content) const override;
    void replace(const archive::URL &url, std::span<const std::byte> content) const override;

    void createFolder(const archive::URL &url) const override { disk_.createFolder(url); }
    /// Opens the package, and makes an empty file with the name of the copy. Throws
    /// `FileError::fileReadUnknown` in `unpack` if the package is changed until then.
    void copyIn(const archive::URL &from, const archive::URL &to,
                const ProgressPointer &progress) const override;
    void move(const archive::URL &from, const archive::URL &to) const override;
    void remove(const archive::URL &url) const override { disk_.remove(url); }
    void removeIfThere(const archive::URL &url) const override { disk_.removeIfThere(url); }

    [[nodiscard]] std::vector<archive::URL> children(const archive::URL &folder) const override;
    [[nodiscard]] std::optional<archive::URL>
    findFirst(const archive::URL &folder,
              const std::function<bool(const archive::URL &)> &test) const override;

    [[nodiscard]] WorkShares shares() const override {
        return {.copying = 1, .unpacking = 97, .packing = 2};
    }
    void unpack(const archive::URL &package, const archive::URL &folder,
                const UnpackOptions &options) const override;
    [[nodiscard]] EntryCount countEntries(const archive::URL &package) const override;
    void pack(const archive::URL &folder, const archive::URL &package,
              const PackOptions &options) const override;

    /// Whether the unpacked items are in the list; false if they are on disk, and before `unpack`.
    [[nodiscard]] bool isListed() const;

private:
    struct State;

    [[nodiscard]] std::optional<std::string> listedPath(const archive::URL &url) const;
    [[nodiscard]] archive::ListedItem *find(const archive::URL &url) const;
    [[nodiscard]] bool foldsNames() const;
    [[nodiscard]] bool tryToList(const archive::URL &folder, const UnpackOptions &options) const;
    void unpackOnDisk(const archive::URL &package, const archive::URL &folder,
                      const UnpackOptions &options) const;
    void touchFolder(std::string_view path) const;
    void removeUnfinished() const;

    archive::URL root_;
    archive::URL unfinished_; ///< the new package, until it gets its name
    SandboxFiles disk_;
    std::unique_ptr<State> state_;
};

} // namespace vellomir
