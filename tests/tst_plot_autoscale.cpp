#include "testsupport.h"

#include <cmath>
#include <limits>

using TestSupport::validCurve;

namespace {

const double Nan = std::numeric_limits<double>::quiet_NaN();
const double DoubleMax = std::numeric_limits<double>::max();

std::pair<double, double> axisRange(const QwtPlot& plot, int axis)
{
    return {plot.axisScaleDiv(axis).lowerBound(), plot.axisScaleDiv(axis).upperBound()};
}

} // namespace

// Has the legend's signal but is not a legend.
class FakeLegend : public QObject
{
    Q_OBJECT
Q_SIGNALS:
    void visibilityChanged(const QString& labelText, bool visible);
};

class TestPlotAutoScale : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<TestPlot> m_plot;

private Q_SLOTS:
    // A futures contract with a price step of 0.25; X 10.1..19.9 and Y 0..10.
    void init()
    {
        QVERIFY(TestSupport::load(
            m_dir, TestSupport::row({{"sec_id", "1"}, {"isin_id", "1"}, {"price_step", "0.25"}})));
        m_plot.reset(new TestPlot);
        m_plot->setBaseCode(QStringLiteral("BR"));
        TestSupport::attachPicker(m_plot.get());
        m_plot->setAxisScaleDiv(QwtPlot::xBottom, QwtScaleDiv(10.1, 19.9));
        m_plot->setAxisScaleDiv(QwtPlot::yLeft, QwtScaleDiv(0.0, 10.0));
    }
    void cleanup()
    {
        m_plot.reset();
        TestSupport::clearData();
    }

    void axisRequestsAreGuarded_data()
    {
        TestSupport::columns<int, double, double, double, double, double, double, double>(
            {"axis", "min", "max", "step", "xMax", "yMin", "lineLow", "lineHigh"});
        const int x = QwtPlot::xBottom;
        const int y = QwtPlot::yLeft;
        // The quote line starts at 3..4; a Y request stretches it over the request and the axis plus
        // 10 %, first, even when the request is then refused.
        QTest::newRow("x") << x << 12.0 << 18.0 << 0.0 << 18.0 << 0.0 << 3.0 << 4.0;
        QTest::newRow("y") << y << -3.0 << 3.0 << 0.0 << 19.9 << -3.0 << -4.3 << 11.3;
        QTest::newRow("y right") << int(QwtPlot::yRight) << -3.0 << 3.0 << 0.0 << 19.9 << 0.0 << 3.0 << 4.0;
        QTest::newRow("nan") << y << Nan << 3.0 << 0.0 << 19.9 << 0.0 << 3.0 << 4.0;
        QTest::newRow("flat x refused") << x << 5.0 << 5.0 << 0.0 << 19.9 << 0.0 << 3.0 << 4.0;
        QTest::newRow("flat y widened") << y << 5.0 << 5.0 << 0.0 << 19.9 << 4.0 << -1.0 << 11.0;
        QTest::newRow("narrow y refused") << y << 1.0 << 1.000000001 << 0.0 << 19.9 << 0.0 << -1.0 << 11.0;
        QTest::newRow("nan step refused") << y << -3.0 << 3.0 << Nan << 19.9 << 0.0 << -4.3 << 11.3;
    }

    void axisRequestsAreGuarded()
    {
        const auto [axis, min, max, step, xMax, yMin, lineLow, lineHigh] =
            TestSupport::fetch<int, double, double, double, double, double, double, double>(
                {"axis", "min", "max", "step", "xMax", "yMin", "lineLow", "lineHigh"});
        auto* line = validCurve(m_plot.get(), QStringLiteral("q"), 0, {{15.0, 3.0}, {15.0, 4.0}});
        m_plot->setAxisScale(axis, min, max, step);
        m_plot->updateAxes();
        QCOMPARE(axisRange(*m_plot, QwtPlot::xBottom).second, xMax);
        QCOMPARE(axisRange(*m_plot, QwtPlot::yLeft).first, yMin);
        QCOMPARE(line->sample(0), QPointF(15.0, lineLow));
        QCOMPARE(line->sample(1), QPointF(15.0, lineHigh));
    }

    void quoteLineSpansTheYRange()
    {
        m_plot->setAxisScaleDiv(QwtPlot::yLeft, QwtScaleDiv(2.0, 2.0));
        auto* line = validCurve(m_plot.get(), QStringLiteral("q"), 0, {{95, 3}, {95, 4}});
        auto* second = validCurve(m_plot.get(), QStringLiteral("q2"), 0, {{1, 1}, {1, 2}});
        m_plot->updateCurKotirPoints(2, 2, 100); // flat: widened by one, then 10 %
        QCOMPARE(line->sample(0), QPointF(100, 0.8));
        QCOMPARE(line->sample(1), QPointF(100, 3.2));
        QCOMPARE(second->sample(0), QPointF(1, 1)); // only the first line moves
        m_plot->updateCurKotirPoints(0, 10, -1);    // kept where it stands, stretched
        QCOMPARE(line->sample(0), QPointF(100, -1));
        QCOMPARE(line->sample(1), QPointF(100, 11));

        line->setSamples(QVector<QPointF>{{95, 3}, {96, 4}}); // slanted: left alone
        m_plot->updateCurKotirPoints(0, 10, -1);
        QCOMPARE(line->sample(1), QPointF(96, 4));
        m_plot->updateCurKotirPoints(-1e308, 1e308, 95); // clamped to half the largest double
        QCOMPARE(line->sample(0).y(), -8.988465674311579e307);
        QCOMPARE(line->sample(1).y(), 8.988465674311579e307);
    }

    void yExtentOfValidVisibleCurvesOverTheSnappedView()
    {
        QCOMPARE(m_plot->minMaxYAtXRange(), std::make_pair(0.0, 0.0));
        m_plot->updateYAxisScale(); // no curves: the unit range
        QCOMPARE(axisRange(*m_plot, QwtPlot::yLeft), std::make_pair(-1.0, 1.0));

        validCurve(m_plot.get(), QStringLiteral("h"), 9, {{12, 50}})->QwtPlotCurve::setVisible(false);
        QCOMPARE(m_plot->curvesRectangle(), QRectF(0, 0, 0, 0));
        validCurve(m_plot.get(), QString(), 9, {{12, 60}}); // invalid: no title
        QCOMPARE(m_plot->minMaxYAtXRange(), std::make_pair(0.0, 0.0));

        // 10.1..19.9 is taken over 10..20 (step 0.25); the ends count within fuzzy distance.
        validCurve(m_plot.get(), QStringLiteral("c"), 9,
                   {{9.75, -100}, {9.999999999995, -6}, {15, 0}, {20.000000000005, 8}, {20.25, 100}});
        QCOMPARE(m_plot->minMaxYAtXRange(), std::make_pair(-6.0, 8.0));
        m_plot->updateYAxisScale();
        QCOMPARE(axisRange(*m_plot, QwtPlot::yLeft), std::make_pair(-6.0, 8.0));
        QCOMPARE(m_plot->curvesRectangle(), QRectF(9.75, -100, 10.5, 200));

        m_plot->setAxisScaleDiv(QwtPlot::xBottom, QwtScaleDiv(10.05, 10.1)); // both ends round to 10
        QCOMPARE(m_plot->minMaxYAtXRange(), std::make_pair(1.0, -1.0));
    }

    // Curves beside the view, or a bad sample anywhere the scan reaches (even left of the view),
    // give no usable extent: the axis stays.
    void unusableExtentKeepsTheAxis()
    {
        validCurve(m_plot.get(), QStringLiteral("o"), 9, {{30, 1}, {40, 2}});
        QCOMPARE(m_plot->minMaxYAtXRange(), std::make_pair(DoubleMax, -DoubleMax));
        m_plot->updateYAxisScale();
        QCOMPARE(axisRange(*m_plot, QwtPlot::yLeft), std::make_pair(0.0, 10.0));

        validCurve(m_plot.get(), QStringLiteral("b"), 9, {{5, Nan}, {15, 1}});
        QCOMPARE(m_plot->minMaxYAtXRange(), std::make_pair(1.0, -1.0));
        m_plot->updateYAxisScale();
        QCOMPARE(axisRange(*m_plot, QwtPlot::yLeft), std::make_pair(0.0, 10.0));
    }

    void onlyTheLegendsSignalHidesCurves()
    {
        auto* a = validCurve(m_plot.get(), QStringLiteral("a"), 9, {{12, 1}, {14, 3}});
        auto* twin = validCurve(m_plot.get(), QStringLiteral("a"), 9, {{12, 5}, {14, 6}});

        m_plot->setCurveVisible(QStringLiteral("a"), false);
        FakeLegend fake;
        connect(&fake, &FakeLegend::visibilityChanged, m_plot.get(), &PriceBased2dPlot::setCurveVisible);
        Q_EMIT fake.visibilityChanged(QStringLiteral("a"), false);
        QVERIFY(a->isVisible());

        Q_EMIT TestSupport::attachLegend(m_plot.get())->visibilityChanged(QStringLiteral("a"), false);
        QVERIFY(!a->isVisible());
        QVERIFY(twin->isVisible());
        QCOMPARE(axisRange(*m_plot, QwtPlot::yLeft), std::make_pair(5.0, 6.0)); // rescaled to what is left
    }
};

PLOT2D_TEST_MAIN(TestPlotAutoScale)
#include "tst_plot_autoscale.moc"
