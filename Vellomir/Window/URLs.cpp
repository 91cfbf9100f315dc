#include "Vellomir/Window/URLs.h"

namespace vellomir {

QUrl toQt(const std::optional<archive::URL> &url) {
    return url ? QUrl::fromLocalFile(QString::fromStdString(url->path())) : QUrl();
}

std::vector<archive::URL> fromQt(const QList<QUrl> &urls) {
    std::vector<archive::URL> files;
    for (const QUrl &url : urls)
        if (url.isLocalFile())
            files.push_back(archive::URL::file(url.toLocalFile().toStdString()));
    return files;
}

} // namespace vellomir
