#pragma once

#include <span>
#include <string>
#include <system_error>

namespace vellomir {

/// The category of one error enumeration: for each of its values, from 1 on, the name in the source
/// and the sentence for people. `Error::name` finds both here.
class ErrorCategory final : public std::error_category {
public:
    struct Line {
        const char *name;
        const char *sentence;
    };

    /// Both must outlive the category, which must outlive its errors.
    constexpr ErrorCategory(const char *name, std::span<const Line> lines)
        : name_(name), lines_(lines) {}

    [[nodiscard]] const char *name() const noexcept override { return name_; }
    [[nodiscard]] std::string message(int value) const override { return line(value).sentence; }
    [[nodiscard]] const Line &line(int value) const {
        static constexpr Line unknown = {"unknown", "An unknown error"};
        const auto index = static_cast<std::size_t>(value) - 1;
        return index < lines_.size() ? lines_[index] : unknown;
    }

private:
    const char *name_;
    std::span<const Line> lines_;
};

} // namespace vellomir
