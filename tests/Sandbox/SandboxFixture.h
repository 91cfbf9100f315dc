#pragma once

#include "Vellomir/Sandbox/Sandbox.h"
#include "Vellomir/Sandbox/SandboxFiles.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace vellomir::test {

/// A sandbox "box" with some items, beside a folder "outside" with a secret.
class SandboxFixture : public testing::Test {
protected:
    SandboxFixture() {
        writeFile(folder_ / "outside/secret.txt", "secret");
        std::filesystem::create_directories(folder_ / "box/in/side");
        writeFile(folder_ / "box/in/a.txt", "a");
    }

    [[nodiscard]] std::filesystem::path box(const std::string &path) const {
        return folder_ / "box" / path;
    }
    [[nodiscard]] archive::URL url(const std::string &path) const {
        return archive::URL::file(box(path).string());
    }
    void link(const std::string &path, const std::string &target) const {
        std::filesystem::create_symlink(target, box(path));
    }
    [[nodiscard]] std::string outside(const std::string &name = "") const {
        return folder_ / "outside" / name;
    }

    static archive::Data bytes(std::string_view text) { return archive::Data(text); }

    /// The code of the error that the action must throw; all name the path.
    template <class Action>
    static std::error_code errorOf(Action action) {
        try {
            action();
        } catch (const Error &error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(error.path()));
            EXPECT_NE(error.path(), "");
            return error.code();
        }
        return {};
    }

    TemporaryFolder folder_;
    Sandbox sandbox_{folder_.url("box")};
    SandboxFiles files_{sandbox_.root()};
};

} // namespace vellomir::test
