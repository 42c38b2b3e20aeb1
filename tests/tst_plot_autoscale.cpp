#include "plotfixture.h"

#include <QSignalSpy>

#include <cmath>
#include <limits>

using PlotFixture::validCurve;

namespace {

const double Nan = std::numeric_limits<double>::quiet_NaN();
const double Inf = std::numeric_limits<double>::infinity();
const double DoubleMax = std::numeric_limits<double>::max();

QwtInterval axisRange(const QwtPlot& plot, int axis)
{
    return plot.axisScaleDiv(axis).interval();
}

} // namespace

class TestPlotAutoScale : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    // A plot over a futures contract with a price step of 0.25, X 10.1..19.9 and Y 0..10.
    std::unique_ptr<TestPlot> makePlot()
    {
        const QByteArray rows = PlotFixture::row({{"sec_id", "1"}, {"isin_id", "1001"}, {"price_step", "0.25"}});
        if (!PlotFixture::load(m_dir, rows))
            return nullptr;
        std::unique_ptr<TestPlot> plot(new TestPlot);
        plot->setBaseCode(QStringLiteral("BR"));
        PlotFixture::attachPicker(plot.get());
        plot->setAxisScaleDiv(QwtPlot::xBottom, QwtScaleDiv(10.1, 19.9));
        plot->setAxisScaleDiv(QwtPlot::yLeft, QwtScaleDiv(0.0, 10.0));
        return plot;
    }

private Q_SLOTS:
    void cleanup() { TestSupport::clearData(); }

    void roundingToThePriceStep_data()
    {
        QTest::addColumn<double>("x");
        QTest::addColumn<double>("rounded");
        QTest::newRow("down") << 10.1 << 10.0;
        QTest::newRow("up") << 19.9 << 20.0;
        QTest::newRow("half goes up") << 10.125 << 10.25;
        QTest::newRow("negative half goes up") << -10.125 << -10.0;
    }

    void roundingToThePriceStep()
    {
        QFETCH(double, x);
        QFETCH(double, rounded);
        auto plot = makePlot();
        QVERIFY(plot);
        QCOMPARE(plot->roundedXValue(x), rounded);
    }

    void guardedAxisSetter_data()
    {
        QTest::addColumn<int>("axis");
        QTest::addColumn<double>("min");
        QTest::addColumn<double>("max");
        QTest::addColumn<double>("xLow");
        QTest::addColumn<double>("xHigh");
        QTest::addColumn<double>("yLow");
        QTest::addColumn<double>("yHigh");

        const int x = QwtPlot::xBottom;
        const int y = QwtPlot::yLeft;
        QTest::newRow("x") << x << 12.0 << 18.0 << 12.0 << 18.0 << 0.0 << 10.0;
        QTest::newRow("y") << y << -3.0 << 3.0 << 10.1 << 19.9 << -3.0 << 3.0;
        QTest::newRow("y right ignored") << int(QwtPlot::yRight) << -3.0 << 3.0 << 10.1 << 19.9 << 0.0 << 10.0;
        QTest::newRow("x top ignored") << int(QwtPlot::xTop) << 12.0 << 18.0 << 10.1 << 19.9 << 0.0 << 10.0;
        QTest::newRow("nan") << y << Nan << 3.0 << 10.1 << 19.9 << 0.0 << 10.0;
        QTest::newRow("infinite") << x << 12.0 << Inf << 10.1 << 19.9 << 0.0 << 10.0;
        QTest::newRow("inverted") << y << 3.0 << -3.0 << 10.1 << 19.9 << 0.0 << 10.0;
        QTest::newRow("flat x refused") << x << 5.0 << 5.0 << 10.1 << 19.9 << 0.0 << 10.0;
        QTest::newRow("flat y widened") << y << 5.0 << 5.0 << 10.1 << 19.9 << 4.0 << 6.0;
        QTest::newRow("narrow y refused") << y << 1.0 << 1.000000001 << 10.1 << 19.9 << 0.0 << 10.0;
    }

    void guardedAxisSetter()
    {
        QFETCH(int, axis);
        QFETCH(double, min);
        QFETCH(double, max);
        QFETCH(double, xLow);
        QFETCH(double, xHigh);
        QFETCH(double, yLow);
        QFETCH(double, yHigh);
        auto plot = makePlot();
        QVERIFY(plot);
        auto* line = validCurve(plot.get(), QStringLiteral("q"), 0, {{15.0, 3.0}, {15.0, 4.0}});
        line->attach(plot.get());

        plot->setAxisScale(axis, min, max, 0.0);
        plot->updateAxes();
        QCOMPARE(axisRange(*plot, QwtPlot::xBottom).minValue(), xLow);
        QCOMPARE(axisRange(*plot, QwtPlot::xBottom).maxValue(), xHigh);
        QCOMPARE(axisRange(*plot, QwtPlot::yLeft).minValue(), yLow);
        QCOMPARE(axisRange(*plot, QwtPlot::yLeft).maxValue(), yHigh);
        // A usable Y request stretches the quote line first, even when it is then refused.
        const bool yRequest = axis == QwtPlot::yLeft && std::isfinite(min) && min <= max;
        QCOMPARE(line->sample(0).y() < 3.0, yRequest);
    }

    void extentOfVisibleCurves()
    {
        auto plot = makePlot();
        QVERIFY(plot);
        QCOMPARE(plot->minMaxYAtXRange(), std::make_pair(0.0, 0.0));

        auto* hidden = validCurve(plot.get(), QStringLiteral("h"), 9, {{12, 50}});
        hidden->attach(plot.get());
        hidden->QwtPlotCurve::setVisible(false);
        auto* invalid = validCurve(plot.get(), QString(), 9, {{12, 60}});
        invalid->attach(plot.get());
        QCOMPARE(plot->minMaxYAtXRange(), std::make_pair(0.0, 0.0));

        // Visible 10.1..19.9 is taken over 10..20; ends count within fuzzy distance.
        auto* curve = validCurve(plot.get(), QStringLiteral("c"), 9,
                                 {{9.75, -100}, {9.999999999995, -6}, {15, 0}, {20.000000000005, 8}, {20.25, 100}});
        curve->attach(plot.get());
        QCOMPARE(plot->minMaxYAtXRange(), std::make_pair(-6.0, 8.0));

        plot->updateYAxisScale();
        QCOMPARE(axisRange(*plot, QwtPlot::yLeft).minValue(), -6.0);
        QCOMPARE(axisRange(*plot, QwtPlot::yLeft).maxValue(), 8.0);

        // Narrower than one step: both ends round to 10.
        plot->setAxisScaleDiv(QwtPlot::xBottom, QwtScaleDiv(10.05, 10.1));
        QCOMPARE(plot->minMaxYAtXRange(), std::make_pair(1.0, -1.0));
    }

    void extentEdgeCases()
    {
        auto plot = makePlot();
        QVERIFY(plot);
        auto* outside = validCurve(plot.get(), QStringLiteral("o"), 9, {{30, 1}, {40, 2}});
        outside->attach(plot.get());
        QCOMPARE(plot->minMaxYAtXRange(), std::make_pair(DoubleMax, -DoubleMax));
        plot->updateYAxisScale();
        QCOMPARE(axisRange(*plot, QwtPlot::yLeft).minValue(), 0.0);
        QCOMPARE(axisRange(*plot, QwtPlot::yLeft).maxValue(), 10.0);

        // A bad sample anywhere the scan reaches stops the whole autoscale.
        auto* bad = validCurve(plot.get(), QStringLiteral("b"), 9, {{5, Nan}, {15, 1}});
        bad->attach(plot.get());
        QCOMPARE(plot->minMaxYAtXRange(), std::make_pair(1.0, -1.0));
        plot->updateYAxisScale();
        QCOMPARE(axisRange(*plot, QwtPlot::yLeft).maxValue(), 10.0);

        plot->setAxisScaleDiv(QwtPlot::xBottom, QwtScaleDiv());
        QCOMPARE(plot->minMaxYAtXRange(), std::make_pair(1.0, -1.0));
    }

    void noCurvesGiveTheUnitRange()
    {
        auto plot = makePlot();
        QVERIFY(plot);
        plot->updateYAxisScale();
        QCOMPARE(axisRange(*plot, QwtPlot::yLeft).minValue(), -1.0);
        QCOMPARE(axisRange(*plot, QwtPlot::yLeft).maxValue(), 1.0);
    }

    void autoScaleOffOnlyStretchesTheLine()
    {
        auto plot = makePlot();
        QVERIFY(plot);
        validCurve(plot.get(), QStringLiteral("c"), 9, {{12, 50}, {14, 60}})->attach(plot.get());
        auto* line = validCurve(plot.get(), QStringLiteral("q"), 0, {{15.0, 3.0}, {15.0, 4.0}});
        line->attach(plot.get());
        plot->setAutoScaleEnabled(false);
        plot->updateYAxisScale();
        QCOMPARE(axisRange(*plot, QwtPlot::yLeft).maxValue(), 10.0);
        QCOMPARE(line->sample(0), QPointF(15.0, -1.0));
        QCOMPARE(line->sample(1), QPointF(15.0, 11.0));
    }

    void resetAutoScaleOnlyAsks()
    {
        auto plot = makePlot();
        QVERIFY(plot);
        QSignalSpy spy(plot.get(), qOverload<bool>(&PriceBased2dPlot::autoScaleEnabled));
        plot->resetAutoScale();
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0).at(0).toBool(), false);
        QVERIFY(plot->autoScaleEnabled());

        plot->setAutoScaleEnabled(false);
        QCOMPARE(spy.count(), 1);
        plot->resetAutoScale();
        QCOMPARE(spy.count(), 1);
    }
};

PLOT2D_TEST_MAIN(TestPlotAutoScale)
#include "tst_plot_autoscale.moc"
