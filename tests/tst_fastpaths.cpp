// The curve's fast paths must be invisible: stock Qwt's pixels and the plain scan's Y extent, bit for
// bit, whatever the pen, device, maps, data or changes made to the samples behind the curve's back.
#include "testsupport.h"

#include "plot2dsampling.h"

#include <qwt_clipper.h>
#include <qwt_plot_curve.h>
#include <qwt_point_data.h>
#include <qwt_scale_map.h>

#include <QImage>
#include <QPainter>
#include <QRandomGenerator>

#include <cmath>
#include <functional>
#include <limits>

namespace {

enum DataKind
{
    Dense,
    Sparse,
    WithNaN,
    Unsorted,
    EqualX,
    Staircase,
};

// Ascending x over [100, 200] (steps of zero for EqualX), a noisy wave with a hockey-stick end, so
// that many samples share a pixel column and rows jump within one; a Staircase holds each level over
// many columns and jumps within one.
QVector<QPointF> samplesOf(DataKind kind, int count, quint32 seed = 1)
{
    QRandomGenerator random(seed);
    QVector<QPointF> samples;
    for (int i = 0; i < count; ++i) {
        const double x = 100.0 + 100.0 * (kind == EqualX ? i / 3 * 3 : i) / (count - 1);
        const double y = std::sin(x * 3.0) * 40.0 + random.bounded(8.0) + std::max(0.0, x - 170.0) * 2.0;
        samples.append(QPointF(x, kind == Staircase ? std::floor(x * 0.1) * 10.0 - 150.0 : y));
    }
    if (kind == WithNaN)
        samples[count / 2].setY(std::numeric_limits<double>::quiet_NaN());
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

// Scale values shown from the canvas' left to right and bottom to top.
QRectF window(double left, double right, double bottom = -60.0, double top = 60.0)
{
    return QRectF(left, bottom, right - left, top - bottom);
}

// How a curve is painted: pen, painter and device, and the scale window shown on a 400x300 canvas.
struct Scene
{
    QPen pen = QPen(Qt::black, 1.0);
    bool antialiased = false;
    qreal ratio = 1.0;
    QRectF window = ::window(100.0, 200.0);
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

// Our curve and a stock one, always given the same settings and samples.
struct Twins
{
    Twins(const QVector<QPointF>& samples, const QPen& pen, bool filter = true, bool clip = true,
          QwtPlotCurve::CurveStyle style = QwtPlotCurve::Lines)
        : ours(nullptr, QStringLiteral("ours"))
    {
        ours.setDataType(9);
        apply([&](QwtPlotCurve* curve) {
            curve->setStyle(style);
            curve->setPen(pen);
            curve->setSamples(samples);
            curve->setPaintAttribute(QwtPlotCurve::FilterPoints, filter);
            curve->setPaintAttribute(QwtPlotCurve::ClipPolygons, clip);
        });
    }
    void apply(const std::function<void(QwtPlotCurve*)>& change)
    {
        change(&ours);
        change(&stock);
    }
    // Whether ours takes its own path for this scene (with the pen the curve sets before drawing).
    bool fast(const Scene& scene) const
    {
        Frame frame(scene);
        frame.painter.setPen(ours.pen());
        const Plot2dSampling::YRangeIndex* index = Plot2dSampling::CurveCache::index(ours);
        return index &&
               Plot2dSampling::canDrawDecimated(ours, &frame.painter, frame.xMap, frame.yMap, *index);
    }
    bool paintAlike(const Scene& scene) const { return painted(ours, scene) == painted(stock, scene); }

    PriceBased2dPlotCurve ours;
    QwtPlotCurve stock;
};

// An extent's every bit in text, the sign of zero included.
QString exact(const std::pair<double, double>& extent)
{
    return QString::asprintf("(%a, %a)", extent.first, extent.second);
}

// A series of a trackable type whose sample() computes from a value the test changes.
class ShiftedSeries : public QwtPointSeriesData
{
public:
    explicit ShiftedSeries(const QVector<QPointF>& samples) : QwtPointSeriesData(samples) {}
    QPointF sample(size_t i) const override { return QwtPointSeriesData::sample(i) + QPointF(0.0, shift); }
    double shift = 0.0;
};

} // namespace

Q_DECLARE_METATYPE(Scene)

class TestFastPaths : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void curvePaintsStockPixels_data();
    void curvePaintsStockPixels();
    void randomScenesPaintStockPixelsAndScanExtent();
    void changesBehindTheCurveShowInPaintAndAutoscale();
    void clippingMatchesQwtsClipper();
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

void TestFastPaths::curvePaintsStockPixels_data()
{
    // `fast`: the curve's own path is expected to run. Every case is painted with and without weeding
    // and clipping.
    TestSupport::columns<int, Scene, bool, int, bool, bool>(
        {"kind", "scene", "fast", "style", "filter", "clip"});
    const auto add = [](const char* name, DataKind kind, const Scene& scene, bool fast,
                        QwtPlotCurve::CurveStyle style = QwtPlotCurve::Lines) {
        for (int i = 0; i < 4; ++i)
            QTest::addRow("%s, %sfiltered, %sclipped", name, i & 1 ? "un" : "", i & 2 ? "un" : "")
                << int(kind) << scene << fast << int(style) << !(i & 1) << !(i & 2);
    };
    const QPen black(Qt::black, 1.0);
    add("pen 1", Dense, {}, true);
    add("pen 0", Dense, {QPen(Qt::black, 0.0)}, true);
    add("pen 0.5", Dense, {QPen(Qt::black, 0.5)}, false);
    add("pen 2", Dense, {QPen(Qt::black, 2.0)}, false);
    add("dashed", Dense, {QPen(Qt::black, 1.0, Qt::DashLine)}, false);
    add("translucent", Dense, {QPen(QColor(0, 0, 255, 128), 1.0)}, false);
    add("antialiased", Dense, {black, true}, false);
    add("pixel ratio 1.5", Dense, {black, false, 1.5}, false);
    add("pixel ratio 2", Dense, {black, false, 2.0}, false);
    add("sticks", Sparse, {}, false, QwtPlotCurve::Sticks);
    add("steps", Sparse, {}, false, QwtPlotCurve::Steps);
    add("dots", Dense, {}, false, QwtPlotCurve::Dots);
    add("NaN", WithNaN, {}, false);
    add("unsorted", Unsorted, {}, false);
    add("equal x", EqualX, {}, true);
    add("staircase", Staircase, {}, true);
    add("sparse", Sparse, {}, true);
    add("zoomed", Dense, {black, false, 1.0, window(150.0, 151.0)}, true);
    add("panned beyond the end", Dense, {black, false, 1.0, window(180.0, 280.0)}, true);
    add("clipped rows", Dense, {black, false, 1.0, window(120.0, 150.0, -10.0, 10.0)}, true);
    add("rows far off the canvas", Dense, {black, false, 1.0, window(100.0, 200.0, 1000.0, 1005.0)}, true);
    add("inverted x", Dense, {black, false, 1.0, window(140.0, 170.0), true}, true);
    add("inverted y", Dense, {black, false, 1.0, window(100.0, 200.0, 60.0, -60.0)}, true);
}

void TestFastPaths::curvePaintsStockPixels()
{
    const auto [kind, scene, fast, style, filter, clip] =
        TestSupport::fetch<int, Scene, bool, int, bool, bool>(
            {"kind", "scene", "fast", "style", "filter", "clip"});
    const Twins twins(samplesOf(DataKind(kind), kind == Sparse ? 60 : 20000), scene.pen, filter, clip,
                      QwtPlotCurve::CurveStyle(style));
    QCOMPARE(twins.fast(scene), fast);
    QVERIFY(twins.paintAlike(scene));
}

// Seeded scenes over every form of series. Where the curve's own path runs (sorted data, exact pens
// and caps) its pixels are stock Qwt's for any window, either x direction, with and without weeding
// and clipping; the Y extent is the plain scan's for windows with ends on or a hair beyond samples,
// signed zeros and bad samples included.
void TestFastPaths::randomScenesPaintStockPixelsAndScanExtent()
{
    QRandomGenerator random(20261124);
    for (int round = 0; round < 40; ++round) {
        const auto kind = static_cast<DataKind>(random.bounded(6));
        QVector<QPointF> samples =
            samplesOf(kind, 4 + random.bounded(kind == Sparse ? 50 : 30000), random.generate());
        // Some curves flat at zero of either sign: which zero comes out depends on the sample order.
        const int zeroEvery = round % 4 == 3 ? 1 : 40;
        for (int i = 0; i < samples.size(); i += 1 + random.bounded(zeroEvery))
            samples[i].setY(random.bounded(2) ? 0.0 : -0.0);
        const QVector<double> xs = column(samples, true);
        const QVector<double> ys = column(samples, false);
        Scene scene;
        scene.pen = QPen(Qt::black, random.bounded(2), Qt::SolidLine,
                         random.bounded(2) ? Qt::SquareCap : Qt::RoundCap);
        TestPlot plot; // outlives the curve attached to it
        Twins twins(samples, scene.pen, random.bounded(3) != 0, random.bounded(5) != 0);
        if (round % 3 == 1)
            twins.apply([&](QwtPlotCurve* curve) { curve->setSamples(xs, ys); });
        else if (round % 3 == 2)
            twins.apply([&](QwtPlotCurve* curve) {
                curve->setRawSamples(xs.constData(), ys.constData(), xs.size());
            });
        twins.ours.attach(&plot);
        // Only the view moves between scenes, every other time the y window and x direction alone, so
        // the geometry painted for the last must give way.
        double left = 0.0;
        double right = 0.0;
        for (int view = 0; view < 8; ++view) {
            if (view % 2 == 0) {
                const bool onSamples = view % 3 == 0;
                const int half = samples.size() / 2;
                left = onSamples ? xs.at(random.bounded(half)) : 80.0 + random.bounded(120.0);
                right = onSamples ? xs.at(half + random.bounded(half)) * (1.0 + 1e-13)
                                  : left + 0.01 + random.bounded(120.0);
                plot.setAxisScale(QwtPlot::xBottom, left, right);
                plot.updateAxes();
                QCOMPARE(exact(plot.minMaxYAtXRange()), exact(plot.minMaxYAtXRangeLinear()));
            }
            scene.window =
                QRectF(left, -80.0 + random.bounded(120.0), right - left, 0.5 + random.bounded(150.0));
            scene.invertX = random.bounded(4) == 0;
            const QByteArray where =
                "round " + QByteArray::number(round) + ", view " + QByteArray::number(view);
            // Raw buffers are not indexed: they always take stock Qwt's path.
            QVERIFY2(kind == WithNaN || kind == Unsorted || round % 3 == 2 || twins.fast(scene), where);
            QVERIFY2(twins.paintAlike(scene), where);
        }
        if (const Plot2dSampling::YRangeIndex* index = Plot2dSampling::CurveCache::index(twins.ours))
            QVERIFY(index->indexBytes() <= 16u * static_cast<unsigned>(index->size()));
    }
}

void TestFastPaths::changesBehindTheCurveShowInPaintAndAutoscale()
{
    const QVector<QPointF> before = samplesOf(Dense, 20000, 1);
    QVector<QPointF> after = samplesOf(Dense, 20000, 2);
    for (QPointF& sample : after)
        sample.ry() = sample.y() * 0.5 + 30.0;
    const QVector<double> afterY = column(after, false);
    const QVector<double> rawX = column(before, true);
    QVector<double> rawY = column(before, false);

    // How each case feeds the curves (beyond the vector they start with), then changes what they show.
    using Step = std::function<void(QwtPlotCurve*)>;
    const Step keep = [](QwtPlotCurve*) {};
    const std::tuple<const char*, Step, Step> cases[] = {
        {"setSamples with a new vector", keep, [&](QwtPlotCurve* curve) { curve->setSamples(after); }},
        {"setSamples with x and y vectors", keep,
         [&](QwtPlotCurve* curve) { curve->setSamples(column(after, true), afterY); }},
        {"setData with a new series", keep,
         [&](QwtPlotCurve* curve) { curve->setData(new QwtPointSeriesData(after)); }},
        {"series samples replaced through data(), same count", keep,
         [&](QwtPlotCurve* curve) { static_cast<QwtPointSeriesData*>(curve->data())->setSamples(after); }},
        {"raw sample buffers overwritten in place",
         [&](QwtPlotCurve* curve) { curve->setRawSamples(rawX.constData(), rawY.constData(), rawX.size()); },
         [&](QwtPlotCurve*) { std::copy(afterY.cbegin(), afterY.cend(), rawY.begin()); }},
        {"a derived series computing its samples",
         [&](QwtPlotCurve* curve) { curve->setData(new ShiftedSeries(before)); },
         [&](QwtPlotCurve* curve) { static_cast<ShiftedSeries*>(curve->data())->shift = 25.0; }},
    };
    for (const auto& [name, feed, change] : cases) {
        TestPlot plot; // outlives the curve attached to it
        Twins twins(before, QPen(Qt::black, 1.0));
        twins.apply(feed);
        twins.ours.setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
        twins.ours.attach(&plot);
        plot.setAxisScale(QwtPlot::xBottom, 100.0, 200.0);
        plot.updateAxes();
        const std::pair<double, double> old = plot.minMaxYAtXRangeLinear();
        QVERIFY2(twins.paintAlike(Scene()) && exact(plot.minMaxYAtXRange()) == exact(old), name);

        twins.apply(change);
        const std::pair<double, double> now = plot.minMaxYAtXRange();
        QVERIFY2(twins.paintAlike(Scene()) && exact(now) == exact(plot.minMaxYAtXRangeLinear()), name);
        QVERIFY2(now != old, name);
        plot.updateYAxisScale();
        QVERIFY2(plot.axisInterval(QwtPlot::yLeft) == QwtInterval(now.first, now.second), name);
    }
}

PLOT2D_TEST_MAIN(TestFastPaths)
// Seeded polylines, their ends or their middle outside the rectangle or on its border: the curve's
// clipping gives the clipper's points exactly.
void TestFastPaths::clippingMatchesQwtsClipper()
{
    const QRectF rect(-1.0, -1.0, 402.0, 302.0);
    QRandomGenerator random(20261125);
    for (int round = 0; round < 2000; ++round) {
        QPolygonF polyline;
        const int count = 1 + random.bounded(8);
        for (int i = 0; i < count; ++i) {
            const bool end = i == 0 || i == count - 1;
            const bool outside = random.bounded(end ? 2 : 8) == 0;
            polyline << QPointF(outside ? random.bounded(1200) - 400 : random.bounded(402) - 1,
                                outside ? random.bounded(900) - 300 : random.bounded(302) - 1);
        }
        QCOMPARE(Plot2dSampling::clippedPolyline(rect, polyline), QwtClipper::clipPolygonF(rect, polyline));
    }
}

#include "tst_fastpaths.moc"
