#pragma once

#include "Vellomir/Pictures/HelperProcess.h"
#include "Vellomir/Pictures/HelperProtocol.h"

#include <optional>

namespace vellomir {

/// Decodes and encodes pictures in a process of their own, a new one each time. A value; any
/// thread.
class PictureHelper {
public:
    /// The picture program as it is built and as it is installed, by where this program is. Throws
    /// `PictureError::missingCodec`, with the path where it should be.
    [[nodiscard]] static PictureHelper find();

    /// Without limits, each picture gets those of `helperLimits`.
    explicit PictureHelper(std::string program, std::optional<HelperLimits> limits = std::nullopt)
        : program_(std::move(program)), limits_(limits) {}

    /// Decodes the file that the descriptor has open, from its start. Throws what `runHelper`
    /// throws, and a `PictureFault` for a picture that is refused.
    [[nodiscard]] DecodedPicture decode(int file, std::uint64_t fileSize,
                                        const DecodingOptions &options = {},
                                        const Cancellation &isCancelled = {}) const;

    /// A PNG of the bitmap turned upright. Throws the same.
    [[nodiscard]] std::vector<std::byte> encode(const DecodedPicture &picture,
                                                const Cancellation &isCancelled = {}) const;

private:
    /// What the program gave back.
    [[nodiscard]] MappedMemory run(std::vector<std::string> arguments, int input,
                                   const HelperLimits &limits,
                                   const Cancellation &isCancelled) const;

    std::string program_;
    std::optional<HelperLimits> limits_;
};

} // namespace vellomir
