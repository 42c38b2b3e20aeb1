// Runs the real plot2d-demo executable and inspects what it printed, wrote and rendered.
#include "screenpixels.h"
#include "testsupport.h"

#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace {

const QString Offscreen = QStringLiteral("offscreen");

// Words of a command line without blanks inside them.
QStringList words(const char* line)
{
    return QString::fromUtf8(line).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

// A file of the sample data, or any file by its absolute path.
QByteArray sampleFile(const QString& name)
{
    QFile file(QDir(TestSupport::sampleDataDir()).filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The sample securities with one cell of the futures row BR-1.27 (sec_id 1001) changed, or
// with a whole column dropped when `value` is null.
QByteArray sampleSecurities(const QByteArray& column, const QByteArray& value)
{
    QList<QByteArray> lines = sampleFile(QStringLiteral("securities.csv")).split('\n');
    const int index = lines.first().left(lines.first().indexOf(column + ':')).count(',');
    for (QByteArray& line : lines) {
        QList<QByteArray> cells = line.split(',');
        if (value.isNull() && index < cells.size())
            cells.removeAt(index);
        else if (line.startsWith("1001,"))
            cells[index] = value;
        line = cells.join(',');
    }
    return lines.join('\n');
}

} // namespace

class TestDemo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void screenshotShowsBothPanelsOnOnePriceAxis();
    void badInputEndsWithMessageAndExitCode_data();
    void badInputEndsWithMessageAndExitCode();
    void settingsSavedAtOnceByTheWindowOnlyAndFailuresWarned();

private:
    void startDemo(QProcess& process, const QStringList& arguments, const QString& display = Offscreen);
    // The exit code (-1 for a crash or a hang) and stdout and stderr together, without Qt's note on a
    // missing runtime directory.
    std::pair<int, QString> runDemo(const QStringList& arguments, const QString& display = Offscreen);

    QTemporaryDir m_dir;
};

// In the test's directory. `display`: "offscreen" for Qt's offscreen platform, empty for none, else a
// DISPLAY value.
void TestDemo::startDemo(QProcess& process, const QStringList& arguments, const QString& display)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        env.remove(QLatin1String(name));
    if (!display.isEmpty())
        env.insert(QLatin1String(display == Offscreen ? "QT_QPA_PLATFORM" : "DISPLAY"), display);
    process.setProcessEnvironment(env);
    process.setWorkingDirectory(m_dir.path());
    process.start(QStringLiteral(PLOT2D_DEMO_EXECUTABLE), arguments);
}

std::pair<int, QString> TestDemo::runDemo(const QStringList& arguments, const QString& display)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    startDemo(process, arguments, display);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return {-1, QString()};
    return {process.exitCode(), QString::fromUtf8(process.readAll())
                                    .remove(QRegularExpression(QStringLiteral("QStandardPaths: [^\n]*\n")))};
}

void TestDemo::screenshotShowsBothPanelsOnOnePriceAxis()
{
    QCOMPARE(runDemo(words("--screenshot desk.png --size 1200x700 --settings desk.ini")).first, 0);
    const QImage image(m_dir.filePath(QStringLiteral("desk.png")));
    QCOMPARE(image.size(), QSize(1200, 700));
    const auto columns = [&](const QRect& area, const char* color, int tolerance, int least) {
        return ScreenPixels::columns(image, area, QColor(QLatin1String(color)), tolerance, least);
    };

    // The grid's major lines stand on 55 and 95, the ends of the sample strikes, in both panels
    // at the same columns; the quote line (74.35) must sit where the price maps between them.
    const QList<int> grid = columns(image.rect(), "#b2beb5", 8, 150);
    QVERIFY2(grid.size() >= 2, "no grid lines found");
    const QList<int> red = columns(image.rect(), "#ff0000", 8, 150);
    QCOMPARE(red.size(), 1); // one column: the two quote lines line up
    const double expected = grid.first() + (74.35 - 55.0) / (95.0 - 55.0) * (grid.last() - grid.first());
    QVERIFY2(qAbs(red.first() - expected) <= 3.0,
             qPrintable(QStringLiteral("quote line at %1, expected %2").arg(red.first()).arg(expected)));

    // Every value curve leaves pixels of its own colour across the canvas: P&L above, greeks below.
    const QRect upper(grid.first(), 0, grid.last() - grid.first(), image.height() / 2);
    for (const char* color : {"#1f4e9c", "#1b7f3b", "#d9822b"})
        QVERIFY2(columns(upper, color, 30, 1).size() > 100, color);
    for (const char* color : {"#7b3f9e", "#a0522d", "#16808c", "#6b6b6b"})
        QVERIFY2(columns(upper.translated(0, upper.height()), color, 30, 1).size() > 50, color);
}

void TestDemo::badInputEndsWithMessageAndExitCode_data()
{
    // The demo runs in the test's directory; `securities` replaces the sample file there when not
    // empty, and `message` is a regular expression over stdout and stderr.
    TestSupport::columns<QStringList, QByteArray, QString, int, QString>(
        {"arguments", "securities", "display", "exitCode", "message"});
    const auto row = [](const char* name, const char* arguments, const QByteArray& securities, int exitCode,
                        const QByteArray& message, const QString& display = Offscreen) {
        QTest::newRow(name) << words(arguments) << securities << display << exitCode
                            << QString::fromUtf8(message);
    };
    const auto usageError = [&](const char* name, const char* arguments, const char* message) {
        row(name, arguments, QByteArray(), 2, message + QByteArray("\nUsage: plot2d-demo "));
    };
    const char* shot = "--screenshot out.png";
    row("missing bound column", shot, sampleSecurities("bid", QByteArray()), 1,
        "securities\\.csv:1: missing column \"bid\"");
    row("no data directory", "--data nowhere", QByteArray(), 1,
        "cannot load market data: .*nowhere/boards\\.csv");
    row("help without display", "--help", QByteArray(), 0, "--screenshot <FILE>", QString());
    row("version without display", "--version", QByteArray(), 0, "^plot2d-demo \\d+\\.\\d+\\.\\d+\n$",
        QString());
    row("no display", "", QByteArray(), 1, "^plot2d-demo: no display .*--screenshot FILE\\.png\n$",
        QString());
    row("display without X server", "", QByteArray(), 1,
        "^plot2d-demo: no display \\(no X server on DISPLAY :4242\\).*--screenshot FILE\\.png\n$",
        QStringLiteral(":4242"));
    usageError("huge size", "--screenshot out.png --size 100000x100000", "3840x2160, got '100000x100000'");
    usageError("tiny size", "--screenshot out.png --size 10x10", "--size takes WIDTHxHEIGHT .* got '10x10'");
    usageError("bad seed", "--seed abc", "--seed .* got 'abc'");
    usageError("unknown curve", "--screenshot out.png --uncheck NoSuchCurve", "no legend row 'NoSuchCurve'");
    usageError("stray argument", "desk.ini", "unexpected argument 'desk.ini'");
    usageError("unknown option", "--colour", "Unknown option 'colour'\\.");
    // The futures row is line 3; price_step is column 9, cur_kotir 18, volat_min 20.
    for (const char* step : {"0", "-0.01"})
        row(step, shot, sampleSecurities("price_step", step), 1,
            "securities\\.csv:3:9: price_step must be positive");
    row("negative volatility", shot, sampleSecurities("volat_min", "-0.2"), 1,
        "securities\\.csv:3:20: volat_min must be positive");
    row("volatility bounds swapped", shot, sampleSecurities("volat_min", "0.5"), 1,
        "securities\\.csv:3:20: volat_min 0.5 is above volat_max 0.45");
    row("quote far outside strikes", shot, sampleSecurities("cur_kotir", "500"), 1,
        "securities\\.csv:3:18: quote 500.00 lies far outside the strikes 55.00 to 95.00");
    row("quote just outside strikes: a warning", shot, sampleSecurities("cur_kotir", "97.5"), 0,
        "warning: .*securities\\.csv:3:18: quote 97.50 lies outside the strikes");
    row("no volatility: a warning", shot, sampleSecurities("volat_max", ""), 0,
        "warning: .*securities\\.csv:3:21: no volatility bounds");
    // One line under 300 characters, however long the cell.
    row("2 MB cell", shot, sampleSecurities("price_step", QByteArray(2 << 20, 'x')), 1,
        "^(?=[^\n]{1,300}\n$)plot2d-demo: cannot load market data: .*securities\\.csv:3:9: .*not a valid "
        "decimal");
    const QByteArray sample = sampleFile(QStringLiteral("securities.csv"));
    row("duplicate key", shot, sample + sample.split('\n').at(1) + '\n', 1,
        "securities\\.csv:" + QByteArray::number(sample.count('\n') + 1) +
            ":1: the key \"1000\" is already on line 2");
}

void TestDemo::badInputEndsWithMessageAndExitCode()
{
    auto [arguments, securities, display, exitCode, message] =
        TestSupport::fetch<QStringList, QByteArray, QString, int, QString>(
            {"arguments", "securities", "display", "exitCode", "message"});
    arguments << words("--settings desk.ini");
    QFile::remove(m_dir.filePath(QStringLiteral("out.png")));
    if (!securities.isEmpty()) {
        TestSupport::writeFile(m_dir.path(), QStringLiteral("boards.csv"),
                               sampleFile(QStringLiteral("boards.csv")));
        TestSupport::writeFile(m_dir.path(), QStringLiteral("securities.csv"), securities);
        arguments << words("--data .");
    }
    const auto [code, printed] = runDemo(arguments, display);
    QCOMPARE(code, exitCode);
    QVERIFY2(printed.contains(QRegularExpression(message)), qPrintable(printed.left(1000)));
    QCOMPARE(QFile::exists(m_dir.filePath(QStringLiteral("out.png"))),
             exitCode == 0 && arguments.contains(QStringLiteral("--screenshot")));
    QVERIFY(!QFile::exists(m_dir.filePath(QStringLiteral("desk.ini"))));
}

void TestDemo::settingsSavedAtOnceByTheWindowOnlyAndFailuresWarned()
{
    // Headless runs read the settings but never write them, not even after an untick (the table's
    // runs, screenshots among them, never create them).
    const QByteArray saved = "[view]\ngrid=true\n";
    const QString settings = TestSupport::writeFile(m_dir.path(), QStringLiteral("desk.ini"), saved);
    QCOMPARE(runDemo(words("--settings desk.ini --uncheck Delta --print-legend-state")),
             std::pair(0, QStringLiteral("unchecked: Delta\n")));
    QCOMPARE(sampleFile(settings), saved);

    // The window saves a legend change at once, so a kill right after it loses nothing.
    QProcess desk;
    startDemo(desk, words("--settings desk.ini --state-file state.json --uncheck Gamma --uncheck")
                        << QStringLiteral("Half time"));
    // The first state dump comes from the event loop, after both rows were unticked.
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_dir.filePath(QStringLiteral("state.json"))), 30000);
    desk.kill();
    desk.waitForFinished();
    QCOMPARE(runDemo(words("--settings desk.ini --print-legend-state")),
             std::pair(0, QStringLiteral("unchecked: Half time, Gamma\n")));

    // A regular file where the settings' directory should be: not even root can write there.
    TestSupport::writeFile(m_dir.path(), QStringLiteral("file"), "x");
    startDemo(desk, words("--settings file/desk.ini --uncheck Delta"));
    QByteArray err;
    QTRY_VERIFY_WITH_TIMEOUT((err += desk.readAllStandardError()).contains("cannot write settings"), 30000);
    QCOMPARE(err.count("cannot write settings"), 1);
    QVERIFY(err.contains("file/desk.ini"));
    QCOMPARE(desk.state(), QProcess::Running);
    desk.terminate();
    QVERIFY(desk.waitForFinished());
}

PLOT2D_TEST_MAIN(TestDemo)
#include "tst_demo.moc"
