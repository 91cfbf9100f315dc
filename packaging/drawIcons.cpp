// vellomir-icons SVG FOLDER SIZE...: draws the icon as FOLDER/SIZE.png, for each size in pixels.

#include <QCoreApplication>
#include <QImageReader>

#include <cstdio>

namespace {

bool draw(const QString &source, const QString &target, int size) {
    QImageReader reader(source);
    reader.setScaledSize(QSize(size, size));
    const QImage image = reader.read();
    if (!image.isNull() && image.save(target, "PNG"))
        return true;
    std::fprintf(stderr, "vellomir-icons: cannot draw %s as %s: %s\n", qPrintable(source),
                 qPrintable(target), qPrintable(reader.errorString()));
    return false;
}

} // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv); // knows where the reader of SVG is
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 4) {
        std::fputs("usage: vellomir-icons SVG FOLDER SIZE...\n", stderr);
        return 2;
    }
    for (const QString &size : arguments.mid(3))
        if (!draw(arguments[1], arguments[2] + '/' + size + ".png", size.toInt()))
            return 1;
    return 0;
}
