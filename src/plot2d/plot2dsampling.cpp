#include "plot2dsampling.h"

#include "dbcommon.h"

#include <qwt_clipper.h>
#include <qwt_painter.h>
#include <qwt_plot_curve.h>
#include <qwt_scale_map.h>
#include <qwt_series_data.h>

#include <QPainter>
#include <QPen>

#include <algorithm>
#include <cmath>

namespace Plot2dSampling {

namespace {

const double DoubleMax = std::numeric_limits<double>::max();

bool isFiniteSample(double x, double y)
{
    return std::isfinite(x) && std::isfinite(y);
}

bool atOrAboveLeft(double x, double left)
{
    return x > left || commonFuzzyCompare(x, left);
}

bool atOrBelowRight(double x, double right)
{
    return x < right || commonFuzzyCompare(x, right);
}

// The map's paint coordinates grow with its scale values (no inverted axis).
bool ascendingMap(const QwtScaleMap& map)
{
    return (map.s2() - map.s1()) * (map.p2() - map.p1()) > 0.0;
}

} // namespace

bool xInWindow(double x, double left, double right)
{
    return atOrAboveLeft(x, left) && atOrBelowRight(x, right);
}

YExtent scanYExtent(const QwtSeriesData<QPointF>& series, double left, double right)
{
    YExtent extent;
    const size_t count = series.size();
    for (size_t i = 0; i < count; ++i) {
        const QPointF sample = series.sample(i);
        if (!isFiniteSample(sample.x(), sample.y())) {
            extent.nonFinite = true;
            return extent;
        }
        if (xInWindow(sample.x(), left, right)) {
            extent.min = std::min(extent.min, sample.y());
            extent.max = std::max(extent.max, sample.y());
        }
        extent.counted = true;
        if (sample.x() > right)
            break;
    }
    extent.counted = true;
    return extent;
}

void accumulate(YExtent& total, const YExtent& curve)
{
    // std::min/std::max keep the earlier value on ties, so folding per curve equals folding per sample.
    total.min = std::min(total.min, curve.min);
    total.max = std::max(total.max, curve.max);
    total.nonFinite = total.nonFinite || curve.nonFinite;
    total.counted = total.counted || curve.counted;
}

YRangeIndex::YRangeIndex(const QwtSeriesData<QPointF>& series)
{
    build(series);
}

void YRangeIndex::build(const QwtSeriesData<QPointF>& series)
{
    const int count = static_cast<int>(series.size());
    m_x.resize(count);
    m_y.resize(count);
    m_firstNonFinite = count;
    m_sorted = true;
    for (int i = 0; i < count; ++i) {
        const QPointF sample = series.sample(static_cast<size_t>(i));
        m_x[i] = sample.x();
        m_y[i] = sample.y();
        if (m_firstNonFinite == count && !isFiniteSample(sample.x(), sample.y()))
            m_firstNonFinite = i;
        if (i > 0 && i < m_firstNonFinite && m_x[i] < m_x[i - 1])
            m_sorted = false;
    }
    buildTree();
}

void YRangeIndex::clear()
{
    m_x.clear();
    m_y.clear();
    m_treeMin.clear();
    m_treeMax.clear();
    m_firstNonFinite = 0;
    m_sorted = true;
}

void YRangeIndex::buildTree()
{
    // Only the finite prefix can ever be asked for: the scan gives up at the first bad sample.
    const int n = m_firstNonFinite;
    m_treeMin.resize(2 * n);
    m_treeMax.resize(2 * n);
    std::copy(m_y.constBegin(), m_y.constBegin() + n, m_treeMin.begin() + n);
    std::copy(m_y.constBegin(), m_y.constBegin() + n, m_treeMax.begin() + n);
    for (int i = n - 1; i > 0; --i) {
        m_treeMin[i] = std::min(m_treeMin[2 * i], m_treeMin[2 * i + 1]);
        m_treeMax[i] = std::max(m_treeMax[2 * i], m_treeMax[2 * i + 1]);
    }
}

std::pair<double, double> YRangeIndex::yMinMax(int from, int to) const
{
    // Left and right partial results are kept apart so that ties still resolve in sample order.
    const int n = m_firstNonFinite;
    double minLeft = DoubleMax;
    double minRight = DoubleMax;
    double maxLeft = -DoubleMax;
    double maxRight = -DoubleMax;
    for (int l = from + n, r = to + n + 1; l < r; l >>= 1, r >>= 1) {
        if (l & 1) {
            minLeft = std::min(minLeft, m_treeMin[l]);
            maxLeft = std::max(maxLeft, m_treeMax[l]);
            ++l;
        }
        if (r & 1) {
            --r;
            minRight = std::min(m_treeMin[r], minRight);
            maxRight = std::max(m_treeMax[r], maxRight);
        }
    }
    return std::make_pair(std::min(minLeft, minRight), std::max(maxLeft, maxRight));
}

int YRangeIndex::lowerBound(double value) const
{
    const auto end = m_x.constBegin() + m_firstNonFinite;
    return static_cast<int>(std::lower_bound(m_x.constBegin(), end, value) - m_x.constBegin());
}

int YRangeIndex::upperBound(double value) const
{
    const auto end = m_x.constBegin() + m_firstNonFinite;
    return static_cast<int>(std::upper_bound(m_x.constBegin(), end, value) - m_x.constBegin());
}

YExtent YRangeIndex::linearExtent(double left, double right) const
{
    YExtent extent;
    for (int i = 0; i < m_x.size(); ++i) {
        if (i == m_firstNonFinite) {
            extent.nonFinite = true;
            return extent;
        }
        if (xInWindow(m_x[i], left, right)) {
            extent.min = std::min(extent.min, m_y[i]);
            extent.max = std::max(extent.max, m_y[i]);
        }
        extent.counted = true;
        if (m_x[i] > right)
            break;
    }
    extent.counted = true;
    return extent;
}

YExtent YRangeIndex::extent(double left, double right) const
{
    if (!m_sorted)
        return linearExtent(left, right);

    YExtent extent;
    // 1. Where the scan stops: the first sample beyond right, or a bad sample met before it.
    const int stop = upperBound(right);
    if (stop == m_firstNonFinite && m_firstNonFinite < m_x.size()) {
        extent.nonFinite = true;
        extent.counted = m_firstNonFinite > 0;
        return extent;
    }
    extent.counted = true;
    const int scanned = std::min(stop + 1, static_cast<int>(m_x.size()));

    // 2. The window tests are monotonic in x, so on ascending x the counted samples are one run.
    const auto begin = m_x.constBegin();
    const auto end = begin + scanned;
    const auto first = std::partition_point(begin, end, [left](double x) { return !atOrAboveLeft(x, left); });
    const auto last =
        std::partition_point(first, end, [right](double x) { return atOrBelowRight(x, right); });
    if (first == last)
        return extent;

    // 3. Their y extent from the tree.
    const std::pair<double, double> range =
        yMinMax(static_cast<int>(first - begin), static_cast<int>(last - begin) - 1);
    extent.min = range.first;
    extent.max = range.second;
    return extent;
}

double alignedValue(double value)
{
    return value >= 0.0 ? std::floor(value + 0.5) : std::ceil(value - 0.5);
}

namespace {

// Appends a column's points, dropping repeats that would only add zero-length segments.
class ColumnWriter
{
public:
    explicit ColumnWriter(QPolygonF& out) : m_out(out) {}

    void column(double x, double first, double low, double high, double last)
    {
        // Visit the extreme nearer to the entry first: the vertical run then covers [low, high].
        const bool lowFirst = std::fabs(first - low) <= std::fabs(first - high);
        append(QPointF(x, first));
        append(QPointF(x, lowFirst ? low : high));
        append(QPointF(x, lowFirst ? high : low));
        append(QPointF(x, last));
    }

private:
    void append(const QPointF& point)
    {
        if (m_out.isEmpty() || m_out.constLast() != point)
            m_out.append(point);
    }

    QPolygonF& m_out;
};

} // namespace

QPolygonF decimateColumns(const QPolygonF& polyline)
{
    QPolygonF out;
    ColumnWriter writer(out);
    const int count = polyline.size();
    int i = 0;
    while (i < count) {
        const double x = polyline[i].x();
        double low = polyline[i].y();
        double high = low;
        int j = i;
        while (j + 1 < count && polyline[j + 1].x() == x) {
            ++j;
            low = std::min(low, polyline[j].y());
            high = std::max(high, polyline[j].y());
        }
        writer.column(x, polyline[i].y(), low, high, polyline[j].y());
        i = j + 1;
    }
    return out;
}

namespace {

// Device column of sample i, rounded as Qwt rounds.
class ColumnMapper
{
public:
    ColumnMapper(const YRangeIndex& index, const QwtScaleMap& xMap) : m_index(index), m_xMap(xMap) {}

    double column(int i) const { return alignedValue(m_xMap.transform(m_index.x(i))); }

    // Last index of the run of samples from `first` that share its column; columns are monotonic
    // in the index, so a gallop then a bisection finds it.
    int runEnd(int first, int last) const
    {
        const double target = column(first);
        int inside = first;
        int outside = last + 1;
        for (int step = 1; inside + step <= last; step *= 2) {
            if (column(inside + step) != target) {
                outside = inside + step;
                break;
            }
            inside += step;
        }
        while (outside - inside > 1) {
            const int middle = inside + (outside - inside) / 2;
            if (column(middle) == target)
                inside = middle;
            else
                outside = middle;
        }
        return inside;
    }

private:
    const YRangeIndex& m_index;
    const QwtScaleMap& m_xMap;
};

} // namespace

QPolygonF mappedColumns(const YRangeIndex& index, const QwtScaleMap& xMap, const QwtScaleMap& yMap, int from,
                        int to)
{
    QPolygonF out;
    ColumnWriter writer(out);
    const ColumnMapper mapper(index, xMap);
    const auto deviceY = [&yMap](double y) { return alignedValue(yMap.transform(y)); };
    int i = from;
    while (i <= to) {
        const int j = mapper.runEnd(i, to);
        const double first = deviceY(index.y(i));
        const double last = deviceY(index.y(j));
        if (i == j) {
            writer.column(mapper.column(i), first, first, first, first);
        } else {
            // The map is monotonic, so the data extremes land on the device extremes.
            const std::pair<double, double> range = index.yMinMax(i, j);
            const double a = deviceY(range.first);
            const double b = deviceY(range.second);
            writer.column(mapper.column(i), first, std::min(a, b), std::max(a, b), last);
        }
        i = j + 1;
    }
    return out;
}

std::pair<int, int> visibleRange(const YRangeIndex& index, const QwtScaleMap& xMap, double left, double right,
                                 int from, int to)
{
    const ColumnMapper mapper(index, xMap);
    int lower = from;
    int upper = to + 1;
    while (lower < upper) {
        const int middle = lower + (upper - lower) / 2;
        if (mapper.column(middle) < left)
            lower = middle + 1;
        else
            upper = middle;
    }
    const int first = lower;
    upper = to + 1;
    while (lower < upper) {
        const int middle = lower + (upper - lower) / 2;
        if (mapper.column(middle) <= right)
            lower = middle + 1;
        else
            upper = middle;
    }
    return std::make_pair(std::max(from, first - 1), std::min(to, lower));
}

bool canDrawDecimated(const QwtPlotCurve& curve, const QPainter* painter, const YRangeIndex& index)
{
    // Only plain lines on a raster device are reproduced pixel for pixel; everything else is Qwt's.
    const bool plainLines = curve.style() == QwtPlotCurve::Lines &&
                            !curve.testCurveAttribute(QwtPlotCurve::Fitted) &&
                            curve.brush().style() == Qt::NoBrush;
    const bool thinPen = painter && painter->pen().widthF() <= 1.0;
    const bool aligned = painter && QwtPainter::roundingAlignment(const_cast<QPainter*>(painter));
    const bool usableData = index.isSorted() && index.firstNonFinite() == index.size() &&
                            static_cast<size_t>(index.size()) == curve.dataSize();
    return plainLines && thinPen && aligned && usableData;
}

bool drawLines(const QwtPlotCurve& curve, const YRangeIndex& index, QPainter* painter,
               const QwtScaleMap& xMap, const QwtScaleMap& yMap, const QRectF& canvasRect, int from, int to)
{
    if (from > to || !canDrawDecimated(curve, painter, index))
        return false;

    const bool clip = curve.testPaintAttribute(QwtPlotCurve::ClipPolygons);
    const qreal penWidth = qMax(qreal(1.0), painter->pen().widthF());
    const QRectF clipRect = canvasRect.adjusted(-penWidth, -penWidth, penWidth, penWidth);

    // 1. Only the samples inside the clip rectangle, plus the neighbours whose lines cross its border.
    if (clip && ascendingMap(xMap)) {
        const std::pair<int, int> visible =
            visibleRange(index, xMap, clipRect.left(), clipRect.right(), from, to);
        from = visible.first;
        to = visible.second;
    }

    // 2. One run per pixel column, mapped and rounded as Qwt's point mapper does.
    QPolygonF polyline = mappedColumns(index, xMap, yMap, from, to);

    // 3. Clip and paint as QwtPlotCurve::drawLines does.
    if (clip)
        polyline = QwtClipper::clipPolygonF(clipRect, polyline);
    QwtPainter::drawPolyline(painter, polyline);
    return true;
}

} // namespace Plot2dSampling
