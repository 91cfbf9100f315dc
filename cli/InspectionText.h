#pragma once

#include "Vellomir/Inspection/Inspection.h"

#include <cstdint>
#include <string>
#include <vector>

/// How the result of an inspection is written for people and for programs.
namespace vellomir::cli {

/// The lines of the text. Control characters of names are shown as \xNN; long messages are broken
/// at 80 columns.
[[nodiscard]] std::vector<std::string> inspectionLines(const Inspection &found);

/// The object that `inspect --json` prints, as README.md describes it.
[[nodiscard]] std::string inspectionJson(const Inspection &found);

/// In decimal units: "17 bytes", "1.2 MB".
[[nodiscard]] std::string sizeText(std::uint64_t bytes);

/// With commas: "2,704".
[[nodiscard]] std::string numberText(std::uint64_t number);

} // namespace vellomir::cli
