#include "testsupport.h"

#include <plot2d/pricebased2dplotscaledraw.h>
#include <plot2d/pricebased2dplotscaleengine.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

const double Inf = std::numeric_limits<double>::infinity();
const double NaN = std::numeric_limits<double>::quiet_NaN();

} // namespace

// Inputs the fuzzers found, replayed through the public API so that they stay fixed.
class TestRegressionFuzz : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(TestSupport::loadSampleData()); }
    void cleanupTestCase() { TestSupport::clearData(); }

    // Requests Qwt cannot divide keep the previous range: a non-finite step (Qwt's tick builder
    // grew a list without end), a range a few denormals wide (not fuzzy flat, but left the axis
    // empty) and a flat Y range where widening by one unit changes nothing.
    void undividableRequestKeepsTheRange_data()
    {
        TestSupport::columns<int, double, double, double, QwtInterval>(
            {"axis", "min", "max", "step", "expected"});
        const int x = QwtPlot::xBottom, y = QwtPlot::yLeft;
        const QwtInterval kept(10.0, 20.0);
        for (int axis : {x, y}) {
            for (double step : {Inf, -Inf, NaN})
                QTest::addRow("axis %d step %g", axis, step) << axis << 0.0 << 1.0 << step << kept;
        }
        QTest::newRow("denormal x range") << x << 8.1333e-320 << 8.1363e-320 << 0.0 << kept;
        const double dmax = std::numeric_limits<double>::max();
        QTest::newRow("flat y at double max") << y << dmax << dmax << 0.0 << kept;
        QTest::newRow("flat y at 1e17") << y << 1e17 << 1e17 << 0.0 << kept;
        QTest::newRow("flat y at -1e300") << y << -1e300 << -1e300 << 0.0 << kept;
        QTest::newRow("flat y at 1e15 widened")
            << y << 1e15 << 1e15 << 0.0 << QwtInterval(1e15 - 1.0, 1e15 + 1.0);
    }
    void undividableRequestKeepsTheRange()
    {
        const auto [axis, min, max, step, expected] =
            TestSupport::fetch<int, double, double, double, QwtInterval>(
                {"axis", "min", "max", "step", "expected"});
        TestPlot plot;
        plot.resize(480, 320);
        plot.setAxisScale(axis, 10.0, 20.0);
        plot.replot();
        plot.setAxisScale(axis, min, max, step);
        plot.replot();
        QCOMPARE(plot.axisInterval(axis), expected);
    }

    // The price axis engine called directly with a NaN step or bound: Qwt's minor tick loop ran on
    // until memory ran out. Nothing can be divided, so the division is empty.
    void engineRefusesNonFiniteDivision()
    {
        TestPlot plot;
        PriceBased2dPlotScaleEngine* engine = plot.scaleEngine();
        for (double bad : {NaN, Inf, -Inf}) {
            QVERIFY(engine->divideScale(1e-284, 5e-305, 5, 5, bad).isEmpty());
            QVERIFY(engine->divideScale(bad, 10.0, 5, 5).isEmpty());
            QVERIFY(engine->divideScale(0.0, bad, 5, 5).isEmpty());
        }
        QCOMPARE(engine->divideScale(0.0, 10.0, 5, 5).interval(), QwtInterval(0.0, 10.0));
    }

    // A price step a millionth of the range gave 10000 major ticks, and merging the medium ticks
    // compared every pair (a paint took over 20 s under the sanitizers). The merge must still drop
    // exactly the medium ticks that are fuzzy equal to a major one, at any magnitude.
    void manyTicksMergeAsPairwise()
    {
        QList<double> lists[QwtScaleDiv::NTickTypes];
        QList<double>& majors = lists[QwtScaleDiv::MajorTick];
        QList<double>& mediums = lists[QwtScaleDiv::MediumTick];
        for (int i = 0; i < 10000; ++i) {
            const double major = (i - 5000) * 1e-3 * (i % 3 == 0 ? 1e-300 : 1.0);
            majors << major;
            mediums << major * (1.0 + 1e-13) << major + 5e-4; // fuzzy equal to its major, between two
        }
        mediums << NaN;
        QList<double> expected = majors;
        for (double medium : mediums) {
            if (std::none_of(majors.cbegin(), majors.cend(),
                             [medium](double major) { return commonFuzzyCompare(medium, major); }))
                expected << medium;
        }
        std::stable_sort(expected.begin(), expected.end());
        PriceBased2dPlotScaleDraw draw(QwtPlot::xBottom);
        const QList<double> ticks = draw.getTicks(QwtScaleDiv(-10.0, 10.0, lists));
        QCOMPARE(ticks.size(), expected.size());
        for (int i = 0; i < ticks.size(); ++i)
            QVERIFY2(ticks[i] == expected[i] || (std::isnan(ticks[i]) && std::isnan(expected[i])),
                     qPrintable(QString::number(i)));
    }

    // A quote from a broken feed, far outside the price axis but below the magnitude at which
    // labels give up: its label rectangle lies beyond int pixel range and must not overflow when
    // the labels are thinned (caught by UBSan in the sanitizer build).
    void quoteFarOutsideTheAxis_data()
    {
        TestSupport::columns<double, bool>({"quote", "enabled"});
        QTest::newRow("1e15 hidden") << 1e15 << false;
        QTest::newRow("1e15 shown") << 1e15 << true;
        QTest::newRow("-1e15 hidden") << -1e15 << false;
        QTest::newRow("just below 1e16") << 9.999999999999998e15 << true;
        QTest::newRow("1e16") << 1e16 << true;
    }
    void quoteFarOutsideTheAxis()
    {
        const auto [quote, enabled] = TestSupport::fetch<double, bool>({"quote", "enabled"});
        TestPlot plot;
        plot.setIsinId(1001);
        plot.resize(480, 320);
        plot.setAxisScale(QwtPlot::xBottom, 55.0, 95.0);
        plot.setCurKotirValue(quote);
        plot.setCurKotirEnabled(enabled);
        plot.replot();
        plot.updateAxisWidgets();
        plot.grab();
        QCOMPARE(plot.axisInterval(QwtPlot::xBottom), QwtInterval(55.0, 95.0));
        QVERIFY(!plot.xScaleDraw()->labels().isEmpty());
    }
};

PLOT2D_TEST_MAIN(TestRegressionFuzz)
#include "tst_regression_fuzz.moc"
