#include "Vellomir/Window/URLs.h"

namespace vellomir {

QUrl toQt(const std::optional<archive::URL> &url) {
    if (!url)
        return {};
    return QUrl::fromEncoded("file://" +
                             QByteArray::fromStdString(url->path()).toPercentEncoding("/"));
}

std::vector<archive::URL> fromQt(const QList<QUrl> &urls) {
    std::vector<archive::URL> files;
    for (const QUrl &url : urls)
        if (url.isLocalFile())
            files.push_back(archive::URL::file(
                QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1())
                    .toStdString()));
    return files;
}

} // namespace vellomir
