// plot2d-demo: an options desk on one futures contract, built on the library's public API.
#include "deskplot.h"
#include "deskwindow.h"

#include <plot2d/platform.h>
#include <plot2d/pricebased2dplotlegend.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QStandardPaths>
#include <QTextStream>

#include <cstdio>
#include <cstdlib>

namespace {

QTextStream& err()
{
    static QTextStream stream(stderr);
    return stream;
}

bool wantsScreenshot(int argc, char* argv[])
{
    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "--screenshot") == 0 || qstrcmp(argv[i], "--print-legend-state") == 0)
            return true;
    }
    return false;
}

QString defaultDataDir()
{
    const QStringList candidates = {
        QCoreApplication::applicationDirPath() + QStringLiteral("/data"),
        QCoreApplication::applicationDirPath() + QStringLiteral("/../share/plot2d/data"),
        QStringLiteral(PLOT2D_DEMO_SOURCE_DATA_DIR),
    };
    for (const QString& dir : candidates) {
        if (QFileInfo::exists(dir + QStringLiteral("/securities.csv")))
            return QDir::cleanPath(dir);
    }
    return QDir::cleanPath(candidates.last());
}

QString defaultSettingsPath()
{
    const QString dir = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    QDir().mkpath(dir);
    return dir + QStringLiteral("/desk.ini");
}

// Loads boards.csv and securities.csv of `dir`; the loader's message names file, line and column.
bool loadMarketData(const QString& dir, QString* error)
{
    DataStore* store = ICore::instance()->dataStore();
    const QDir data(dir);
    return store->loadCsv(QStringLiteral("boards"), data.filePath(QStringLiteral("boards.csv")), error) &&
           store->loadCsv(QStringLiteral("securities"), data.filePath(QStringLiteral("securities.csv")),
                          error);
}

bool parseSize(const QString& text, QSize* size)
{
    const QStringList parts = text.split(QLatin1Char('x'));
    bool okWidth = false;
    bool okHeight = false;
    if (parts.size() == 2)
        *size = QSize(parts.at(0).toInt(&okWidth), parts.at(1).toInt(&okHeight));
    return okWidth && okHeight && size->width() > 0 && size->height() > 0;
}

// Lays the window out and paints it twice: the axis labels are computed at the first paint.
QImage render(DeskWindow& window)
{
    window.show();
    QCoreApplication::processEvents();
    window.grab();
    window.plot()->updateScaleLabels();
    QCoreApplication::processEvents();
    return window.grab().toImage();
}

} // namespace

int main(int argc, char* argv[])
{
    // Headless runs need no display.
    if (wantsScreenshot(argc, argv) && qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("plot2d-demo"));
    QApplication::setOrganizationName(QStringLiteral("plot2d"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("An options desk built on plot2d."));
    parser.addHelpOption();
    const QCommandLineOption dataOption(QStringLiteral("data"),
                                        QStringLiteral("Load securities.csv and boards.csv from DIR."),
                                        QStringLiteral("DIR"));
    const QCommandLineOption baseOption(QStringLiteral("base-code"),
                                        QStringLiteral("Base code of the futures (default BR)."),
                                        QStringLiteral("CODE"), QStringLiteral("BR"));
    const QCommandLineOption settingsOption(QStringLiteral("settings"),
                                            QStringLiteral("Legend state INI file."), QStringLiteral("FILE"));
    const QCommandLineOption seedOption(QStringLiteral("seed"),
                                        QStringLiteral("Seed of the live quote's random walk."),
                                        QStringLiteral("N"), QStringLiteral("1"));
    const QCommandLineOption noLiveOption(QStringLiteral("no-live"), QStringLiteral("Keep the quote still."));
    const QCommandLineOption screenshotOption(QStringLiteral("screenshot"),
                                              QStringLiteral("Render the window to FILE.png and exit."),
                                              QStringLiteral("FILE"));
    const QCommandLineOption sizeOption(QStringLiteral("size"),
                                        QStringLiteral("Window size for --screenshot."),
                                        QStringLiteral("WxH"), QStringLiteral("1200x700"));
    const QCommandLineOption uncheckOption(QStringLiteral("uncheck"),
                                           QStringLiteral("Untick the legend row TITLE after the start."),
                                           QStringLiteral("TITLE"));
    const QCommandLineOption printLegendOption(
        QStringLiteral("print-legend-state"),
        QStringLiteral("Print the unticked legend rows after the start and exit."));
    parser.addOptions({dataOption, baseOption, settingsOption, seedOption, noLiveOption, screenshotOption,
                       sizeOption, uncheckOption, printLegendOption});
    parser.process(app);

    QSize size;
    if (!parseSize(parser.value(sizeOption), &size)) {
        err() << "plot2d-demo: --size takes WIDTHxHEIGHT, e.g. 1200x700\n";
        return 2;
    }

    const QString dataDir = parser.isSet(dataOption) ? parser.value(dataOption) : defaultDataDir();
    QString error;
    if (!loadMarketData(dataDir, &error)) {
        err() << "plot2d-demo: cannot load market data: " << error << '\n';
        return 1;
    }

    DeskWindow::Options options;
    options.baseCode = parser.value(baseOption);
    options.settingsPath =
        parser.isSet(settingsOption) ? parser.value(settingsOption) : defaultSettingsPath();
    options.seed = parser.value(seedOption).toUInt();
    options.live =
        !parser.isSet(noLiveOption) && !parser.isSet(screenshotOption) && !parser.isSet(printLegendOption);
    options.uncheck = parser.values(uncheckOption);

    DeskWindow window(options);
    if (window.plot()->getFuture().isNull()) {
        err() << "plot2d-demo: no futures contract with base code " << options.baseCode << " in " << dataDir
              << '\n';
        return 1;
    }
    window.resize(size);

    if (parser.isSet(printLegendOption)) {
        QTextStream out(stdout);
        out << "unchecked: " << window.legend()->uncheckedItems().join(QStringLiteral(", ")) << '\n';
        return 0;
    }
    if (parser.isSet(screenshotOption)) {
        const QString file = parser.value(screenshotOption);
        const QImage image = render(window);
        window.storeSettings();
        if (!image.save(file, "PNG")) {
            err() << "plot2d-demo: cannot write " << file << '\n';
            return 1;
        }
        return 0;
    }

    window.show();
    return app.exec();
}
