#include "Vellomir/Window/CommandLine.h"

#include <QCommandLineParser>
#include <QDir>

#include <cstdio>

namespace vellomir {
namespace {

void print(std::FILE *stream, const QString &text) {
    std::fputs(qUtf8Printable(text), stream);
}

ParsedCommandLine ended(std::FILE *stream, const QString &text, int exitCode) {
    print(stream, text);
    return {.options = std::nullopt, .exitCode = exitCode};
}

/// Replaces the program's name, which the parser takes from a QCoreApplication that does not exist
/// yet.
QString helpText(const QCommandLineParser &parser) {
    return parser.helpText().replace(QStringLiteral("<executable_name>"),
                                     QStringLiteral("vellomir"));
}

QList<QUrl> urls(const QStringList &files) {
    QList<QUrl> urls;
    for (const QString &file : files)
        urls.append(QUrl::fromUserInput(file, QDir::currentPath(), QUrl::AssumeLocalFile));
    return urls;
}

} // namespace

ParsedCommandLine parse(const QStringList &arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Makes a second copy of an app package that can be installed beside it."));
    const QCommandLineOption help(QStringLiteral("help"), QStringLiteral("Says this."));
    const QCommandLineOption version(QStringLiteral("version"),
                                     QStringLiteral("Says the version."));
    parser.addOptions({help, version});
    parser.addPositionalArgument(QStringLiteral("package"), QStringLiteral("The package to open."),
                                 QStringLiteral("[package]"));
    if (!parser.parse(arguments))
        return ended(stderr,
                     QStringLiteral("vellomir: %1\nRun with --help for what it takes.\n")
                         .arg(parser.errorText()),
                     2);
    if (parser.isSet(help))
        return ended(stdout, helpText(parser), 0);
    if (parser.isSet(version))
        return ended(stdout, QStringLiteral("vellomir " VELLOMIR_VERSION "\n"), 0);
    if (parser.positionalArguments().size() > 1)
        return ended(stderr, QStringLiteral("vellomir: one package at a time\n"), 2);
    return {.options = WindowOptions{.files = urls(parser.positionalArguments())}, .exitCode = 0};
}

} // namespace vellomir
