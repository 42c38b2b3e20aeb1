// The plot's fast paths must be invisible: the same Y extents and the same pixels as the plain code.
#include "testsupport.h"

#include <plot2d/pricebased2dplotcurve.h>

#include <qwt_plot_curve.h>
#include <qwt_plot_renderer.h>

#include <QImage>
#include <QPainter>
#include <QRandomGenerator>

#include <cmath>
#include <functional>
#include <limits>

namespace {

// Ascending x with duplicates; now and then a NaN or an infinity, or one sample out of order.
QVector<QPointF> randomSamples(QRandomGenerator& random, int count)
{
    QVector<QPointF> samples;
    double x = 100.0;
    for (int i = 0; i < count; ++i) {
        x += random.bounded(3) == 0 ? 0.0 : random.bounded(1.0);
        samples.append(QPointF(x, std::sin(x / 7.0) * 50.0 + random.bounded(10.0)));
    }
    switch (random.bounded(6)) {
    case 0:
        samples[random.bounded(count)].setY(std::numeric_limits<double>::quiet_NaN());
        break;
    case 1:
        samples[random.bounded(count)].setX(std::numeric_limits<double>::infinity());
        break;
    case 2:
        std::swap(samples[random.bounded(count)], samples[random.bounded(count)]);
        break;
    default:
        break;
    }
    return samples;
}

PriceBased2dPlotCurve* addCurve(PriceBased2dPlot* plot, int type, const QVector<QPointF>& samples)
{
    auto* curve = new PriceBased2dPlotCurve(plot, QStringLiteral("curve %1").arg(type));
    curve->setDataType(type);
    curve->setPen(QPen(Qt::black, 1.0));
    curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
    curve->setSamples(samples);
    curve->attach(plot);
    return curve;
}

// At the widget's resolution the renderer does not scale the painter, as on screen.
QImage renderedAtWidgetDpi(QwtPlot& plot)
{
    QImage image(plot.size(), QImage::Format_RGB32);
    image.fill(Qt::white);
    image.setDotsPerMeterX(qRound(plot.logicalDpiX() / 0.0254));
    image.setDotsPerMeterY(qRound(plot.logicalDpiY() / 0.0254));
    QwtPlotRenderer().renderTo(&plot, image);
    return image;
}

} // namespace

class TestFastPaths : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void yExtentMatchesLinearScan();
    void curvePaintsStockPixels_data();
    void curvePaintsStockPixels();
    void repaintsFollowEveryChange();
};

void TestFastPaths::initTestCase()
{
    QString error;
    QVERIFY2(TestSupport::loadSampleData(&error), qPrintable(error));
}

void TestFastPaths::cleanupTestCase()
{
    TestSupport::clearData();
}

void TestFastPaths::yExtentMatchesLinearScan()
{
    QRandomGenerator random(7);
    for (int round = 0; round < 60; ++round) {
        TestPlot plot;
        const int curves = 1 + random.bounded(3);
        QVector<QPointF> first;
        for (int c = 0; c < curves; ++c) {
            const QVector<QPointF> samples = randomSamples(random, 50 + random.bounded(400));
            addCurve(&plot, 9 + c, samples);
            first = c == 0 ? samples : first;
        }
        for (int window = 0; window < 10; ++window) {
            double lower = 90.0 + random.bounded(200.0);
            double upper = lower + 0.5 + random.bounded(100.0);
            // Ends on a sample, or a hair beyond one, test the scan's fuzzy window test.
            if (window % 3 == 0) {
                lower = first.at(random.bounded(first.size() / 2)).x();
                upper = first.at(first.size() / 2 + random.bounded(first.size() / 2)).x() * (1.0 + 1e-13);
            }
            plot.setAxisScale(QwtPlot::xBottom, lower, upper);
            plot.updateAxes();
            const std::pair<double, double> fast = plot.minMaxYAtXRange();
            const std::pair<double, double> linear = plot.minMaxYAtXRangeLinear();
            QCOMPARE(fast.first, linear.first);
            QCOMPARE(fast.second, linear.second);
        }
        // Changed samples must not leave a stale index behind.
        plot.attachedCurves(9).first()->setSamples(randomSamples(random, 100));
        QCOMPARE(plot.minMaxYAtXRange(), plot.minMaxYAtXRangeLinear());
    }
}

void TestFastPaths::curvePaintsStockPixels_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<double>("lower");
    QTest::addColumn<double>("upper");
    QTest::newRow("dense, whole range") << 100000 << 100.0 << 200.0;
    QTest::newRow("dense, one percent") << 100000 << 150.0 << 151.0;
    QTest::newRow("sparse, beyond the ends") << 300 << 80.0 << 150.0;
}

void TestFastPaths::curvePaintsStockPixels()
{
    QFETCH(int, count);
    QFETCH(double, lower);
    QFETCH(double, upper);

    QVector<QPointF> samples;
    for (int i = 0; i < count; ++i) {
        const double x = 100.0 + 100.0 * i / (count - 1);
        samples.append(QPointF(x, std::sin(x) * 20.0 + (x > 160.0 ? (x - 160.0) * 3.0 : 0.0)));
    }

    auto render = [&](QwtPlotCurve* curve) {
        TestPlot plot;
        plot.setAutoReplot(false);
        curve->setPen(QPen(Qt::black, 1.0));
        curve->setSamples(samples);
        curve->attach(&plot);
        plot.setAxisScale(QwtPlot::xBottom, lower, upper);
        plot.setAxisScale(QwtPlot::yLeft, -30.0, 150.0);
        plot.resize(800, 500);
        return renderedAtWidgetDpi(plot);
    };

    auto* fast = new PriceBased2dPlotCurve(nullptr, QStringLiteral("fast"));
    fast->setDataType(9);
    const QImage ours = render(fast);
    const QImage stock = render(new QwtPlotCurve(QStringLiteral("stock")));
    QCOMPARE(ours, stock);
}

// The painted geometry is reused while nothing it depends on changes: every change must show.
void TestFastPaths::repaintsFollowEveryChange()
{
    auto samplesFor = [](double phase) {
        QVector<QPointF> samples;
        for (int i = 0; i < 20000; ++i) {
            const double x = 100.0 + i / 200.0;
            samples.append(QPointF(x, std::sin(x + phase) * 20.0));
        }
        return samples;
    };
    struct Side
    {
        explicit Side(QwtPlotCurve* c) : curve(c) {}
        TestPlot plot;
        QwtPlotCurve* curve;
    };
    Side ours(new PriceBased2dPlotCurve(nullptr, QStringLiteral("fast")));
    static_cast<PriceBased2dPlotCurve*>(ours.curve)->setDataType(9);
    Side stock(new QwtPlotCurve(QStringLiteral("stock")));
    for (Side* side : {&ours, &stock}) {
        side->plot.setAutoReplot(false);
        side->plot.resize(800, 500);
        side->curve->setPen(QPen(Qt::black, 1.0));
        side->curve->setSamples(samplesFor(0.0));
        side->curve->attach(&side->plot);
        side->plot.setAxisScale(QwtPlot::yLeft, -30.0, 30.0);
        side->plot.setAxisScale(QwtPlot::xBottom, 100.0, 200.0);
    }
    auto render = [](Side& side) { return renderedAtWidgetDpi(side.plot); };
    const std::function<void(Side&)> changes[] = {
        [](Side&) {}, // the same view twice
        [&](Side& side) { side.curve->setSamples(samplesFor(1.0)); },
        [](Side& side) { side.plot.setAxisScale(QwtPlot::xBottom, 120.0, 130.0); },
        [](Side& side) { side.plot.setAxisScale(QwtPlot::yLeft, -5.0, 25.0); },
        [](Side& side) { side.plot.setAxisScale(QwtPlot::yLeft, 0.0, 5.0); }, // rows far above the canvas
        [](Side& side) { side.plot.resize(640, 480); },
        [](Side& side) { side.curve->setPaintAttribute(QwtPlotCurve::FilterPoints, false); },
        [](Side& side) { side.curve->setPaintAttribute(QwtPlotCurve::ClipPolygons, false); },
    };
    const QImage first = render(ours);
    QCOMPARE(first, render(stock));
    for (const std::function<void(Side&)>& change : changes) {
        change(ours);
        change(stock);
        QCOMPARE(render(ours), render(stock));
    }
    QVERIFY(render(ours) != first);
}

PLOT2D_TEST_MAIN(TestFastPaths)
#include "tst_fastpaths.moc"
