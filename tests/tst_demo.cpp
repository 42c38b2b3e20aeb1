// Runs the real plot2d-demo executable and inspects what it printed, wrote and rendered.
#include "testsupport.h"

#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace {

struct Run
{
    int exitCode = -1;
    QString out;
    QString err;
};

// `display`: "offscreen" for Qt's offscreen platform, empty for none, else a DISPLAY value.
QProcessEnvironment demoEnvironment(const QString& display)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    if (display == QLatin1String("offscreen"))
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), display);
    else if (!display.isEmpty())
        env.insert(QStringLiteral("DISPLAY"), display);
    return env;
}

void startDemo(QProcess& process, const QStringList& arguments,
               const QString& display = QStringLiteral("offscreen"))
{
#ifdef PLOT2D_DEMO_EXECUTABLE
    process.setProcessEnvironment(demoEnvironment(display));
    process.start(QStringLiteral(PLOT2D_DEMO_EXECUTABLE), arguments);
#else
    Q_UNUSED(process)
    Q_UNUSED(arguments)
    Q_UNUSED(display)
#endif
}

Run runDemo(const QStringList& arguments, const QString& display = QStringLiteral("offscreen"))
{
    Run run;
    QProcess process;
    startDemo(process, arguments, display);
    if (!process.waitForFinished(60000))
        return run;
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The sample securities with one cell of the futures row BR-1.27 (sec_id 1001) changed, or
// with a whole column dropped when `value` is null.
QByteArray sampleSecurities(const QByteArray& column, const QByteArray& value)
{
    QList<QByteArray> lines =
        readFile(TestSupport::sampleDataDir() + QStringLiteral("/securities.csv")).split('\n');
    int index = -1;
    const QList<QByteArray> header = lines.first().split(',');
    for (int i = 0; i < header.size(); ++i) {
        if (header.at(i).startsWith(column + ':'))
            index = i;
    }
    for (QByteArray& line : lines) {
        QList<QByteArray> cells = line.split(',');
        if (index < 0 || cells.size() <= index)
            continue;
        if (value.isNull())
            cells.removeAt(index);
        else if (line.startsWith("1001,"))
            cells[index] = value;
        line = cells.join(',');
    }
    return lines.join('\n');
}

bool near(QRgb pixel, const QColor& color, int tolerance)
{
    return qAbs(qRed(pixel) - color.red()) <= tolerance && qAbs(qGreen(pixel) - color.green()) <= tolerance &&
           qAbs(qBlue(pixel) - color.blue()) <= tolerance;
}

int countPixels(const QImage& image, const QColor& color, int tolerance, const QRect& area)
{
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            count += near(image.pixel(x, y), color, tolerance) ? 1 : 0;
    }
    return count;
}

// Columns holding a vertical run of at least `minRun` pixels of `color`.
QList<int> verticalLines(const QImage& image, const QColor& color, int minRun)
{
    QList<int> columns;
    for (int x = 0; x < image.width(); ++x) {
        int run = 0;
        int best = 0;
        for (int y = 0; y < image.height(); ++y) {
            run = near(image.pixel(x, y), color, 8) ? run + 1 : 0;
            best = qMax(best, run);
        }
        if (best >= minRun)
            columns.append(x);
    }
    return columns;
}

} // namespace

class TestDemo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void screenshotShowsBothPanelsOnOnePriceAxis();
    void badInputEndsWithMessageAndExitCode_data();
    void badInputEndsWithMessageAndExitCode();
    void brokenDataEndsWithPositionedMessage();
    void legendChangeSurvivesKill();
    void unwritableSettingsWarnAndDeskRuns();
    void headlessRunsNeverWriteSettings();

private:
    QTemporaryDir m_dir;
};

void TestDemo::init()
{
#ifndef PLOT2D_DEMO_EXECUTABLE
    QSKIP("the demo is not built (PLOT2D_BUILD_EXAMPLES=OFF)");
#endif
    QVERIFY(m_dir.isValid());
}

void TestDemo::screenshotShowsBothPanelsOnOnePriceAxis()
{
    const QString file = m_dir.filePath(QStringLiteral("desk.png"));
    const Run run =
        runDemo({QStringLiteral("--screenshot"), file, QStringLiteral("--size"), QStringLiteral("1200x700"),
                 QStringLiteral("--settings"), m_dir.filePath(QStringLiteral("desk.ini"))});
    QCOMPARE(run.exitCode, 0);
    QImage image(file);
    QCOMPARE(image.size(), QSize(1200, 700));
    image = image.convertToFormat(QImage::Format_RGB32);

    // The grid's major lines stand on 55 and 95, the ends of the sample strikes, in both panels
    // at the same columns; the quote line (74.35) must sit where the price maps between them.
    const QList<int> grid = verticalLines(image, QColor(QStringLiteral("#b2beb5")), 150);
    QVERIFY2(grid.size() >= 2, "no grid lines found");
    const QList<int> red = verticalLines(image, QColor(Qt::red), 150);
    QCOMPARE(red.size(), 1); // one column: the two quote lines line up
    const double expected = grid.first() + (74.35 - 55.0) / (95.0 - 55.0) * (grid.last() - grid.first());
    QVERIFY2(qAbs(red.first() - expected) <= 3.0,
             qPrintable(QStringLiteral("quote line at %1, expected %2").arg(red.first()).arg(expected)));

    // Every value curve leaves pixels of its own colour: P&L above, greeks below.
    const QRect canvas(grid.first(), 0, grid.last() - grid.first(), image.height());
    const QRect upper = canvas.adjusted(0, 0, 0, -image.height() / 2);
    const QRect lower = canvas.adjusted(0, image.height() / 2, 0, 0);
    for (const char* color : {"#1f4e9c", "#1b7f3b", "#d9822b"})
        QVERIFY2(countPixels(image, QColor(QLatin1String(color)), 30, upper) > 100, color);
    for (const char* color : {"#7b3f9e", "#a0522d", "#16808c", "#6b6b6b"})
        QVERIFY2(countPixels(image, QColor(QLatin1String(color)), 30, lower) > 50, color);
}

void TestDemo::badInputEndsWithMessageAndExitCode_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("securities"); // replaces the sample file when not empty
    QTest::addColumn<QString>("display");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message"); // a regular expression over stdout and stderr

    const QString offscreen = QStringLiteral("offscreen");
    const QString usage = QStringLiteral("\nUsage: plot2d-demo ");
    const QStringList shot{QStringLiteral("--screenshot"), m_dir.filePath(QStringLiteral("out.png"))};
    QTest::newRow("missing bound column") << shot << sampleSecurities("bid", QByteArray()) << offscreen << 1
                                          << QStringLiteral("securities\\.csv:1: missing column \"bid\"");
    QTest::newRow("help without display") << QStringList{QStringLiteral("--help")} << QByteArray()
                                          << QString() << 0 << QStringLiteral("--screenshot <FILE>");
    QTest::newRow("version without display")
        << QStringList{QStringLiteral("--version")} << QByteArray() << QString() << 0
        << QStringLiteral("^plot2d-demo \\d+\\.\\d+\\.\\d+\n$");
    QTest::newRow("no display") << QStringList() << QByteArray() << QString() << 1
                                << QStringLiteral("^plot2d-demo: no display .*--screenshot FILE\\.png\n$");
    QTest::newRow("display without X server")
        << QStringList() << QByteArray() << QStringLiteral(":4242") << 1
        << QStringLiteral(
               "^plot2d-demo: no display \\(no X server on DISPLAY :4242\\).*--screenshot FILE\\.png\n$");
    QTest::newRow("huge size") << shot +
                                      QStringList{QStringLiteral("--size"), QStringLiteral("100000x100000")}
                               << QByteArray() << offscreen << 2
                               << QStringLiteral("3840x2160, got '100000x100000'") + usage;
    QTest::newRow("tiny size") << shot + QStringList{QStringLiteral("--size"), QStringLiteral("10x10")}
                               << QByteArray() << offscreen << 2
                               << QStringLiteral("--size takes WIDTHxHEIGHT .* got '10x10'") + usage;
    QTest::newRow("bad seed") << QStringList{QStringLiteral("--seed"), QStringLiteral("abc")} << QByteArray()
                              << offscreen << 2 << QStringLiteral("--seed .* got 'abc'") + usage;
    QTest::newRow("unknown curve") << shot + QStringList{QStringLiteral("--uncheck"),
                                                         QStringLiteral("NoSuchCurve")}
                                   << QByteArray() << offscreen << 2
                                   << QStringLiteral("no legend row 'NoSuchCurve'") + usage;
    QTest::newRow("stray argument") << QStringList{QStringLiteral("desk.ini")} << QByteArray() << offscreen
                                    << 2 << QStringLiteral("unexpected argument 'desk.ini'") + usage;
    QTest::newRow("unknown option") << QStringList{QStringLiteral("--colour")} << QByteArray() << offscreen
                                    << 2 << QStringLiteral("Unknown option 'colour'\\.") + usage;
    // The futures row is line 3; price_step is column 9, cur_kotir 18, volat_min 20.
    QTest::newRow("zero price step") << shot << sampleSecurities("price_step", "0") << offscreen << 1
                                     << QStringLiteral("securities\\.csv:3:9: price_step must be positive");
    QTest::newRow("negative price step")
        << shot << sampleSecurities("price_step", "-0.01") << offscreen << 1
        << QStringLiteral("securities\\.csv:3:9: price_step must be positive");
    QTest::newRow("negative volatility")
        << shot << sampleSecurities("volat_min", "-0.2") << offscreen << 1
        << QStringLiteral("securities\\.csv:3:20: volat_min must be positive");
    QTest::newRow("volatility bounds swapped")
        << shot << sampleSecurities("volat_min", "0.5") << offscreen << 1
        << QStringLiteral("securities\\.csv:3:20: volat_min 0.5 is above volat_max 0.45");
    QTest::newRow("quote far outside strikes")
        << shot << sampleSecurities("cur_kotir", "500") << offscreen << 1
        << QStringLiteral("securities\\.csv:3:18: quote 500.00 lies far outside the strikes 55.00 to 95.00");
    const QByteArray sample = readFile(TestSupport::sampleDataDir() + QStringLiteral("/securities.csv"));
    QTest::newRow("duplicate key") << shot << sample + sample.split('\n').at(1) + '\n'
                                   << offscreen << 1
                                   << QStringLiteral(
                                          "securities\\.csv:%1:1: the key \"1000\" is already on line 2")
                                          .arg(sample.count('\n') + 1);
    // One line under 300 characters, however long the cell.
    QTest::newRow("2 MB cell") << shot << sampleSecurities("price_step", QByteArray(2 << 20, 'x'))
                               << offscreen << 1
                               << QStringLiteral(
                                      "^(?=[^\n]{1,300}\n$).*securities\\.csv:3:9: .*not a valid decimal");
    QTest::newRow("quote just outside strikes: a warning")
        << shot << sampleSecurities("cur_kotir", "97.5") << offscreen << 0
        << QStringLiteral("warning: .*securities\\.csv:3:18: quote 97.50 lies outside the strikes");
    QTest::newRow("no volatility: a warning")
        << shot << sampleSecurities("volat_max", "") << offscreen << 0
        << QStringLiteral("warning: .*securities\\.csv:3:21: no volatility bounds");
}

void TestDemo::badInputEndsWithMessageAndExitCode()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, securities);
    QFETCH(QString, display);
    QFETCH(int, exitCode);
    QFETCH(QString, message);

    arguments << QStringLiteral("--settings") << m_dir.filePath(QStringLiteral("desk.ini"));
    if (!securities.isEmpty()) {
        TestSupport::writeFile(m_dir.path(), QStringLiteral("boards.csv"),
                               readFile(TestSupport::sampleDataDir() + QStringLiteral("/boards.csv")));
        TestSupport::writeFile(m_dir.path(), QStringLiteral("securities.csv"), securities);
        arguments << QStringLiteral("--data") << m_dir.path();
    }
    Run run = runDemo(arguments, display);
    const QString printed =
        run.out + run.err.remove(QRegularExpression(QStringLiteral("QStandardPaths: [^\n]*\n")));
    QCOMPARE(run.exitCode, exitCode);
    QVERIFY2(printed.contains(QRegularExpression(message)), qPrintable(printed));
    QCOMPARE(QFile::exists(m_dir.filePath(QStringLiteral("out.png"))),
             exitCode == 0 && arguments.contains(QStringLiteral("--screenshot")));
}

void TestDemo::brokenDataEndsWithPositionedMessage()
{
    TestSupport::writeFile(m_dir.path(), QStringLiteral("boards.csv"),
                           readFile(TestSupport::sampleDataDir() + QStringLiteral("/boards.csv")));
    TestSupport::writeFile(m_dir.path(), QStringLiteral("securities.csv"),
                           "sec_id:2,isin_id:1,stock_id:1\n1,1001,abc\n");
    const Run badCell = runDemo({QStringLiteral("--data"), m_dir.path(), QStringLiteral("--no-live")});
    QCOMPARE(badCell.exitCode, 1);
    QVERIFY2(badCell.err.contains(QStringLiteral("cannot load market data: ")) &&
                 badCell.err.contains(QStringLiteral("securities.csv:2:3:")),
             qPrintable(badCell.err));

    const Run missing = runDemo({QStringLiteral("--data"), m_dir.filePath(QStringLiteral("nowhere"))});
    QCOMPARE(missing.exitCode, 1);
    QVERIFY2(missing.err.contains(QStringLiteral("boards.csv")), qPrintable(missing.err));
}

void TestDemo::legendChangeSurvivesKill()
{
    // The running desk saves a legend change at once, so a kill right after it loses nothing.
    const QString settings = m_dir.filePath(QStringLiteral("desk.ini"));
    QProcess desk;
    const QString stateFile = m_dir.filePath(QStringLiteral("state.json"));
    startDemo(desk, {QStringLiteral("--settings"), settings, QStringLiteral("--uncheck"),
                     QStringLiteral("Gamma"), QStringLiteral("--uncheck"), QStringLiteral("Half time"),
                     QStringLiteral("--state-file"), stateFile});
    QVERIFY(desk.waitForStarted());
    // The first state dump comes from the event loop, after both rows were unticked.
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(stateFile), 30000);
    desk.kill();
    desk.waitForFinished();

    const Run restarted =
        runDemo({QStringLiteral("--settings"), settings, QStringLiteral("--print-legend-state")});
    QCOMPARE(restarted.exitCode, 0);
    QCOMPARE(restarted.out.trimmed(), QStringLiteral("unchecked: Half time, Gamma"));
}

void TestDemo::unwritableSettingsWarnAndDeskRuns()
{
    // A regular file where the settings' directory should be: not even root can write there.
    TestSupport::writeFile(m_dir.path(), QStringLiteral("file"), "x");
    const QString settings = m_dir.filePath(QStringLiteral("file/desk.ini"));
    QProcess desk;
    startDemo(desk,
              {QStringLiteral("--settings"), settings, QStringLiteral("--uncheck"), QStringLiteral("Delta")});
    QVERIFY(desk.waitForStarted());
    QByteArray err;
    QTRY_VERIFY_WITH_TIMEOUT((err += desk.readAllStandardError()).contains("cannot write settings"), 30000);
    QCOMPARE(err.count("cannot write settings"), 1);
    QVERIFY(err.contains(settings.toUtf8()));
    QCOMPARE(desk.state(), QProcess::Running);
    desk.terminate();
    QVERIFY(desk.waitForFinished());
}

void TestDemo::headlessRunsNeverWriteSettings()
{
    const QString settings = m_dir.filePath(QStringLiteral("desk.ini"));
    const QByteArray saved = "[view]\ngrid=true\n";
    TestSupport::writeFile(m_dir.path(), QStringLiteral("desk.ini"), saved);
    const QStringList unticked{QStringLiteral("--settings"), settings, QStringLiteral("--uncheck"),
                               QStringLiteral("Delta")};
    QCOMPARE(runDemo(unticked +
                     QStringList{QStringLiteral("--screenshot"), m_dir.filePath(QStringLiteral("a.png"))})
                 .exitCode,
             0);
    QCOMPARE(runDemo(unticked + QStringList{QStringLiteral("--print-legend-state")}).out.trimmed(),
             QStringLiteral("unchecked: Delta"));
    QCOMPARE(readFile(settings), saved);

    const QString absent = m_dir.filePath(QStringLiteral("absent.ini"));
    QCOMPARE(runDemo({QStringLiteral("--settings"), absent, QStringLiteral("--print-legend-state")}).exitCode,
             0);
    QVERIFY(!QFile::exists(absent));
}

PLOT2D_TEST_MAIN(TestDemo)
#include "tst_demo.moc"
