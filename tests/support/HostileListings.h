#pragma once

#include "files/FolderItems.h"

#include <algorithm>
#include <memory>
#include <random>
#include <tuple>
#include <vector>

namespace vellomir::test {

/// Lists folders sorted by `less`, which compares two items.
template <class Less>
ListFolder listingBy(Less less) {
    return [less](int folder, const std::string &path) {
        auto items = folderItems(folder, path);
        std::sort(items.begin(), items.end(), less);
        return items;
    };
}

/// Lists folders in another random order each time.
inline ListFolder shuffledListing(unsigned seed) {
    return [generator = std::make_shared<std::mt19937>(seed)](int folder, const std::string &path) {
        auto items = folderItems(folder, path);
        std::shuffle(items.begin(), items.end(), *generator);
        return items;
    };
}

/// Orders in which file systems may list folders: by name ascending and descending, folders first
/// and last, and some random orders.
inline std::vector<ListFolder> hostileListings() {
    using Item = FolderItem;
    std::vector<ListFolder> listings = {
        listingBy([](const Item &left, const Item &right) { return left.name < right.name; }),
        listingBy([](const Item &left, const Item &right) { return right.name < left.name; }),
        listingBy([](const Item &left, const Item &right) {
            return std::tie(right.isFolder, left.name) < std::tie(left.isFolder, right.name);
        }),
        listingBy([](const Item &left, const Item &right) {
            return std::tie(right.isFolder, right.name) < std::tie(left.isFolder, left.name);
        })};
    for (unsigned seed = 1; seed <= 16; ++seed)
        listings.push_back(shuffledListing(seed));
    return listings;
}

} // namespace vellomir::test
