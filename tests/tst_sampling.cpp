#include "testsupport.h"

#include <plot2d/dbcommon.h>
#include <plot2d/plot2dsampling.h>

#include <qwt_painter.h>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_renderer.h>
#include <qwt_point_mapper.h>
#include <qwt_scale_map.h>
#include <qwt_series_data.h>

#include <QImage>
#include <QPainter>
#include <QRandomGenerator>

#include <cmath>
#include <cstring>
#include <limits>

using Plot2dSampling::YExtent;
using Plot2dSampling::YRangeIndex;

namespace {

const double Nan = std::numeric_limits<double>::quiet_NaN();
const double Inf = std::numeric_limits<double>::infinity();

// The Y extent scan of one curve written out plainly, sample by sample.
YExtent referenceScan(const QVector<QPointF>& samples, double left, double right)
{
    YExtent r;
    for (const QPointF& s : samples) {
        if (!std::isfinite(s.x()) || !std::isfinite(s.y())) {
            r.nonFinite = true;
            return r;
        }
        const bool inside = (s.x() > left || commonFuzzyCompare(s.x(), left)) &&
                            (s.x() < right || commonFuzzyCompare(s.x(), right));
        if (inside) {
            r.min = std::min(r.min, s.y());
            r.max = std::max(r.max, s.y());
        }
        r.counted = true;
        if (s.x() > right)
            break;
    }
    r.counted = true;
    return r;
}

bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof(double)) == 0;
}

QString difference(const YExtent& got, const YExtent& want)
{
    if (got.nonFinite != want.nonFinite || got.counted != want.counted)
        return QStringLiteral("flags %1/%2, expected %3/%4")
            .arg(got.nonFinite)
            .arg(got.counted)
            .arg(want.nonFinite)
            .arg(want.counted);
    if (want.nonFinite)
        return QString();
    if (!sameBits(got.min, want.min) || !sameBits(got.max, want.max))
        return QStringLiteral("(%1, %2), expected (%3, %4)")
            .arg(got.min, 0, 'g', 17)
            .arg(got.max, 0, 'g', 17)
            .arg(want.min, 0, 'g', 17)
            .arg(want.max, 0, 'g', 17);
    return QString();
}

enum class Shape
{
    Sorted,
    Duplicates,
    NanBefore,
    NanInside,
    NanAfter,
    InfiniteY,
    Unsorted,
    NearZero
};

struct Scenario
{
    QVector<QPointF> samples;
    double left = 0.0;
    double right = 0.0;
};

class ScenarioMaker
{
public:
    explicit ScenarioMaker(quint32 seed) : m_random(seed) {}

    Scenario make(Shape shape)
    {
        Scenario s;
        const int count = m_random.bounded(0, 120);
        const bool nearZero = shape == Shape::NearZero;
        double x = nearZero ? -1e-3 * m_random.generateDouble() : -50.0 + 100.0 * m_random.generateDouble();
        const double duplicates = shape == Shape::Duplicates ? 0.5 : 0.1;
        for (int i = 0; i < count; ++i) {
            if (m_random.generateDouble() >= duplicates)
                x += nearZero ? 1e-5 * m_random.generateDouble() : m_random.generateDouble();
            if (nearZero && m_random.bounded(8) == 0)
                x = m_random.bounded(2) ? 0.0 : -0.0;
            s.samples.append(QPointF(x, value()));
        }
        chooseWindow(s, nearZero);
        if (shape == Shape::Unsorted && count > 1)
            std::swap(s.samples[m_random.bounded(count)], s.samples[m_random.bounded(count)]);
        placeBadSample(s, shape);
        return s;
    }

private:
    // Values from a small set as well, so that ties and signed zeros meet in the fold.
    double value()
    {
        static const double common[] = {0.0, -0.0, 1.5, -1.5, 3.0};
        if (m_random.bounded(3) == 0)
            return common[m_random.bounded(5)];
        return -10.0 + 20.0 * m_random.generateDouble();
    }

    double windowEnd(const Scenario& s, bool nearZero)
    {
        if (s.samples.isEmpty() || m_random.bounded(4) == 0)
            return nearZero ? (m_random.bounded(2) ? 0.0 : -0.0) : -60.0 + 170.0 * m_random.generateDouble();
        const double x = s.samples[m_random.bounded(s.samples.size())].x();
        // Exactly on a sample, within the fuzzy tolerance of it, or just beyond that tolerance.
        static const double factors[] = {0.0, 1e-13, -1e-13, 9e-13, -9e-13, 3e-12, -3e-12};
        return x * (1.0 + factors[m_random.bounded(7)]);
    }

    void chooseWindow(Scenario& s, bool nearZero)
    {
        s.left = windowEnd(s, nearZero);
        s.right = windowEnd(s, nearZero);
        if (s.left > s.right && m_random.bounded(8) != 0)
            std::swap(s.left, s.right);
    }

    // The first sample the scan tests against the window's right end, and the one it stops on.
    static int stopIndex(const Scenario& s)
    {
        for (int i = 0; i < s.samples.size(); ++i) {
            if (s.samples[i].x() > s.right)
                return i;
        }
        return s.samples.size();
    }

    void placeBadSample(Scenario& s, Shape shape)
    {
        const int count = s.samples.size();
        if (count == 0)
            return;
        const int stop = stopIndex(s);
        int at = -1;
        if (shape == Shape::NanBefore)
            at = m_random.bounded(qMax(1, qMin(stop, count)));
        else if (shape == Shape::NanInside)
            at = qMin(stop, count - 1);
        else if (shape == Shape::NanAfter)
            at = qMin(count - 1, stop + m_random.bounded(3));
        else if (shape == Shape::InfiniteY)
            at = m_random.bounded(count);
        if (at < 0)
            return;
        QPointF& p = s.samples[at];
        if (shape == Shape::InfiniteY)
            p.setY(m_random.bounded(2) ? Inf : -Inf);
        else if (m_random.bounded(2))
            p.setX(Nan);
        else
            p.setY(Nan);
    }

    QRandomGenerator m_random;
};

// A curve painted through the decimating fast path when it applies.
class DecimatedCurve : public QwtPlotCurve
{
public:
    void setSeries(const QVector<QPointF>& samples)
    {
        setSamples(samples);
        m_index.build(*data());
    }

    mutable int fastPaths = 0;

protected:
    void drawLines(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                   const QRectF& canvasRect, int from, int to) const override
    {
        if (Plot2dSampling::drawLines(*this, m_index, painter, xMap, yMap, canvasRect, from, to))
            ++fastPaths;
        else
            QwtPlotCurve::drawLines(painter, xMap, yMap, canvasRect, from, to);
    }

private:
    YRangeIndex m_index;
};

QImage render(QwtPlot& plot, bool antialiased)
{
    QImage image(640, 360, QImage::Format_ARGB32_Premultiplied);
    // At the plot's own resolution the renderer does not scale, and Qwt paints aligned.
    image.setDotsPerMeterX(qRound(plot.logicalDpiX() / 0.0254));
    image.setDotsPerMeterY(qRound(plot.logicalDpiY() / 0.0254));
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing, antialiased);
    QwtPlotRenderer().render(&plot, &painter, QRectF(0, 0, image.width(), image.height()));
    return image;
}

int differingPixels(const QImage& a, const QImage& b)
{
    int count = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x)
            count += a.pixel(x, y) != b.pixel(x, y);
    }
    return count;
}

// Dense wavy samples with narrow spikes, ascending x over [100, 200].
QVector<QPointF> denseSeries(int count, quint32 seed)
{
    QRandomGenerator random(seed);
    QVector<QPointF> samples;
    for (int i = 0; i < count; ++i) {
        const double x = 100.0 + 100.0 * i / (count - 1);
        double y = std::sin(x / 7.0) * 5.0 + 0.3 * std::sin(x * 41.0);
        if (random.bounded(500) == 0)
            y += random.bounded(2) ? 4.0 : -4.0;
        samples.append(QPointF(x, y));
    }
    return samples;
}

} // namespace

class TestSampling : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void extentMatchesScan_data();
    void extentMatchesScan();
    void foldOverCurvesMatchesOneScan();
    void indexDescribesSeries();
    void mappedPolylineMatchesQwtMapping();
    void decimatedPolylinePaintsSamePixels_data();
    void decimatedPolylinePaintsSamePixels();
    void curvePaintsLikeQwt_data();
    void curvePaintsLikeQwt();
    void fastPathDeclinesWhatItCannotReproduce();
};

void TestSampling::extentMatchesScan_data()
{
    QTest::addColumn<int>("shape");
    QTest::addColumn<quint32>("seed");
    QTest::newRow("ascending") << int(Shape::Sorted) << 11u;
    QTest::newRow("duplicate x") << int(Shape::Duplicates) << 12u;
    QTest::newRow("NaN before window") << int(Shape::NanBefore) << 13u;
    QTest::newRow("NaN on the stop sample") << int(Shape::NanInside) << 14u;
    QTest::newRow("NaN around the stop") << int(Shape::NanAfter) << 15u;
    QTest::newRow("infinite y") << int(Shape::InfiniteY) << 16u;
    QTest::newRow("unsorted") << int(Shape::Unsorted) << 17u;
    QTest::newRow("around zero") << int(Shape::NearZero) << 18u;
}

// The index and the library's scan answer exactly what the plain scan answers, bit for bit.
void TestSampling::extentMatchesScan()
{
    QFETCH(int, shape);
    QFETCH(quint32, seed);
    ScenarioMaker maker(seed);
    int nonFinite = 0;
    int counted = 0;
    for (int round = 0; round < 4000; ++round) {
        const Scenario s = maker.make(static_cast<Shape>(shape));
        const QwtPointSeriesData series(s.samples);
        const YRangeIndex index(series);
        const YExtent want = referenceScan(s.samples, s.left, s.right);
        const QString indexed = difference(index.extent(s.left, s.right), want);
        QVERIFY2(indexed.isEmpty(),
                 qPrintable(QStringLiteral("index, round %1: %2").arg(round).arg(indexed)));
        const QString scanned = difference(Plot2dSampling::scanYExtent(series, s.left, s.right), want);
        QVERIFY2(scanned.isEmpty(), qPrintable(QStringLiteral("scan, round %1: %2").arg(round).arg(scanned)));
        nonFinite += want.nonFinite;
        counted += !want.nonFinite && want.min <= want.max;
    }
    // The scenarios must really reach both outcomes, or the comparison proves little.
    const bool expectsBadSamples =
        shape == int(Shape::NanBefore) || shape == int(Shape::NanInside) || shape == int(Shape::InfiniteY);
    const bool mostlyBad = shape == int(Shape::NanBefore) || shape == int(Shape::NanInside);
    QCOMPARE(counted > 100, !mostlyBad);
    QCOMPARE(nonFinite > 100, expectsBadSamples || shape == int(Shape::NanAfter));
}

void TestSampling::foldOverCurvesMatchesOneScan()
{
    // Signed zeros tie: the earlier one must win across curves as it does within one scan.
    const QVector<QPointF> a = {{1.0, 0.0}, {2.0, 5.0}};
    const QVector<QPointF> b = {{1.0, -0.0}, {2.0, 5.0}, {3.0, -0.0}};
    const QVector<QPointF> c = {{1.5, Nan}};
    YExtent total;
    Plot2dSampling::accumulate(total, YRangeIndex(QwtPointSeriesData(a)).extent(0.0, 10.0));
    Plot2dSampling::accumulate(total, YRangeIndex(QwtPointSeriesData(b)).extent(0.0, 10.0));
    QVERIFY(!std::signbit(total.min));
    QCOMPARE(total.max, 5.0);
    QVERIFY(total.counted);
    QVERIFY(!total.nonFinite);

    YExtent reversed;
    Plot2dSampling::accumulate(reversed, YRangeIndex(QwtPointSeriesData(b)).extent(0.0, 10.0));
    Plot2dSampling::accumulate(reversed, YRangeIndex(QwtPointSeriesData(a)).extent(0.0, 10.0));
    QVERIFY(std::signbit(reversed.min));

    Plot2dSampling::accumulate(total, YRangeIndex(QwtPointSeriesData(c)).extent(0.0, 10.0));
    QVERIFY(total.nonFinite);

    // A curve with nothing inside the window leaves the running extent alone.
    YExtent outside;
    Plot2dSampling::accumulate(outside, YRangeIndex(QwtPointSeriesData(a)).extent(20.0, 30.0));
    QVERIFY(outside.counted);
    QCOMPARE(outside.min, std::numeric_limits<double>::max());
    QCOMPARE(outside.max, -std::numeric_limits<double>::max());
}

void TestSampling::indexDescribesSeries()
{
    const QVector<QPointF> samples = {{1.0, 4.0}, {2.0, -3.0}, {2.0, 7.0},
                                      {3.0, 0.5}, {Nan, 1.0},  {0.0, 9.0}};
    YRangeIndex index{QwtPointSeriesData(samples)};
    QCOMPARE(index.size(), 6);
    QCOMPARE(index.firstNonFinite(), 4);
    // Descending x after the bad sample does not matter: the scan never gets there.
    QVERIFY(index.isSorted());
    QCOMPARE(index.yMinMax(0, 3), std::make_pair(-3.0, 7.0));
    QCOMPARE(index.yMinMax(2, 2), std::make_pair(7.0, 7.0));
    QCOMPARE(index.lowerBound(2.0), 1);
    QCOMPARE(index.upperBound(2.0), 3);

    index.build(QwtPointSeriesData({{2.0, 1.0}, {1.0, 2.0}}));
    QVERIFY(!index.isSorted());
    QCOMPARE(index.firstNonFinite(), 2);
    index.clear();
    QCOMPARE(index.size(), 0);
    QVERIFY(index.extent(0.0, 1.0).counted);
}

// The index maps exactly as Qwt's rounding point mapper does, with and without weeding.
void TestSampling::mappedPolylineMatchesQwtMapping()
{
    QRandomGenerator random(21);
    for (int round = 0; round < 200; ++round) {
        const QVector<QPointF> samples = denseSeries(200 + random.bounded(5000), 100 + round);
        const QwtPointSeriesData series(samples);
        const YRangeIndex index(series);
        QwtScaleMap xMap;
        QwtScaleMap yMap;
        const double lower = 100.0 + 90.0 * random.generateDouble();
        xMap.setScaleInterval(lower, lower + 10.0 * random.generateDouble() + 0.01);
        xMap.setPaintInterval(-3.5 + random.generateDouble(), 300.0 + 600.0 * random.generateDouble());
        yMap.setScaleInterval(-10.0, 10.0);
        yMap.setPaintInterval(400.0, 0.0);
        const int from = random.bounded(samples.size());
        const int to = from + random.bounded(samples.size() - from);
        const bool weedOut = round % 2 == 0;
        QwtPointMapper mapper;
        mapper.setFlag(QwtPointMapper::RoundPoints, true);
        mapper.setFlag(QwtPointMapper::WeedOutPoints, weedOut);
        QCOMPARE(Plot2dSampling::mappedPolyline(index, xMap, yMap, from, to, weedOut),
                 mapper.toPolygonF(xMap, yMap, &series, from, to));
    }
    QCOMPARE(Plot2dSampling::alignedValue(2.5), 3.0);
    QCOMPARE(Plot2dSampling::alignedValue(-2.5), -3.0);
    QCOMPARE(Plot2dSampling::alignedValue(0.49999999999999994), 1.0);
}

void TestSampling::decimatedPolylinePaintsSamePixels_data()
{
    QTest::addColumn<qreal>("penWidth");
    QTest::addColumn<bool>("repeats");
    QTest::addColumn<quint32>("seed");
    QTest::newRow("cosmetic") << qreal(0.0) << false << 31u;
    QTest::newRow("1 px") << qreal(1.0) << false << 32u;
    QTest::newRow("1 px, repeated points") << qreal(1.0) << true << 33u;
}

// Random integer polylines with long vertical runs, back and forth in x, some leaving the image.
void TestSampling::decimatedPolylinePaintsSamePixels()
{
    QFETCH(qreal, penWidth);
    QFETCH(bool, repeats);
    QFETCH(quint32, seed);
    QRandomGenerator random(seed);
    qint64 points = 0;
    qint64 strokes = 0;
    for (int round = 0; round < 60; ++round) {
        QPolygonF polyline;
        int x = random.bounded(-5, 100);
        int y = random.bounded(-5, 205);
        const int count = random.bounded(2, 3000);
        for (int i = 0; i < count; ++i) {
            static const int steps[] = {-1, 1, 1, 2, 7};
            if (random.bounded(30) == 0)
                x += steps[random.bounded(5)];
            y = random.bounded(20) == 0 ? random.bounded(-10, 210) : y + random.bounded(-3, 4);
            const QPointF point(x, y);
            if (repeats || polyline.isEmpty() || polyline.constLast() != point)
                polyline.append(point);
        }
        const Plot2dSampling::DecimatedPolyline decimated = Plot2dSampling::decimatePolyline(polyline);
        points += polyline.size();
        strokes += decimated.pieces.elementCount() + decimated.columns.size();
        for (const QPolygonF& piece : decimated.polylines)
            strokes += piece.size();

        QImage full(400, 200, QImage::Format_ARGB32_Premultiplied);
        full.fill(Qt::white);
        QImage fast = full;
        for (QImage* image : {&full, &fast}) {
            QPainter painter(image);
            painter.setRenderHint(QPainter::Antialiasing, false);
            painter.setPen(QPen(Qt::black, penWidth));
            if (image == &full)
                QwtPainter::drawPolyline(&painter, polyline);
            else
                Plot2dSampling::drawDecimated(&painter, decimated);
        }
        QVERIFY2(
            full == fast,
            qPrintable(
                QStringLiteral("round %1: %2 pixels differ").arg(round).arg(differingPixels(full, fast))));
    }
    // Dense columns must really collapse, or the comparison proves little.
    // Pieces with repeated points are drawn as they are, so those collapse less.
    QVERIFY2(strokes * (repeats ? 1 : 2) < points,
             qPrintable(QStringLiteral("%1 of %2").arg(strokes).arg(points)));
}

void TestSampling::curvePaintsLikeQwt_data()
{
    QTest::addColumn<int>("samples");
    QTest::addColumn<double>("xLower");
    QTest::addColumn<double>("xUpper");
    QTest::addColumn<double>("yLower");
    QTest::addColumn<double>("yUpper");
    QTest::addColumn<bool>("filterPoints");
    QTest::addColumn<bool>("clipPolygons");
    QTest::newRow("whole range") << 100000 << 100.0 << 200.0 << -7.0 << 7.0 << true << true;
    QTest::newRow("whole range, unfiltered") << 100000 << 100.0 << 200.0 << -7.0 << 7.0 << false << true;
    QTest::newRow("1 % window") << 100000 << 150.3 << 151.3 << -7.0 << 7.0 << true << true;
    QTest::newRow("window, curve leaves the canvas")
        << 100000 << 120.0 << 130.0 << -1.0 << 1.0 << true << true;
    QTest::newRow("window, unclipped") << 20000 << 120.0 << 130.0 << -1.0 << 1.0 << true << false;
    QTest::newRow("inverted X") << 100000 << 180.0 << 110.0 << -7.0 << 7.0 << true << true;
    QTest::newRow("sparse") << 300 << 100.0 << 200.0 << -7.0 << 7.0 << true << true;
    QTest::newRow("sparse window") << 3000 << 140.0 << 141.0 << -7.0 << 7.0 << true << true;
}

// The decimating curve paints exactly what a stock Qwt curve paints, through Qwt's renderer.
void TestSampling::curvePaintsLikeQwt()
{
    QFETCH(int, samples);
    QFETCH(double, xLower);
    QFETCH(double, xUpper);
    QFETCH(double, yLower);
    QFETCH(double, yUpper);
    QFETCH(bool, filterPoints);
    QFETCH(bool, clipPolygons);
    const QVector<QPointF> series = denseSeries(samples, 41);

    QwtPlot stockPlot;
    QwtPlot fastPlot;
    auto* stock = new QwtPlotCurve;
    auto* fast = new DecimatedCurve;
    stock->setSamples(series);
    fast->setSeries(series);
    for (QwtPlotCurve* curve : {stock, static_cast<QwtPlotCurve*>(fast)}) {
        curve->setPen(QPen(Qt::darkBlue, 1.0));
        curve->setPaintAttribute(QwtPlotCurve::FilterPoints, filterPoints);
        curve->setPaintAttribute(QwtPlotCurve::ClipPolygons, clipPolygons);
    }
    stock->attach(&stockPlot);
    fast->attach(&fastPlot);
    for (QwtPlot* plot : {&stockPlot, &fastPlot}) {
        plot->setAxisScale(QwtPlot::xBottom, xLower, xUpper);
        plot->setAxisScale(QwtPlot::yLeft, yLower, yUpper);
        plot->updateAxes();
    }

    const QImage want = render(stockPlot, false);
    const QImage got = render(fastPlot, false);
    QCOMPARE(fast->fastPaths, 1);
    QVERIFY2(got == want, qPrintable(QStringLiteral("%1 pixels differ").arg(differingPixels(got, want))));

    // Antialiased, the overlapping vertical runs blend differently, so only closeness is asked.
    const QImage smoothWant = render(stockPlot, true);
    const QImage smoothGot = render(fastPlot, true);
    QVERIFY(differingPixels(smoothGot, smoothWant) < want.width() * want.height() / 100);
}

void TestSampling::fastPathDeclinesWhatItCannotReproduce()
{
    const QVector<QPointF> series = denseSeries(1000, 51);
    QVector<QPointF> withNan = series;
    withNan[500].setY(Nan);
    QVector<QPointF> unsorted = series;
    std::swap(unsorted[10], unsorted[20]);

    QImage image(200, 100, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&image);
    painter.setPen(QPen(Qt::black, 1.0));
    QwtScaleMap xMap;
    xMap.setScaleInterval(100.0, 200.0);
    xMap.setPaintInterval(0.0, 200.0);
    QwtScaleMap yMap;
    yMap.setScaleInterval(-10.0, 10.0);
    yMap.setPaintInterval(100.0, 0.0);
    const QRectF canvas(0, 0, 200, 100);

    const auto drawn = [&](const QwtPlotCurve& curve, const QVector<QPointF>& samples) {
        const YRangeIndex index{QwtPointSeriesData(samples)};
        return Plot2dSampling::drawLines(curve, index, &painter, xMap, yMap, canvas, 0, samples.size() - 1);
    };

    QwtPlotCurve plain;
    plain.setSamples(series);
    QVERIFY(drawn(plain, series));
    QVERIFY(!drawn(plain, withNan));
    QVERIFY(!drawn(plain, unsorted));

    QwtPlotCurve sticks;
    sticks.setSamples(series);
    sticks.setStyle(QwtPlotCurve::Sticks);
    QVERIFY(!drawn(sticks, series));

    QwtPlotCurve filled;
    filled.setSamples(series);
    filled.setBrush(Qt::red);
    QVERIFY(!drawn(filled, series));

    QwtPlotCurve fitted;
    fitted.setSamples(series);
    fitted.setCurveAttribute(QwtPlotCurve::Fitted, true);
    QVERIFY(!drawn(fitted, series));

    painter.setPen(QPen(Qt::black, 2.0));
    QVERIFY(!drawn(plain, series));

    // A scaled painter paints unaligned: Qwt does not round there, so neither may the fast path.
    painter.setPen(QPen(Qt::black, 1.0));
    painter.scale(2.0, 2.0);
    QVERIFY(!drawn(plain, series));
}

PLOT2D_TEST_MAIN(TestSampling)
#include "tst_sampling.moc"
