#pragma once

#include "Vellomir/Inspection/BundleInfo.h"

#include <string>
#include <string_view>

namespace vellomir {

/// What can be known of the text that a job put behind the identifier and the names of a copy. The
/// copy does not hold it by itself: it is at the end of all three.
class CopyNumber {
public:
    explicit CopyNumber(const BundleInfo &copy);

    /// Whether a text may end with the number, or is the copy's new name as a whole.
    [[nodiscard]] bool mayEnd(std::string_view text) const;
    /// Whether an identifier begins with that of the original and a dot.
    [[nodiscard]] bool keepsOldIdentifier(std::string_view identifier) const;

private:
    const BundleInfo &copy_;
    std::string ending_; ///< that the identifier and both names share; it ends with the number
};

} // namespace vellomir
