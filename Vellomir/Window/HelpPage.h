#pragma once

#include <QUrl>

namespace vellomir {

/// The installed help page, a local file; empty if it is not there. It is found from the place of
/// the running program, so that the installed tree can be moved. Any thread.
[[nodiscard]] QUrl helpPage();

} // namespace vellomir
