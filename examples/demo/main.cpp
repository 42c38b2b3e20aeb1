// plot2d-demo: an options desk on one futures contract, built on the library's public API.
#include "commandline.h"
#include "deskplot.h"
#include "deskwindow.h"
#include "marketcheck.h"

#include <plot2d/platform.h>

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTextStream>

namespace {

QTextStream& err()
{
    static QTextStream stream(stderr);
    return stream;
}

void setIdentity()
{
    QCoreApplication::setApplicationName(QStringLiteral("plot2d-demo"));
    QCoreApplication::setOrganizationName(QStringLiteral("plot2d"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PLOT2D_DEMO_VERSION));
}

// Parsing runs before any GUI exists, so --help works without a display.
bool parseArguments(int argc, char* argv[], CommandLine* commandLine)
{
    QCoreApplication core(argc, argv);
    setIdentity();
    if (commandLine->parse(QCoreApplication::arguments()))
        return true;
    QTextStream(stdout) << commandLine->output();
    err() << commandLine->error();
    err().flush();
    return false;
}

// Why the GUI could not start here, or empty: Qt's platform plugin aborts without a display.
QString displayProblem()
{
    if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return QString();
    const QString display = qEnvironmentVariable("DISPLAY");
    if (display.isEmpty())
        return QStringLiteral("DISPLAY is not set");
    // A local display is a socket; a remote one is left to the plugin.
    const QRegularExpressionMatch local =
        QRegularExpression(QStringLiteral("^(?:unix)?:(\\d+)(?:\\.\\d+)?$")).match(display);
    if (local.hasMatch() && !QFileInfo::exists(QStringLiteral("/tmp/.X11-unix/X") + local.captured(1)))
        return QStringLiteral("no X server on DISPLAY %1").arg(display);
    return QString();
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
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) + QStringLiteral("/desk.ini");
}

// Loads boards.csv and securities.csv of `dir` and checks that the plot can bind the securities.
bool loadMarketData(const QString& dir, QString* error)
{
    DataStore* store = ICore::instance()->dataStore();
    const QDir data(dir);
    const QString securities = data.filePath(QStringLiteral("securities.csv"));
    return store->loadCsv(QStringLiteral("boards"), data.filePath(QStringLiteral("boards.csv")), error) &&
           store->loadCsv(QStringLiteral("securities"), securities, error) &&
           MarketCheck(securities).checkColumns(store->table(QStringLiteral("securities")), error);
}

// Fatal findings end the run; the others are shown over the plots.
bool checkFuture(DeskWindow& window, const QString& securities)
{
    QStringList warnings;
    for (const MarketCheck::Finding& finding : MarketCheck(securities).checkFuture(window.pnlPlot())) {
        if (finding.fatal) {
            err() << "plot2d-demo: bad market data: " << finding.message << '\n';
            return false;
        }
        err() << "plot2d-demo: warning: " << finding.message << '\n';
        warnings.append(finding.message);
    }
    window.setWarnings(warnings);
    return true;
}

int renderScreenshot(DeskWindow& window, const QString& file)
{
    if (!window.render().save(file, "PNG")) {
        err() << "plot2d-demo: cannot write " << file << '\n';
        return CommandLine::Failure;
    }
    return CommandLine::Success;
}

} // namespace

int main(int argc, char* argv[])
{
    CommandLine commandLine;
    if (!parseArguments(argc, argv, &commandLine))
        return commandLine.exitCode();

    const QString problem = displayProblem();
    if (!problem.isEmpty()) {
        if (!commandLine.headless()) {
            err() << "plot2d-demo: no display (" << problem
                  << "); render the desk with --screenshot FILE.png\n";
            return CommandLine::Failure;
        }
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }

    QApplication app(argc, argv);
    setIdentity();

    const QString dataDir = commandLine.dataDir.isEmpty() ? defaultDataDir() : commandLine.dataDir;
    QString error;
    if (!loadMarketData(dataDir, &error)) {
        err() << "plot2d-demo: cannot load market data: " << error << '\n';
        return CommandLine::Failure;
    }

    DeskWindow::Options options;
    options.baseCode = commandLine.baseCode;
    options.settingsPath =
        commandLine.settingsPath.isEmpty() ? defaultSettingsPath() : commandLine.settingsPath;
    options.writeSettings = !commandLine.headless();
    options.seed = commandLine.seed;
    options.live = commandLine.live && !commandLine.headless();
    options.stateFile = commandLine.stateFile;
    options.size = commandLine.size;

    DeskWindow window(options);
    if (window.pnlPlot()->getFuture().isNull()) {
        err() << "plot2d-demo: no futures contract with base code " << options.baseCode << " in " << dataDir
              << '\n';
        return CommandLine::Failure;
    }
    if (!checkFuture(window, QDir(dataDir).filePath(QStringLiteral("securities.csv"))))
        return CommandLine::Failure;
    const QStringList unknown = window.uncheck(commandLine.uncheck);
    if (!unknown.isEmpty()) {
        err() << "plot2d-demo: --uncheck: no legend row '" << unknown.first() << "'\n"
              << CommandLine::usageLine() << '\n';
        return CommandLine::UsageError;
    }
    if (commandLine.sizeGiven || commandLine.headless())
        window.resize(commandLine.size);

    if (commandLine.printLegendState) {
        QTextStream(stdout) << "unchecked: " << window.uncheckedItems().join(QStringLiteral(", ")) << '\n';
        return CommandLine::Success;
    }
    if (!commandLine.screenshot.isEmpty())
        return renderScreenshot(window, commandLine.screenshot);

    window.show();
    return app.exec();
}
