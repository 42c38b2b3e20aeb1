// Runs the real plot2d-demo executable headless and inspects what it produced.
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

Run runDemo(const QStringList& arguments)
{
    Run run;
#ifdef PLOT2D_DEMO_EXECUTABLE
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(PLOT2D_DEMO_EXECUTABLE), arguments);
    if (!process.waitForFinished(60000))
        return run;
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
#else
    Q_UNUSED(arguments)
#endif
    return run;
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
    void screenshotShowsQuoteCurvesAndLegend();
    void brokenDataEndsWithPositionedMessage();
    void legendStateSurvivesRestart();

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

void TestDemo::screenshotShowsQuoteCurvesAndLegend()
{
    const QString file = m_dir.filePath(QStringLiteral("desk.png"));
    const Run run =
        runDemo({QStringLiteral("--screenshot"), file, QStringLiteral("--size"), QStringLiteral("1200x700"),
                 QStringLiteral("--settings"), m_dir.filePath(QStringLiteral("desk.ini"))});
    QCOMPARE(run.exitCode, 0);
    QImage image(file);
    QCOMPARE(image.size(), QSize(1200, 700));
    image = image.convertToFormat(QImage::Format_RGB32);

    // The grid's major lines stand on 55 and 95, the ends of the sample strikes; the quote line
    // (74.35) must sit where the price maps between them.
    const QList<int> grid = verticalLines(image, QColor(QStringLiteral("#b2beb5")), 300);
    QVERIFY2(grid.size() >= 2, "no grid lines found");
    const QList<int> red = verticalLines(image, QColor(Qt::red), 300);
    QVERIFY2(!red.isEmpty(), "no quote line found");
    const double expected = grid.first() + (74.35 - 55.0) / (95.0 - 55.0) * (grid.last() - grid.first());
    QVERIFY2(qAbs(red.first() - expected) <= 3.0,
             qPrintable(QStringLiteral("quote line at %1, expected %2").arg(red.first()).arg(expected)));

    // Every value curve leaves pixels of its own colour on the canvas.
    const QRect canvas(grid.first(), 0, grid.last() - grid.first(), image.height());
    for (const char* color : {"#1f4e9c", "#1b7f3b", "#d9822b", "#7b3f9e"})
        QVERIFY2(countPixels(image, QColor(QLatin1String(color)), 30, canvas) > 100, color);

    // The legend beside the canvas carries dark title text.
    const QRect legend(grid.last() + 10, 0, image.width() - grid.last() - 11, image.height() / 2);
    QVERIFY(countPixels(image, QColor(Qt::black), 60, legend) > 200);
}

void TestDemo::brokenDataEndsWithPositionedMessage()
{
    QFile boards(TestSupport::sampleDataDir() + QStringLiteral("/boards.csv"));
    QVERIFY(boards.open(QIODevice::ReadOnly));
    TestSupport::writeFile(m_dir.path(), QStringLiteral("boards.csv"), boards.readAll());
    TestSupport::writeFile(m_dir.path(), QStringLiteral("securities.csv"),
                           "sec_id:2,isin_id:1,stock_id:1\n1,1001,1\n2,1002\n");

    const Run run = runDemo({QStringLiteral("--data"), m_dir.path(), QStringLiteral("--screenshot"),
                             m_dir.filePath(QStringLiteral("never.png"))});
    QVERIFY(run.exitCode > 0);
    // file:line:column, then the reason.
    QVERIFY2(run.err.contains(QRegularExpression(QStringLiteral("securities\\.csv:3:[1-9][0-9]*: \\S"))),
             qPrintable(run.err));
    QVERIFY(!QFile::exists(m_dir.filePath(QStringLiteral("never.png"))));

    // A bad cell is pinned to its own column.
    TestSupport::writeFile(m_dir.path(), QStringLiteral("securities.csv"),
                           "sec_id:2,isin_id:1,stock_id:1\n1,1001,abc\n");
    const Run badCell = runDemo({QStringLiteral("--data"), m_dir.path(), QStringLiteral("--no-live")});
    QVERIFY(badCell.exitCode > 0);
    QVERIFY2(badCell.err.contains(QStringLiteral("securities.csv:2:3:")), qPrintable(badCell.err));

    const Run missing = runDemo({QStringLiteral("--data"), m_dir.filePath(QStringLiteral("nowhere"))});
    QVERIFY(missing.exitCode > 0);
    QVERIFY2(missing.err.contains(QStringLiteral("boards.csv")), qPrintable(missing.err));
}

void TestDemo::legendStateSurvivesRestart()
{
    const QString settings = m_dir.filePath(QStringLiteral("desk.ini"));
    const Run first =
        runDemo({QStringLiteral("--settings"), settings, QStringLiteral("--uncheck"), QStringLiteral("Delta"),
                 QStringLiteral("--screenshot"), m_dir.filePath(QStringLiteral("first.png"))});
    QCOMPARE(first.exitCode, 0);

    const Run second =
        runDemo({QStringLiteral("--settings"), settings, QStringLiteral("--print-legend-state")});
    QCOMPARE(second.exitCode, 0);
    QCOMPARE(second.out.trimmed(), QStringLiteral("unchecked: Delta"));
}

PLOT2D_TEST_MAIN(TestDemo)
#include "tst_demo.moc"
