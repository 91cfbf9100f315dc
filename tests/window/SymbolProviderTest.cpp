// The symbols of buttons and rows.

#include "Vellomir/Window/SymbolProvider.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QImageReader>

namespace vellomir {
namespace {

QImage symbol(const QString &name, const QSize &requested) {
    QSize size;
    const QImage image = SymbolProvider().requestImage(name, &size, requested);
    EXPECT_EQ(size, image.size());
    return image;
}

TEST(SymbolProvider, DrawsEachSymbolAsItsFileIs) {
    const QDir assets(QStringLiteral(":/Vellomir/Assets"));
    const QStringList files = assets.entryList({QStringLiteral("*.svg")});
    ASSERT_GE(files.size(), 10);
    for (const QString &file : files) {
        const QString name = file.chopped(4);
        QImageReader reader(assets.filePath(file));
        reader.setScaledSize({44, 44});
        const QImage expected = reader.read();
        ASSERT_FALSE(expected.isNull()) << file.toStdString();
        EXPECT_EQ(symbol(name, {44, 44}), expected) << file.toStdString();
        EXPECT_EQ(symbol(name, {}).size(), QImageReader(assets.filePath(file)).size());
    }
}

TEST(SymbolProvider, UnknownNamesGiveNoImage) {
    EXPECT_TRUE(symbol(QStringLiteral("no.such.symbol"), {22, 22}).isNull());
}

} // namespace
} // namespace vellomir
