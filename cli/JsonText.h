#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace vellomir::cli {

/// The object in one line, with the escapes that Json.h promises.
[[nodiscard]] std::string jsonText(const nlohmann::ordered_json &json);

} // namespace vellomir::cli
