// The curve's fast paths must be invisible: stock Qwt's pixels and the plain scan's Y extent, bit for
// bit, whatever the pen, device, maps, data or changes made to the samples behind the curve's back.
#include "testsupport.h"

#include "plot2dsampling.h"

#include <qwt_plot_curve.h>
#include <qwt_point_data.h>
#include <qwt_scale_map.h>
#include <qwt_series_data.h>

#include <QImage>
#include <QPainter>
#include <QRandomGenerator>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>

namespace {

const double NaN = std::numeric_limits<double>::quiet_NaN();

enum DataKind
{
    Dense,
    Sparse,
    WithNaN,
    Unsorted,
    EqualX,
};

// Ascending x over [100, 200] (steps of zero for EqualX), a noisy wave with a hockey-stick end, so
// that many samples share a pixel column and rows jump within one.
QVector<QPointF> samplesOf(DataKind kind, int count, quint32 seed = 1)
{
    QRandomGenerator random(seed);
    QVector<QPointF> samples;
    for (int i = 0; i < count; ++i) {
        const double x = 100.0 + 100.0 * (kind == EqualX ? i / 3 * 3 : i) / (count - 1);
        const double y =
            std::sin(x * 3.0) * 40.0 + random.bounded(8.0) + (x > 170.0 ? (x - 170.0) * 2.0 : 0.0);
        samples.append(QPointF(x, y));
    }
    if (kind == WithNaN)
        samples[count / 2].setY(NaN);
    if (kind == Unsorted)
        std::swap(samples[count / 3], samples[2 * count / 3]);
    return samples;
}

// The x (or y) coordinates of the samples, for the series kept as two arrays.
QVector<double> column(const QVector<QPointF>& samples, bool x)
{
    QVector<double> values;
    for (const QPointF& sample : samples)
        values.append(x ? sample.x() : sample.y());
    return values;
}

// How a curve is painted: pen, painter and device, and the scale window shown on a 400x300 canvas.
struct Scene
{
    QPen pen;
    bool antialiased = false;
    qreal ratio = 1.0;
    QRectF window = QRectF(100.0, -60.0, 100.0, 120.0); // x from left, y from top, as scale values
    bool invertX = false;
};

const QRectF Canvas(0.0, 0.0, 400.0, 300.0);

// A white image for the scene's device, a painter on it as the plot canvas sets one up, and the maps.
struct Frame
{
    explicit Frame(const Scene& scene)
        : image((Canvas.size() * scene.ratio).toSize(), QImage::Format_ARGB32_Premultiplied)
    {
        image.setDevicePixelRatio(scene.ratio);
        image.fill(Qt::white);
        painter.begin(&image);
        painter.setRenderHint(QPainter::Antialiasing, scene.antialiased);
        xMap.setPaintInterval(scene.invertX ? Canvas.right() : Canvas.left(),
                              scene.invertX ? Canvas.left() : Canvas.right());
        xMap.setScaleInterval(scene.window.left(), scene.window.right());
        yMap.setPaintInterval(Canvas.bottom(), Canvas.top());
        yMap.setScaleInterval(scene.window.top(), scene.window.bottom());
    }

    QImage image;
    QPainter painter;
    QwtScaleMap xMap;
    QwtScaleMap yMap;
};

QImage painted(const QwtPlotCurve& curve, const Scene& scene)
{
    Frame frame(scene);
    curve.draw(&frame.painter, frame.xMap, frame.yMap, Canvas);
    frame.painter.end();
    return frame.image;
}

// Whether the curve takes its own path for this scene (with the pen the curve sets before drawing).
bool takesFastPath(const PriceBased2dPlotCurve& curve, const Scene& scene)
{
    Frame frame(scene);
    frame.painter.setPen(curve.pen());
    const Plot2dSampling::YRangeIndex* index = Plot2dSampling::CurveCache::index(curve);
    return index && Plot2dSampling::canDrawDecimated(curve, &frame.painter, frame.xMap, frame.yMap, *index);
}

int differingPixels(const QImage& a, const QImage& b)
{
    int count = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x)
            count += a.pixel(x, y) != b.pixel(x, y) ? 1 : 0;
    }
    return count;
}

// Our curve and a stock one with the same settings, fed the same samples by `feed`.
struct Twins
{
    explicit Twins(const std::function<void(QwtPlotCurve*)>& feed) : ours(nullptr, QStringLiteral("ours"))
    {
        ours.setDataType(9);
        for (QwtPlotCurve* curve : {static_cast<QwtPlotCurve*>(&ours), &stock})
            feed(curve);
    }
    void set(const std::function<void(QwtPlotCurve*)>& change)
    {
        change(&ours);
        change(&stock);
    }
    // Zero differing pixels, reported as a count when it fails.
    bool paintAlike(const Scene& scene, QByteArray* message) const
    {
        const int differing = differingPixels(painted(ours, scene), painted(stock, scene));
        *message = QByteArray::number(differing) + " pixels differ from stock Qwt";
        return differing == 0;
    }

    PriceBased2dPlotCurve ours;
    QwtPlotCurve stock;
};

bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// The plot's extent equals the plain scan's bit for bit (0.0 and -0.0 included).
void compareExtentWithScan(PriceBased2dPlot& plot)
{
    const std::pair<double, double> fast = plot.minMaxYAtXRange();
    const std::pair<double, double> plain = plot.minMaxYAtXRangeLinear();
    QVERIFY2(sameBits(fast.first, plain.first) && sameBits(fast.second, plain.second),
             qPrintable(QStringLiteral("(%1, %2) against the scan's (%3, %4)")
                            .arg(fast.first)
                            .arg(fast.second)
                            .arg(plain.first)
                            .arg(plain.second)));
}

} // namespace

class TestFastPaths : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void curvePaintsStockPixels_data();
    void curvePaintsStockPixels();
    void randomScenesPaintStockPixels();
    void yExtentMatchesPlainScan();
    void changesBehindTheCurveShowInPaintAndAutoscale_data();
    void changesBehindTheCurveShowInPaintAndAutoscale();
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

namespace {

const QPen Black(Qt::black, 1.0);

Scene device(bool antialiased, qreal ratio)
{
    Scene scene;
    scene.antialiased = antialiased;
    scene.ratio = ratio;
    return scene;
}

// Scale values shown from the canvas' left to right and bottom to top.
Scene view(double left, double right, double bottom = -60.0, double top = 60.0, bool invertX = false)
{
    Scene scene;
    scene.window = QRectF(left, bottom, right - left, top - bottom);
    scene.invertX = invertX;
    return scene;
}

struct PaintCase
{
    const char* name;
    DataKind kind;
    QPen pen;
    Scene scene; // its pen is the case's
    bool fast;   // the curve's own path is expected to run
    QwtPlotCurve::CurveStyle style;
};

const QwtPlotCurve::CurveStyle Lines = QwtPlotCurve::Lines;
const PaintCase PaintCases[] = {
    {"pen 1", Dense, Black, {}, true, Lines},
    {"pen 0", Dense, QPen(Qt::black, 0.0), {}, true, Lines},
    {"pen 1, round cap", Dense, QPen(Qt::blue, 1.0, Qt::SolidLine, Qt::RoundCap), {}, true, Lines},
    {"pen 0.5", Dense, QPen(Qt::black, 0.5), {}, false, Lines},
    {"pen 0.9", Dense, QPen(Qt::black, 0.9), {}, false, Lines},
    {"pen 2", Dense, QPen(Qt::black, 2.0), {}, false, Lines},
    {"dashed", Dense, QPen(Qt::black, 1.0, Qt::DashLine), {}, false, Lines},
    {"translucent", Dense, QPen(QColor(0, 0, 255, 128), 1.0), {}, false, Lines},
    {"antialiased", Dense, Black, device(true, 1.0), false, Lines},
    {"pixel ratio 1.5", Dense, Black, device(false, 1.5), false, Lines},
    {"pixel ratio 2", Dense, Black, device(false, 2.0), false, Lines},
    {"sticks", Sparse, Black, {}, false, QwtPlotCurve::Sticks},
    {"steps", Sparse, Black, {}, false, QwtPlotCurve::Steps},
    {"dots", Dense, Black, {}, false, QwtPlotCurve::Dots},
    {"NaN", WithNaN, Black, {}, false, Lines},
    {"unsorted", Unsorted, Black, {}, false, Lines},
    {"equal x", EqualX, Black, {}, true, Lines},
    {"sparse", Sparse, Black, {}, true, Lines},
    {"zoomed", Dense, Black, view(150.0, 151.0), true, Lines},
    {"panned beyond the end", Dense, Black, view(180.0, 280.0), true, Lines},
    {"clipped rows", Dense, Black, view(120.0, 150.0, -10.0, 10.0), true, Lines},
    {"rows far off the canvas", Dense, Black, view(100.0, 200.0, 1000.0, 1005.0), true, Lines},
    {"inverted x", Dense, Black, view(140.0, 170.0, -60.0, 60.0, true), true, Lines},
    {"inverted y", Dense, Black, view(100.0, 200.0, 60.0, -60.0), true, Lines},
};

} // namespace

void TestFastPaths::curvePaintsStockPixels_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < int(sizeof PaintCases / sizeof PaintCases[0]); ++i)
        QTest::newRow(PaintCases[i].name) << i;
}

void TestFastPaths::curvePaintsStockPixels()
{
    QFETCH(int, index);
    const PaintCase& paintCase = PaintCases[index];
    Scene scene = paintCase.scene;
    scene.pen = paintCase.pen;
    const QVector<QPointF> samples = samplesOf(paintCase.kind, paintCase.kind == Sparse ? 60 : 20000);
    Twins twins([&](QwtPlotCurve* curve) {
        curve->setStyle(paintCase.style);
        curve->setPen(paintCase.pen);
        curve->setSamples(samples);
    });
    QCOMPARE(takesFastPath(twins.ours, scene), paintCase.fast);
    for (bool filter : {true, false}) {
        for (bool clip : {true, false}) {
            twins.set([&](QwtPlotCurve* curve) {
                curve->setPaintAttribute(QwtPlotCurve::FilterPoints, filter);
                curve->setPaintAttribute(QwtPlotCurve::ClipPolygons, clip);
            });
            QByteArray message;
            QVERIFY2(twins.paintAlike(scene, &message), message + (filter ? " (filtered" : " (unfiltered") +
                                                            (clip ? ", clipped)" : ", unclipped)"));
        }
    }
}

// Seeded scenes where the curve's own path runs: sorted data of any density, windows anywhere around
// it, either x direction, both exact pens and caps, with and without weeding and clipping.
void TestFastPaths::randomScenesPaintStockPixels()
{
    QRandomGenerator random(20261124);
    const DataKind kinds[] = {Dense, Sparse, EqualX};
    std::unique_ptr<Twins> twins;
    Scene scene;
    for (int round = 0; round < 60; ++round) {
        // New curves every fourth round; in between only the view moves, so the painted geometry of
        // the last view must give way to the new one.
        if (round % 4 == 0) {
            const DataKind kind = kinds[random.bounded(3)];
            const int count = 4 + random.bounded(kind == Sparse ? 50 : 30000);
            const QVector<QPointF> samples = samplesOf(kind, count, random.generate());
            scene.pen = QPen(Qt::black, random.bounded(2), Qt::SolidLine,
                             random.bounded(2) ? Qt::SquareCap : Qt::RoundCap);
            const bool filter = random.bounded(3) != 0;
            const bool clip = random.bounded(5) != 0;
            twins.reset(new Twins([&](QwtPlotCurve* curve) {
                curve->setPen(scene.pen);
                curve->setSamples(samples);
                curve->setPaintAttribute(QwtPlotCurve::FilterPoints, filter);
                curve->setPaintAttribute(QwtPlotCurve::ClipPolygons, clip);
            }));
        }
        scene.invertX = random.bounded(4) == 0;
        const double left = 80.0 + random.bounded(120.0);
        const double bottom = -80.0 + random.bounded(120.0);
        scene.window = QRectF(left, bottom, 0.01 + random.bounded(120.0), 0.5 + random.bounded(150.0));
        QVERIFY(takesFastPath(twins->ours, scene));
        QByteArray message;
        QVERIFY2(twins->paintAlike(scene, &message), message + " in round " + QByteArray::number(round));
    }
}

// Every form of series, random windows with ends on or a hair beyond samples, signed zeros, bad samples.
void TestFastPaths::yExtentMatchesPlainScan()
{
    QRandomGenerator random(7);
    for (int round = 0; round < 40; ++round) {
        TestPlot plot;
        QVector<QPointF> samples =
            samplesOf(static_cast<DataKind>(random.bounded(5)), 50 + random.bounded(3000), random.generate());
        // Some curves flat at zero of either sign: which zero comes out depends on the sample order.
        const int zeroEvery = round % 4 == 3 ? 1 : 40;
        for (int i = 0; i < samples.size(); i += 1 + random.bounded(zeroEvery))
            samples[i].setY(random.bounded(2) ? 0.0 : -0.0);
        const QVector<double> xs = column(samples, true);
        const QVector<double> ys = column(samples, false);
        PriceBased2dPlotCurve* curve = TestSupport::validCurve(&plot, QStringLiteral("c"), 9, samples);
        switch (round % 3) {
        case 1:
            curve->setSamples(xs, ys);
            break;
        case 2:
            curve->setRawSamples(xs.constData(), ys.constData(), xs.size());
            break;
        default:
            break;
        }
        curve->attach(&plot);
        for (int window = 0; window < 12; ++window) {
            double lower = 90.0 + random.bounded(100.0);
            double upper = lower + 0.5 + random.bounded(100.0);
            if (window % 3 == 0) {
                lower = samples.at(random.bounded(samples.size() / 2)).x();
                upper =
                    samples.at(samples.size() / 2 + random.bounded(samples.size() / 2)).x() * (1.0 + 1e-13);
            }
            plot.setAxisScale(QwtPlot::xBottom, lower, upper);
            plot.updateAxes();
            compareExtentWithScan(plot);
        }
        if (const Plot2dSampling::YRangeIndex* index = Plot2dSampling::CurveCache::index(*curve))
            QVERIFY(index->indexBytes() <= 16u * static_cast<unsigned>(index->size()));
    }
}

namespace {

// A series of a trackable type whose sample() computes from a value the test changes.
class ShiftedSeries : public QwtPointSeriesData
{
public:
    explicit ShiftedSeries(const QVector<QPointF>& samples) : QwtPointSeriesData(samples) {}
    QPointF sample(size_t i) const override { return QwtPointSeriesData::sample(i) + QPointF(0.0, shift); }
    double shift = 0.0;
};

} // namespace

void TestFastPaths::changesBehindTheCurveShowInPaintAndAutoscale_data()
{
    QTest::addColumn<int>("change");
    QTest::newRow("setSamples with a new vector") << 0;
    QTest::newRow("setSamples with x and y vectors") << 1;
    QTest::newRow("setData with a new series") << 2;
    QTest::newRow("series samples replaced through data(), same count") << 3;
    QTest::newRow("raw sample buffers overwritten in place") << 4;
    QTest::newRow("a derived series computing its samples") << 5;
}

void TestFastPaths::changesBehindTheCurveShowInPaintAndAutoscale()
{
    QFETCH(int, change);
    const QVector<QPointF> before = samplesOf(Dense, 20000, 1);
    QVector<QPointF> after = samplesOf(Dense, 20000, 2);
    for (QPointF& sample : after)
        sample.ry() = sample.y() * 0.5 + 30.0;
    QVector<double> rawX = column(before, true);
    QVector<double> rawY = column(before, false);

    TestPlot plot; // outlives the curve attached to it
    Twins twins([&](QwtPlotCurve* curve) {
        curve->setPen(QPen(Qt::black, 1.0));
        if (change == 4)
            curve->setRawSamples(rawX.constData(), rawY.constData(), rawX.size());
        else if (change == 5)
            curve->setData(new ShiftedSeries(before));
        else
            curve->setSamples(before);
    });
    twins.ours.setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
    twins.ours.attach(&plot);
    plot.setAxisScale(QwtPlot::xBottom, 100.0, 200.0);
    plot.updateAxes();
    const Scene scene;
    QByteArray message;
    QVERIFY2(twins.paintAlike(scene, &message), message);
    const std::pair<double, double> old = plot.minMaxYAtXRangeLinear();
    compareExtentWithScan(plot);

    const std::function<void(QwtPlotCurve*)> changes[] = {
        [&](QwtPlotCurve* curve) { curve->setSamples(after); },
        [&](QwtPlotCurve* curve) { curve->setSamples(column(after, true), column(after, false)); },
        [&](QwtPlotCurve* curve) { curve->setData(new QwtPointSeriesData(after)); },
        [&](QwtPlotCurve* curve) { static_cast<QwtPointSeriesData*>(curve->data())->setSamples(after); },
        [&](QwtPlotCurve*) {
            for (int i = 0; i < rawY.size(); ++i)
                rawY[i] = after[i].y();
        },
        [&](QwtPlotCurve* curve) { static_cast<ShiftedSeries*>(curve->data())->shift = 25.0; },
    };
    twins.set(changes[change]);
    QVERIFY2(twins.paintAlike(scene, &message), message);
    compareExtentWithScan(plot);
    const std::pair<double, double> now = plot.minMaxYAtXRange();
    QVERIFY(now != old);
    plot.updateYAxisScale();
    QCOMPARE(plot.axisInterval(QwtPlot::yLeft).minValue(), now.first);
    QCOMPARE(plot.axisInterval(QwtPlot::yLeft).maxValue(), now.second);
}

PLOT2D_TEST_MAIN(TestFastPaths)
#include "tst_fastpaths.moc"
