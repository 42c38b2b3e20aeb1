#include "commandline.h"

#include <QCommandLineParser>
#include <QCoreApplication>

const QSize CommandLine::MinimumSize(320, 240);
const QSize CommandLine::MaximumSize(3840, 2160);

QString CommandLine::usageLine()
{
    return QStringLiteral(
        "Usage: plot2d-demo [--data DIR] [--base-code CODE] [--settings FILE] [--seed N] [--no-live] "
        "[--uncheck TITLE]... [--screenshot FILE.png] [--size WxH] [--print-legend-state] [--state-file "
        "FILE]");
}

bool CommandLine::parse(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("An options desk built on plot2d."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help and exit."));
    const QCommandLineOption version(QStringLiteral("version"), QStringLiteral("Show the version and exit."));
    const QCommandLineOption data(QStringLiteral("data"),
                                  QStringLiteral("Load securities.csv and boards.csv from DIR."),
                                  QStringLiteral("DIR"));
    const QCommandLineOption base(QStringLiteral("base-code"),
                                  QStringLiteral("Base code of the futures (default BR)."),
                                  QStringLiteral("CODE"), baseCode);
    const QCommandLineOption settings(
        QStringLiteral("settings"),
        QStringLiteral("The desk's INI file (default ~/.config/plot2d/plot2d-demo/desk.ini)."),
        QStringLiteral("FILE"));
    const QCommandLineOption seedOption(QStringLiteral("seed"),
                                        QStringLiteral("Seed of the live quote's random walk (default 1)."),
                                        QStringLiteral("N"));
    const QCommandLineOption noLive(QStringLiteral("no-live"), QStringLiteral("Keep the quote still."));
    const QCommandLineOption screenshotOption(
        QStringLiteral("screenshot"),
        QStringLiteral("Render the window to FILE.png and exit; needs no display."), QStringLiteral("FILE"));
    const QCommandLineOption sizeOption(QStringLiteral("size"),
                                        QStringLiteral("Window size, from %1x%2 to %3x%4 (default 1200x700).")
                                            .arg(MinimumSize.width())
                                            .arg(MinimumSize.height())
                                            .arg(MaximumSize.width())
                                            .arg(MaximumSize.height()),
                                        QStringLiteral("WxH"));
    const QCommandLineOption uncheckOption(
        QStringLiteral("uncheck"),
        QStringLiteral("Untick the legend row TITLE after the start (repeatable)."), QStringLiteral("TITLE"));
    const QCommandLineOption printLegend(
        QStringLiteral("print-legend-state"),
        QStringLiteral("Print the unticked legend rows after the start and exit."));
    const QCommandLineOption stateFileOption(
        QStringLiteral("state-file"), QStringLiteral("Keep FILE up to date with the desk's state as JSON."),
        QStringLiteral("FILE"));
    parser.addOptions({help, version, data, base, settings, seedOption, noLive, screenshotOption, sizeOption,
                       uncheckOption, printLegend, stateFileOption});

    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    if (parser.isSet(help)) {
        m_output = parser.helpText();
        return false;
    }
    if (parser.isSet(version)) {
        m_output = QStringLiteral("plot2d-demo %1\n").arg(QCoreApplication::applicationVersion());
        return false;
    }
    if (!parser.positionalArguments().isEmpty())
        return usageError(
            QStringLiteral("unexpected argument '%1'").arg(parser.positionalArguments().first()));
    if (parser.isSet(seedOption)) {
        bool ok = false;
        seed = parser.value(seedOption).toUInt(&ok);
        if (!ok)
            return usageError(QStringLiteral("--seed takes a whole number from 0 to 4294967295, got '%1'")
                                  .arg(parser.value(seedOption)));
    }
    if (parser.isSet(sizeOption) && !parseSize(parser.value(sizeOption)))
        return usageError(QStringLiteral("--size takes WIDTHxHEIGHT from %1x%2 to %3x%4, got '%5'")
                              .arg(MinimumSize.width())
                              .arg(MinimumSize.height())
                              .arg(MaximumSize.width())
                              .arg(MaximumSize.height())
                              .arg(parser.value(sizeOption)));

    sizeGiven = parser.isSet(sizeOption);
    dataDir = parser.value(data);
    baseCode = parser.value(base);
    settingsPath = parser.value(settings);
    live = !parser.isSet(noLive);
    screenshot = parser.value(screenshotOption);
    uncheck = parser.values(uncheckOption);
    printLegendState = parser.isSet(printLegend);
    stateFile = parser.value(stateFileOption);
    return true;
}

bool CommandLine::usageError(const QString& message)
{
    m_exitCode = UsageError;
    m_error = QStringLiteral("plot2d-demo: %1\n%2\n").arg(message, usageLine());
    return false;
}

bool CommandLine::parseSize(const QString& text)
{
    const QStringList parts = text.split(QLatin1Char('x'));
    if (parts.size() != 2)
        return false;
    bool okWidth = false;
    bool okHeight = false;
    const QSize parsed(parts.at(0).toInt(&okWidth), parts.at(1).toInt(&okHeight));
    if (!okWidth || !okHeight || parsed.width() < MinimumSize.width() ||
        parsed.height() < MinimumSize.height() || parsed.width() > MaximumSize.width() ||
        parsed.height() > MaximumSize.height())
        return false;
    size = parsed;
    return true;
}
