#include "testsupport.h"

#include <plot2d/datastore.h>
#include <plot2d/icore.h>

#include <plot2d/pricebased2dplotscaledraw.h>
#include <plot2d/pricebased2dplotscaleengine.h>

#include <qwt_scale_div.h>

#include <QScopedPointer>
#include <QTemporaryDir>

namespace {

// The shipped sample table, with the "strike" column declared as `strikeType`.
bool loadSamplesWithStrike(const QTemporaryDir& dir, const QByteArray& strikeType)
{
    DataStore* store = ICore::instance()->dataStore();
    for (const QString& name : {QStringLiteral("boards"), QStringLiteral("securities")}) {
        QFile sample(TestSupport::sampleDataDir() + QLatin1Char('/') + name + QStringLiteral(".csv"));
        if (!sample.open(QIODevice::ReadOnly))
            return false;
        const QByteArray content = sample.readAll().replace("strike:4:5", strikeType);
        if (!store->loadCsv(name, TestSupport::writeFile(dir.path(), name + QStringLiteral(".csv"), content)))
            return false;
    }
    return true;
}

} // namespace

class TestScaleEngine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void readsStrikeDecimals();
    void shiftsTicksOntoRescaleFactor();
    void leavesDivisionAlone_data();
    void leavesDivisionAlone();
    void strikeWithoutDecimalsDisablesAlignment();
    void leftAxisRefusesThinningNarrowing();
};

void TestScaleEngine::init()
{
    QString error;
    QVERIFY2(TestSupport::loadSampleData(&error), qPrintable(error));
}

void TestScaleEngine::cleanup()
{
    TestSupport::clearData();
}

void TestScaleEngine::readsStrikeDecimals()
{
    TestPlot plot(false);
    PriceBased2dPlotScaleEngine engine(&plot, QwtPlot::xBottom);
    QCOMPARE(engine.strikeDecimals(), 5);
    QVERIFY(engine.rescaleFactor().isZero());

    PriceBased2dPlotScaleEngine detached(nullptr, QwtPlot::xBottom);
    QCOMPARE(detached.strikeDecimals(), -1);
}

void TestScaleEngine::shiftsTicksOntoRescaleFactor()
{
    TestPlot plot(false);
    PriceBased2dPlotScaleEngine engine(&plot, QwtPlot::xBottom);
    const QwtLinearScaleEngine linear;
    const QwtScaleDiv plain = linear.divideScale(55, 125, 10, 4, 20);
    QCOMPARE(plain.ticks(QwtScaleDiv::MajorTick), (QList<double>{60, 80, 100, 120}));

    // The nearest major (100) moves onto 95; every level moves by 5 and stays strictly inside.
    engine.setRescaleFactor(decimal(9500000, 5));
    const QwtScaleDiv div = engine.divideScale(55, 125, 10, 4, 20);
    QCOMPARE(div.ticks(QwtScaleDiv::MajorTick), (QList<double>{75, 95, 115}));
    QCOMPARE(div.interval(), plain.interval());
    for (int type : {QwtScaleDiv::MinorTick, QwtScaleDiv::MediumTick}) {
        QList<double> expected;
        for (double tick : plain.ticks(type)) {
            if (55 < tick - 5 && tick - 5 < 125)
                expected << tick - 5;
        }
        QVERIFY(!expected.isEmpty());
        QCOMPARE(div.ticks(type), expected);
    }

    // A factor on x1 is accepted, and the tick that would land on x1 is dropped.
    engine.setRescaleFactor(decimal(55, 0));
    const QwtScaleDiv onBound = engine.divideScale(55, 125, 10, 4, 20);
    QCOMPARE(onBound.ticks(QwtScaleDiv::MajorTick), (QList<double>{75, 95, 115}));
    for (int type = QwtScaleDiv::MinorTick; type <= QwtScaleDiv::MajorTick; ++type) {
        for (double tick : onBound.ticks(type))
            QVERIFY(tick > 55 && tick < 125);
    }

    // Majors on both ends of the range: after a shift neither end keeps a tick.
    engine.setRescaleFactor(decimal(1, 0));
    const QwtScaleDiv ends = engine.divideScale(0, 4, 10, 2, 2);
    QCOMPARE(ends.ticks(QwtScaleDiv::MajorTick), (QList<double>{1, 3}));
}

void TestScaleEngine::leavesDivisionAlone_data()
{
    QTest::addColumn<qlonglong>("mantissa");
    QTest::addColumn<int>("decimals");
    QTest::newRow("zero factor") << 0LL << 2;
    QTest::newRow("on a major") << 10000LL << 2;
    QTest::newRow("within the last place of a major") << 99999999LL << 6;
    QTest::newRow("below x1") << 5400LL << 2;
    QTest::newRow("above x2") << 12501LL << 2;
}

void TestScaleEngine::leavesDivisionAlone()
{
    QFETCH(qlonglong, mantissa);
    QFETCH(int, decimals);
    TestPlot plot(false);
    PriceBased2dPlotScaleEngine engine(&plot, QwtPlot::xBottom);
    engine.setRescaleFactor(decimal(mantissa, static_cast<short>(decimals)));
    const QwtLinearScaleEngine linear;
    QVERIFY(engine.divideScale(55, 125, 10, 4, 20) == linear.divideScale(55, 125, 10, 4, 20));
}

void TestScaleEngine::strikeWithoutDecimalsDisablesAlignment()
{
    TestSupport::clearData();
    QTemporaryDir dir;
    QVERIFY(loadSamplesWithStrike(dir, "strike:4:0"));

    TestPlot plot(false);
    PriceBased2dPlotScaleEngine engine(&plot, QwtPlot::xBottom);
    QCOMPARE(engine.strikeDecimals(), 0);
    engine.setRescaleFactor(decimal(95, 0));
    const QwtLinearScaleEngine linear;
    QVERIFY(engine.divideScale(55, 125, 10, 4, 20) == linear.divideScale(55, 125, 10, 4, 20));
}

void TestScaleEngine::leftAxisRefusesThinningNarrowing()
{
    TestPlot plot;
    plot.setAutoScaleEnabled(false);
    PriceBased2dPlotScaleEngine engine(&plot, QwtPlot::yLeft);
    PriceBased2dPlotScaleDraw draw(QwtPlot::yLeft);
    draw.setPrecision(0); // labels between 100 and 101 all read "100"
    engine.setScaleDraw(&draw);

    QCOMPARE(engine.divideScale(0, 100, 8, 5).interval(), QwtInterval(0, 100));
    // Narrower and thinning: the last range is handed back, and stays the stored one.
    QCOMPARE(engine.divideScale(100.1, 100.4, 8, 5).interval(), QwtInterval(0, 100));
    QCOMPARE(engine.divideScale(100.1, 100.4, 8, 5).interval(), QwtInterval(0, 100));
    // Narrower but still distinct labels: accepted.
    QCOMPARE(engine.divideScale(10, 60, 8, 5).interval(), QwtInterval(10, 60));
    // Wider: accepted and stored, so the next thinning narrowing falls back to it.
    QCOMPARE(engine.divideScale(0, 200, 8, 5).interval(), QwtInterval(0, 200));
    QCOMPARE(engine.divideScale(100.1, 100.4, 8, 5).interval(), QwtInterval(0, 200));

    // Autoscale on, another axis, or no linked draw: never stabilised.
    plot.setAutoScaleEnabled(true);
    QCOMPARE(engine.divideScale(100.1, 100.4, 8, 5).interval(), QwtInterval(100.1, 100.4));
    plot.setAutoScaleEnabled(false);
    PriceBased2dPlotScaleEngine bottom(&plot, QwtPlot::xBottom);
    bottom.setScaleDraw(&draw);
    bottom.divideScale(0, 100, 8, 5);
    QCOMPARE(bottom.divideScale(100.1, 100.4, 8, 5).interval(), QwtInterval(100.1, 100.4));
    engine.setScaleDraw(nullptr);
    QCOMPARE(engine.divideScale(100.1, 100.4, 8, 5).interval(), QwtInterval(100.1, 100.4));
}

PLOT2D_TEST_MAIN(TestScaleEngine)

#include "tst_scaleengine.moc"
