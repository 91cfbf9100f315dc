#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vellomir::fuzz {

/// What a second reader finds in one architecture of a program.
struct PlainSlice {
    bool hasHeader = false; ///< that can be read
    bool isWhole = false;   ///< so can all load commands, and the signature is inside
    bool isEncrypted = false;
    std::optional<std::uint64_t> signatureOffset; ///< in the file
    std::uint64_t signatureSize = 0;
};

/// Reads a Mach-O file, thin or fat, by plain indexes into its bytes; nothing if no architecture
/// has a header. It shares no code with the product.
[[nodiscard]] std::optional<std::vector<PlainSlice>> plainProgram(std::span<const std::byte> bytes);

/// The identifier in the code directory of a signature; nothing if it is damaged.
[[nodiscard]] std::optional<std::string>
plainSignatureIdentifier(std::span<const std::byte> signature);

} // namespace vellomir::fuzz
