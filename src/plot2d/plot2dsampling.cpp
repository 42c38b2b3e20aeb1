#include "plot2dsampling.h"

#include "dbcommon.h"
#include "pricebased2dplotcurve.h"

#include <qwt_clipper.h>
#include <qwt_painter.h>
#include <qwt_plot_curve.h>
#include <qwt_point_data.h>
#include <qwt_scale_map.h>
#include <qwt_series_data.h>

#include <QPainter>
#include <QPen>
#include <QtAlgorithms>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <type_traits>
#include <typeinfo>
#include <vector>

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

// The autoscale scan over `count` samples read through `at`: a bad sample ends it unusable, the
// first sample beyond right ends it, samples inside the fuzzy window count.
template <typename SampleAt>
YExtent scanSamples(int count, SampleAt at, double left, double right)
{
    YExtent extent;
    for (int i = 0; i < count; ++i) {
        const QPointF sample = at(i);
        if (!isFiniteSample(sample.x(), sample.y())) {
            extent.nonFinite = true;
            return extent;
        }
        if (atOrAboveLeft(sample.x(), left) && atOrBelowRight(sample.x(), right)) {
            extent.min = std::min(extent.min, sample.y());
            extent.max = std::max(extent.max, sample.y());
        }
        if (sample.x() > right)
            break;
    }
    return extent;
}

// Series whose samples live in implicitly shared vectors the index can pin. Subclasses are refused:
// they may compute sample() from anything.
const QwtArraySeriesData<QPointF>* pointVectorSeries(const QwtSeriesData<QPointF>* series)
{
    const bool exact = series && (typeid(*series) == typeid(QwtPointSeriesData) ||
                                  typeid(*series) == typeid(QwtArraySeriesData<QPointF>));
    return exact ? static_cast<const QwtArraySeriesData<QPointF>*>(series) : nullptr;
}

const QwtPointArrayData* arraySeries(const QwtSeriesData<QPointF>* series)
{
    const bool exact = series && typeid(*series) == typeid(QwtPointArrayData);
    return exact ? static_cast<const QwtPointArrayData*>(series) : nullptr;
}

static_assert(std::is_same<qreal, double>::value && sizeof(QPointF) == 2 * sizeof(double),
              "the index reads QPointF arrays as interleaved doubles");

// The first index in [lower, upper) where `holds` is true; `holds` must be false, then true, along
// the range. Indices rather than iterators, since the samples may be strided.
template <typename Predicate>
int firstWhere(int lower, int upper, Predicate holds)
{
    while (lower < upper) {
        const int middle = lower + (upper - lower) / 2;
        if (holds(middle))
            upper = middle;
        else
            lower = middle + 1;
    }
    return lower;
}

// Folds in sample order: std::min and std::max keep the earlier value on ties.
void foldMinMax(std::pair<double, double>& total, double low, double high)
{
    total.first = std::min(total.first, low);
    total.second = std::max(total.second, high);
}

} // namespace

YExtent scanYExtent(const QwtSeriesData<QPointF>& series, double left, double right)
{
    return scanSamples(
        static_cast<int>(series.size()), [&series](int i) { return series.sample(static_cast<size_t>(i)); },
        left, right);
}

bool YRangeIndex::build(const QwtSeriesData<QPointF>& series)
{
    clear();
    if (const QwtArraySeriesData<QPointF>* points = pointVectorSeries(&series)) {
        m_points = points->samples();
        m_x = reinterpret_cast<const double*>(m_points.constData());
        m_y = m_x + 1;
        m_stride = 2;
        m_size = m_points.size();
    } else if (const QwtPointArrayData* arrays = arraySeries(&series)) {
        m_xs = arrays->xData();
        m_ys = arrays->yData();
        m_x = m_xs.constData();
        m_y = m_ys.constData();
        m_stride = 1;
        m_size = std::min(m_xs.size(), m_ys.size());
    } else {
        return false;
    }

    m_firstNonFinite = m_size;
    for (int i = 0; i < m_size; ++i) {
        if (!isFiniteSample(x(i), y(i))) {
            m_firstNonFinite = i;
            break;
        }
        if (i > 0 && x(i) < x(i - 1))
            m_sorted = false;
    }
    buildTree();
    return true;
}

void YRangeIndex::clear()
{
    *this = YRangeIndex();
}

bool YRangeIndex::describes(const QwtSeriesData<QPointF>* series) const
{
    if (m_stride == 2) {
        const QwtArraySeriesData<QPointF>* points = pointVectorSeries(series);
        return points && points->samples().constData() == m_points.constData() &&
               static_cast<int>(points->size()) == m_size;
    }
    const QwtPointArrayData* arrays = arraySeries(series);
    return m_x && arrays && arrays->xData().constData() == m_x && arrays->yData().constData() == m_y &&
           static_cast<int>(arrays->size()) == m_size;
}

void YRangeIndex::buildTree()
{
    // Only the finite prefix can ever be asked for: the scan gives up at the first bad sample.
    const int blocks = (m_firstNonFinite + BlockSize - 1) / BlockSize;
    m_treeMin = QVector<double>(2 * blocks, DoubleMax);
    m_treeMax = QVector<double>(2 * blocks, -DoubleMax);
    for (int i = 0; i < m_firstNonFinite; ++i) {
        const int leaf = blocks + i / BlockSize;
        m_treeMin[leaf] = std::min(m_treeMin[leaf], y(i));
        m_treeMax[leaf] = std::max(m_treeMax[leaf], y(i));
    }
    for (int i = blocks - 1; i > 0; --i) {
        m_treeMin[i] = std::min(m_treeMin[2 * i], m_treeMin[2 * i + 1]);
        m_treeMax[i] = std::max(m_treeMax[2 * i], m_treeMax[2 * i + 1]);
    }
}

std::size_t YRangeIndex::indexBytes() const
{
    return static_cast<std::size_t>(m_treeMin.size() + m_treeMax.size()) * sizeof(double);
}

std::pair<double, double> YRangeIndex::yMinMax(int from, int to) const
{
    std::pair<double, double> result(DoubleMax, -DoubleMax);
    const int firstBlock = from / BlockSize;
    const int lastBlock = to / BlockSize;
    if (firstBlock == lastBlock) {
        for (int i = from; i <= to; ++i)
            foldMinMax(result, y(i), y(i));
        return result;
    }

    // The partial block on the left, the whole blocks from the tree, the partial block on the right;
    // the tree keeps its left and right partial results apart so that ties stay in sample order.
    for (int i = from; i < (firstBlock + 1) * BlockSize; ++i)
        foldMinMax(result, y(i), y(i));
    const int blocks = static_cast<int>(m_treeMin.size() / 2);
    std::pair<double, double> right(DoubleMax, -DoubleMax);
    for (int l = firstBlock + 1 + blocks, r = lastBlock + blocks; l < r; l >>= 1, r >>= 1) {
        if (l & 1) {
            foldMinMax(result, m_treeMin[l], m_treeMax[l]);
            ++l;
        }
        if (r & 1) {
            --r;
            right = std::make_pair(std::min(m_treeMin[r], right.first), std::max(m_treeMax[r], right.second));
        }
    }
    foldMinMax(result, right.first, right.second);
    for (int i = lastBlock * BlockSize; i <= to; ++i)
        foldMinMax(result, y(i), y(i));
    return result;
}

int YRangeIndex::upperBound(double value) const
{
    return firstWhere(0, m_firstNonFinite, [this, value](int i) { return value < x(i); });
}

YExtent YRangeIndex::extent(double left, double right) const
{
    if (!m_sorted)
        return scanSamples(
            m_size, [this](int i) { return QPointF(x(i), y(i)); }, left, right);

    YExtent extent;
    // 1. Where the scan stops: the first sample beyond right, or a bad sample met before it.
    const int stop = upperBound(right);
    if (stop == m_firstNonFinite && m_firstNonFinite < m_size) {
        extent.nonFinite = true;
        return extent;
    }
    const int scanned = std::min(stop + 1, m_size);

    // 2. The window tests are monotonic in x, so on ascending x the counted samples are one run.
    const int first = firstWhere(0, scanned, [this, left](int i) { return atOrAboveLeft(x(i), left); });
    const int last =
        firstWhere(first, scanned, [this, right](int i) { return !atOrBelowRight(x(i), right); });
    if (first == last)
        return extent;

    // 3. Their y extent from the tree.
    const std::pair<double, double> range = yMinMax(first, last - 1);
    extent.min = range.first;
    extent.max = range.second;
    return extent;
}

namespace {

// Qwt's rounding, kept inline for the per-sample loop: through an integer where that is exact,
// which spares the library calls of floor and ceil.
inline double aligned(double value)
{
    const double limit = 4503599627370496.0; // 2^52: beyond it every double is an integer
    if (value >= 0.0) {
        const double shifted = value + 0.5;
        if (shifted < limit)
            return static_cast<double>(static_cast<qint64>(shifted));
        return std::floor(shifted);
    }
    const double shifted = value - 0.5;
    if (shifted > -limit)
        return static_cast<double>(static_cast<qint64>(shifted));
    return std::ceil(shifted);
}

// QwtScaleMap::transform() of a map without transformation as plain factors, so that loops keep
// them in registers and vectorise: Qwt computes p1 + (s - s1) * cnv with cnv as below.
class LinearMap
{
public:
    explicit LinearMap(const QwtScaleMap& map)
        : m_p1(map.p1())
        , m_s1(map.s1())
        , m_cnv(map.s1() != map.s2() ? (map.p2() - map.p1()) / (map.s2() - map.s1()) : 1.0)
    {}

    double transform(double s) const { return m_p1 + (s - m_s1) * m_cnv; }

    // Guards the formula against the map itself.
    bool reproduces(const QwtScaleMap& map, double a, double b) const
    {
        return !map.transformation() && transform(a) == map.transform(a) && transform(b) == map.transform(b);
    }

private:
    double m_p1;
    double m_s1;
    double m_cnv;
};

// Device column of a sample, rounded as Qwt rounds.
template <typename Map>
class ColumnMapper
{
public:
    ColumnMapper(const YRangeIndex& index, const Map& xMap) : m_index(index), m_xMap(xMap) {}

    double column(int i) const { return aligned(m_xMap.transform(m_index.x(i))); }

    // Last index of the run of samples from `first` that share its column; on ascending x the
    // columns are monotonic in the index, so a gallop then a bisection finds it.
    // `guess`, a likely run length (the previous run's), narrows the search first: on evenly spaced
    // samples the run ends within one sample of it.
    int runEnd(int first, int last, int guess = 0) const
    {
        const double target = column(first);
        int inside = first;     // in the run
        int outside = last + 1; // beyond it
        const int guessed = first + guess - 1;
        if (guess > 1 && guessed <= last) {
            if (column(guessed) == target) {
                if (guessed == last || column(guessed + 1) != target)
                    return guessed;
                inside = guessed + 1;
            } else {
                if (column(guessed - 1) == target)
                    return guessed - 1;
                outside = guessed - 1;
            }
        }
        for (int step = 1; inside + step < outside; step *= 2) {
            if (column(inside + step) != target) {
                outside = inside + step;
                break;
            }
            inside += step;
        }
        return firstWhere(inside + 1, outside, [&](int i) { return column(i) != target; }) - 1;
    }

private:
    const YRangeIndex& m_index;
    const Map& m_xMap;
};

// Qwt's weeding compares with QPointF's fuzzy equality, which for integral coordinates below this
// magnitude is plain equality.
const double ExactWeedLimit = 1e12;

QPolygonF mappedPolylineQwtWeeding(const YRangeIndex& index, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                                   int from, int to)
{
    QPolygonF polyline;
    for (int i = from; i <= to; ++i) {
        const QPointF point(aligned(xMap.transform(index.x(i))), aligned(yMap.transform(index.y(i))));
        if (polyline.isEmpty() || polyline.constLast() != point)
            polyline.append(point);
    }
    return polyline;
}

// Device rows of this magnitude fit an int with room to spare, and there integral doubles compare
// exactly (so the weeding is plain equality).
const double RowLimit = 1073741824.0; // 2^30

bool fitsRows(double value)
{
    return std::fabs(value) < RowLimit;
}

// Whether samples [from, to] of a sorted, finite index map into rows and columns that fitsRows()
// through LinearMap: both maps are monotonic, so their ends bound every sample.
bool mapsIntoRows(const YRangeIndex& index, const QwtScaleMap& xMap, const QwtScaleMap& yMap, int from,
                  int to)
{
    if (!index.isSorted() || to >= index.firstNonFinite() || xMap.transformation() || yMap.transformation())
        return false;
    const std::pair<double, double> y = index.yMinMax(from, to);
    return fitsRows(xMap.transform(index.x(from))) && fitsRows(xMap.transform(index.x(to))) &&
           fitsRows(yMap.transform(y.first)) && fitsRows(yMap.transform(y.second)) &&
           LinearMap(xMap).reproduces(xMap, index.x(from), index.x(to)) &&
           LinearMap(yMap).reproduces(yMap, y.first, y.second);
}

// A pixel as Qwt's aligned painting rounds it (halves away from zero, as aligned() does); fitsRows()
// makes the int exact. Deliberately not written through aligned(): this branch-free form vectorises,
// which makes fresh views at 10,000 samples and more about 40 % faster.
inline int pixelOf(const LinearMap& map, double value)
{
    const double mapped = map.transform(value);
    const int pixel = static_cast<int>(std::fabs(mapped) + 0.5);
    return mapped < 0.0 ? -pixel : pixel;
}

// Pixels of `count` values `Stride` doubles apart; a constant stride lets the compiler vectorise.
template <int Stride>
void mapPixels(const double* values, int count, const LinearMap& map, int* pixels)
{
    for (int k = 0; k < count; ++k)
        pixels[k] = pixelOf(map, values[static_cast<std::ptrdiff_t>(k) * Stride]);
}

void mapPixels(const double* values, int stride, int count, const LinearMap& map, int* pixels)
{
    if (stride == 1)
        mapPixels<1>(values, count, map, pixels);
    else
        mapPixels<2>(values, count, map, pixels);
}

// Samples mapped per block small enough to stay in the first-level cache.
const int BlockSamples = 512;

// From this many samples per pixel column on, columns are found by bisection rather than mapped.
const double DenseSamplesPerColumn = 16.0;

static_assert(YRangeIndex::BlockSize <= 32, "a column's block of rows fits one change mask");

// Qwt's weeding: a point is kept where it differs from the previous sample's point.
class WeededPoints
{
public:
    explicit WeededPoints(QPolygonF& polyline) : m_polyline(polyline) {}

    // Samples of one column, at most one block of the index: after the first, only a change of row
    // keeps a point. The changes are gathered into a bit mask first and then visited bit by bit, so
    // that rows that keep still cost no branch.
    void addColumn(int x, const int* rows, int count)
    {
        add(x, rows[0]);
        Q_ASSUME(count <= YRangeIndex::BlockSize);
        quint32 changes = 0;
        for (int k = 1; k < count; ++k)
            changes |= static_cast<quint32>(rows[k] != rows[k - 1]) << k;
        for (; changes != 0; changes &= changes - 1)
            m_polyline.append(QPointF(x, rows[qCountTrailingZeroBits(changes)]));
        m_y = rows[count - 1];
    }
    int lastRow() const { return m_y; }

    void addPoints(const int* columns, const int* rows, int count)
    {
        for (int k = 0; k < count; ++k)
            add(columns[k], rows[k]);
    }

private:
    void add(int x, int y)
    {
        if (x != m_x || y != m_y) {
            m_x = x;
            m_y = y;
            m_polyline.append(QPointF(x, y));
        }
    }

    QPolygonF& m_polyline;
    int m_x = std::numeric_limits<int>::min(); // no column: fitsRows() bounds them
    int m_y = 0;
};

// Asks for a sample's cache line ahead of its use.
inline void prefetch(const double* address)
{
#if defined(__GNUC__)
    __builtin_prefetch(address);
#else
    Q_UNUSED(address);
#endif
}

// How many samples from `first`, the first sample of a block, up to `last` one node of the index's
// tree covers with every row equal to `row`: those of the largest such node, or 0. The map and the
// rounding are monotonic, so a node's minimum and maximum bound the rows of all its samples.
int samplesInRow(const YRangeIndex& index, const LinearMap& yMap, int first, int last, int row)
{
    const auto inRow = [&](int node) {
        return pixelOf(yMap, index.nodeMin(node)) == row && pixelOf(yMap, index.nodeMax(node)) == row;
    };
    const int leaves = index.blocks();
    const int size = YRangeIndex::BlockSize;
    // Node `node` on level `level` covers the leaves [node << level, (node + 1) << level). From the
    // block's leaf up while the parent starts at `first`, holds leaves only, ends by `last` and keeps
    // to the row: rows change where the search stops, so it climbs only as far as it will skip.
    int node = leaves + first / size;
    if (!inRow(node))
        return 0;
    int level = 0;
    while ((node & 1) == 0) {
        const int parentEnd = (node + 2) << level;
        if (parentEnd > 2 * leaves || (parentEnd - leaves) * size - 1 > last || !inRow(node >> 1))
            break;
        node >>= 1;
        ++level;
    }
    return size << level;
}

// Samples [first, last] of one column. After the first, a sample is kept only where its row changes,
// so a node of the index whose samples all keep to the last kept row is passed over unmapped: a
// smooth curve's many samples per column cost about its row changes, not its samples.
void addColumnRun(const YRangeIndex& index, const LinearMap& yMap, int x, int first, int last,
                  WeededPoints& weeded)
{
    const int size = YRangeIndex::BlockSize;
    int rows[YRangeIndex::BlockSize];
    for (int p = first; p <= last;) {
        if (p > first && p % size == 0 && p + size - 1 <= last) {
            const int skipped = samplesInRow(index, yMap, p, last, weeded.lastRow());
            if (skipped > 0) {
                p += skipped;
                continue;
            }
        }
        const int end = std::min(last, p - p % size + size - 1);
        if (end + size <= last)
            prefetch(&index.y(end + size));
        mapPixels(index.yData() + static_cast<std::ptrdiff_t>(p) * index.stride(), index.stride(),
                  end - p + 1, yMap, rows);
        weeded.addColumn(x, rows, end - p + 1);
        p = end + 1;
    }
}

// The weeded polyline without the general loop's per-sample work. Where columns hold many samples,
// each column is found once by bisection and its samples' x are never read; otherwise columns and
// rows are mapped in blocks, in loops the compiler vectorises. Same points as the general loop.
QPolygonF weededPolylineByRows(const YRangeIndex& index, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                               int from, int to)
{
    const LinearMap x(xMap);
    const LinearMap y(yMap);
    const ColumnMapper columns(index, x);
    const double span = std::fabs(columns.column(to) - columns.column(from)) + 1.0;

    QPolygonF polyline;
    polyline.reserve(static_cast<int>(std::min(2.0 * span + 2.0, to - from + 1.0)));
    WeededPoints weeded(polyline);
    if (to - from + 1 >= DenseSamplesPerColumn * span) {
        int guess = 0;
        for (int first = from; first <= to;) {
            const int last = columns.runEnd(first, to, guess);
            // The next run's first samples, and the likely end of the run three ahead: on large series
            // each is a cache miss otherwise, and one run's work is too short to hide a miss.
            prefetch(&index.y(std::min(to, last + 1)));
            prefetch(&index.x(std::min(to, last + 3 * (last - first + 1))));
            addColumnRun(index, y, static_cast<int>(columns.column(first)), first, last, weeded);
            guess = last - first + 1;
            first = last + 1;
        }
        return polyline;
    }

    const int stride = index.stride();
    int rows[BlockSamples];
    int pixels[BlockSamples];
    for (int block = from; block <= to; block += BlockSamples) {
        const int count = std::min(BlockSamples, to - block + 1);
        const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(block) * stride;
        mapPixels(index.yData() + offset, stride, count, y, rows);
        mapPixels(index.xData() + offset, stride, count, x, pixels);
        weeded.addPoints(pixels, rows, count);
    }
    return polyline;
}

} // namespace

QPolygonF mappedPolyline(const YRangeIndex& index, const QwtScaleMap& xMap, const QwtScaleMap& yMap, int from,
                         int to, bool weedOut)
{
    if (from > to)
        return QPolygonF();
    if (weedOut && mapsIntoRows(index, xMap, yMap, from, to))
        return weededPolylineByRows(index, xMap, yMap, from, to);

    QPolygonF polyline(to - from + 1);
    QPointF* points = polyline.data();
    const ColumnMapper columns(index, xMap);
    int last = -1;
    double magnitude = 0.0;
    double previousX = std::numeric_limits<double>::quiet_NaN();
    double previousY = previousX;
    // One x per column run, found by bisection, so that only y is mapped per sample; a repeat is
    // written and then overwritten, which keeps the loop free of unpredictable branches.
    for (int first = from; first <= to;) {
        const int end = index.isSorted() ? columns.runEnd(first, to) : first;
        const double x = columns.column(first);
        magnitude = std::max(magnitude, std::fabs(x));
        if (!weedOut || x != previousX)
            previousY = std::numeric_limits<double>::quiet_NaN(); // nothing to repeat
        for (int i = first; i <= end; ++i) {
            const double y = aligned(yMap.transform(index.y(i)));
            magnitude = std::max(magnitude, std::fabs(y));
            points[last + 1] = QPointF(x, y);
            last += y == previousY ? 0 : 1;
            previousY = weedOut ? y : std::numeric_limits<double>::quiet_NaN();
        }
        previousX = x;
        first = end + 1;
    }
    if (weedOut && !(magnitude < ExactWeedLimit))
        return mappedPolylineQwtWeeding(index, xMap, yMap, from, to);
    polyline.resize(last + 1);
    return polyline;
}

namespace {

bool hasRepeats(const QPointF* points, int count)
{
    for (int i = 1; i < count; ++i) {
        if (points[i] == points[i - 1])
            return true;
    }
    return false;
}

// A piece that stays in one column covers exactly the rows between its lowest and highest point
// when it is stroked with both end caps, except that a short last step up to a new top can lose
// the top row; such pieces, closed ones (no caps) and ones with a degenerate segment (a repeated
// point, as unweeded polylines have) are kept as they are.
bool isVerticalPiece(const QPointF* points, int count)
{
    if (count < 2 || points[0] == points[count - 1] || hasRepeats(points, count))
        return false;
    double top = points[0].y();
    for (int i = 1; i < count; ++i) {
        if (points[i].x() != points[0].x())
            return false;
        top = std::min(top, points[i].y());
    }
    const double last = points[count - 1].y();
    const double previous = points[count - 2].y();
    return last > previous || last != top || previous - last >= 3.0;
}

class ColumnSpans
{
public:
    explicit ColumnSpans(QVector<QLineF>& lines) : m_lines(lines) {}
    ~ColumnSpans() { flush(); }

    void add(double x, double low, double high)
    {
        // Spans of one column that touch or overlap are one run of pixels.
        if (m_open && x == m_x && low <= m_high + 1.0 && high >= m_low - 1.0) {
            m_low = std::min(m_low, low);
            m_high = std::max(m_high, high);
            return;
        }
        flush();
        m_open = true;
        m_x = x;
        m_low = low;
        m_high = high;
    }

private:
    void flush()
    {
        if (m_open)
            m_lines.append(QLineF(m_x, m_low, m_x, m_high));
        m_open = false;
    }

    QVector<QLineF>& m_lines;
    bool m_open = false;
    double m_x = 0.0;
    double m_low = 0.0;
    double m_high = 0.0;
};

} // namespace

DecimatedPolyline decimatePolyline(const QPolygonF& polyline)
{
    DecimatedPolyline result;
    result.points = polyline;
    ColumnSpans spans(result.columns);
    const int count = polyline.size();
    // The pieces are those QwtPainter::drawPolyline strokes one by one on a raster device.
    for (int i = 0; i + 1 < count; i += QwtPieceSize) {
        const QPointF* piece = polyline.constData() + i;
        const int size = std::min(QwtPieceSize + 1, count - i);
        if (isVerticalPiece(piece, size)) {
            double low = piece[0].y();
            double high = low;
            for (int k = 1; k < size; ++k) {
                low = std::min(low, piece[k].y());
                high = std::max(high, piece[k].y());
            }
            spans.add(piece[0].x(), low, high);
        } else {
            result.pieceStarts.append(i);
        }
    }
    return result;
}

void drawDecimated(QPainter* painter, const DecimatedPolyline& polyline)
{
    painter->save();
    painter->setBrush(Qt::NoBrush);
    if (!polyline.columns.isEmpty())
        painter->drawLines(polyline.columns);
    const int count = polyline.points.size();
    for (const int start : polyline.pieceStarts)
        painter->drawPolyline(polyline.points.constData() + start, std::min(QwtPieceSize + 1, count - start));
    painter->restore();
}

std::pair<int, int> visibleRange(const YRangeIndex& index, const QwtScaleMap& xMap, double left, double right,
                                 int from, int to)
{
    const ColumnMapper mapper(index, xMap);
    const int first = firstWhere(from, to + 1, [&](int i) { return !(mapper.column(i) < left); });
    const int beyond = firstWhere(first, to + 1, [&](int i) { return !(mapper.column(i) <= right); });
    return std::make_pair(std::max(from, first - 1), std::min(to, beyond));
}

namespace {

// The raster engine strokes 0 and 1 px solid pens with its cosmetic stroker, pixel by pixel on the
// integer device grid; wider or fractional pens, dashes and translucency blend or cover differently.
bool isExactPen(const QPen& pen)
{
    return (pen.widthF() == 0.0 || pen.widthF() == 1.0) && pen.style() == Qt::SolidLine &&
           pen.capStyle() != Qt::FlatCap && pen.brush().style() == Qt::SolidPattern &&
           pen.color().alpha() == 255;
}

// Device coordinates are the painter's own, shifted by whole pixels at most: no scaling (HiDPI, a
// renderer's resolution), no fractional offset.
bool paintsOnPixelGrid(const QPainter& painter)
{
    const QTransform transform = painter.deviceTransform();
    const bool wholeShift = transform.type() <= QTransform::TxTranslate &&
                            transform.dx() == std::floor(transform.dx()) &&
                            transform.dy() == std::floor(transform.dy());
    return wholeShift && painter.device() && painter.device()->devicePixelRatioF() == 1.0;
}

bool isPlainRasterPainter(const QPainter& painter)
{
    return painter.paintEngine() && painter.paintEngine()->type() == QPaintEngine::Raster &&
           painter.compositionMode() == QPainter::CompositionMode_SourceOver && painter.opacity() == 1.0 &&
           !painter.testRenderHint(QPainter::Antialiasing);
}

} // namespace

bool canDrawDecimated(const QwtPlotCurve& curve, const QPainter* painter, const QwtScaleMap& xMap,
                      const QwtScaleMap& yMap, const YRangeIndex& index)
{
    const bool plainLines = curve.style() == QwtPlotCurve::Lines &&
                            !curve.testCurveAttribute(QwtPlotCurve::Fitted) &&
                            curve.brush().style() == Qt::NoBrush;
    const bool usableData = index.isSorted() && index.firstNonFinite() == index.size() &&
                            static_cast<size_t>(index.size()) == curve.dataSize();
    const bool linearMaps = !xMap.transformation() && !yMap.transformation();
    if (!plainLines || !usableData || !linearMaps || !painter || !painter->isActive())
        return false;
    QPainter* p = const_cast<QPainter*>(painter);
    return isExactPen(painter->pen()) && isPlainRasterPainter(*painter) && paintsOnPixelGrid(*painter) &&
           QwtPainter::roundingAlignment(p) && QwtPainter::polylineSplitting();
}

bool GeometryCache::Key::operator==(const Key& other) const
{
    return std::equal(x, x + 4, other.x) && std::equal(y, y + 4, other.y) && clipRect == other.clipRect &&
           from == other.from && to == other.to && clip == other.clip && weedOut == other.weedOut;
}

const DecimatedPolyline& GeometryCache::store(const Key& key, DecimatedPolyline geometry)
{
    m_key = key;
    m_geometry = std::move(geometry);
    m_valid = true;
    return m_geometry;
}

void GeometryCache::clear()
{
    m_valid = false;
    m_geometry = DecimatedPolyline();
}

QPolygonF clippedPolyline(const QRectF& rect, const QPolygonF& polyline)
{
    const double left = rect.x();
    const double right = rect.x() + rect.width();
    const double top = rect.y();
    const double bottom = rect.y() + rect.height();
    const auto inside = [&](const QPointF& point) {
        return point.x() >= left && point.x() <= right && point.y() >= top && point.y() <= bottom;
    };
    const int count = polyline.size();
    if (count < 3 || !std::all_of(polyline.cbegin() + 1, polyline.cend() - 1, inside))
        return QwtClipper::clipPolygonF(rect, polyline);
    if (inside(polyline.first()) && inside(polyline.last()))
        return polyline;

    QPolygonF clipped =
        QwtClipper::clipPolygonF(rect, QPolygonF(QVector<QPointF>{polyline.at(0), polyline.at(1)}));
    clipped.reserve(count + 2);
    std::copy(polyline.cbegin() + 2, polyline.cend() - 1, std::back_inserter(clipped));
    const QPolygonF tail =
        QwtClipper::clipPolygonF(rect, QPolygonF(QVector<QPointF>{polyline.at(count - 2), polyline.last()}));
    std::copy(tail.cbegin() + 1, tail.cend(), std::back_inserter(clipped));
    return clipped;
}

namespace {

// Everything the painted geometry depends on besides the samples (the maps are linear here).
GeometryCache::Key geometryKey(const QwtScaleMap& xMap, const QwtScaleMap& yMap, const QRectF& clipRect,
                               int from, int to, bool clip, bool weedOut)
{
    return GeometryCache::Key{{xMap.s1(), xMap.s2(), xMap.p1(), xMap.p2()},
                              {yMap.s1(), yMap.s2(), yMap.p1(), yMap.p2()},
                              clipRect,
                              from,
                              to,
                              clip,
                              weedOut};
}

DecimatedPolyline decimatedGeometry(const YRangeIndex& index, const QwtScaleMap& xMap,
                                    const QwtScaleMap& yMap, const QRectF& clipRect, int from, int to,
                                    bool clip, bool weedOut)
{
    // 1. Only the samples inside the clip rectangle, plus the neighbours whose lines cross its border.
    if (clip && ascendingMap(xMap)) {
        const std::pair<int, int> visible =
            visibleRange(index, xMap, clipRect.left(), clipRect.right(), from, to);
        from = visible.first;
        to = visible.second;
    }

    // 2. Mapped, rounded and weeded as Qwt's point mapper does, then clipped as the curve does.
    QPolygonF polyline = mappedPolyline(index, xMap, yMap, from, to, weedOut);
    if (clip)
        polyline = clippedPolyline(clipRect, polyline);

    // 3. The pieces Qwt would stroke, with the ones inside a single column merged.
    return decimatePolyline(polyline);
}

} // namespace

bool drawLines(const QwtPlotCurve& curve, const YRangeIndex& index, QPainter* painter,
               const QwtScaleMap& xMap, const QwtScaleMap& yMap, const QRectF& canvasRect, int from, int to,
               GeometryCache* cache)
{
    if (from > to || !canDrawDecimated(curve, painter, xMap, yMap, index))
        return false;

    const bool clip = curve.testPaintAttribute(QwtPlotCurve::ClipPolygons);
    const bool weedOut = curve.testPaintAttribute(QwtPlotCurve::FilterPoints);
    const qreal penWidth = qMax(qreal(1.0), painter->pen().widthF());
    const QRectF clipRect = canvasRect.adjusted(-penWidth, -penWidth, penWidth, penWidth);

    if (!cache) {
        drawDecimated(painter, decimatedGeometry(index, xMap, yMap, clipRect, from, to, clip, weedOut));
        return true;
    }
    const GeometryCache::Key key = geometryKey(xMap, yMap, clipRect, from, to, clip, weedOut);
    const DecimatedPolyline* geometry = cache->find(key);
    if (!geometry)
        geometry =
            &cache->store(key, decimatedGeometry(index, xMap, yMap, clipRect, from, to, clip, weedOut));
    drawDecimated(painter, *geometry);
    return true;
}

const YRangeIndex* CurveCache::current(const QwtSeriesData<QPointF>* series)
{
    if (m_index.describes(series))
        return &m_index;
    // New or changed samples: the painted geometry belongs to the old ones.
    m_geometry.clear();
    if (series && m_index.build(*series))
        return &m_index;
    m_index.clear();
    return nullptr;
}

const YRangeIndex* CurveCache::index(const PriceBased2dPlotCurve& curve)
{
    return curve.m_cache->current(curve.data());
}

YExtent CurveCache::yExtent(const PriceBased2dPlotCurve& curve, double left, double right)
{
    if (const YRangeIndex* samples = index(curve))
        return samples->extent(left, right);
    return curve.data() ? scanYExtent(*curve.data(), left, right) : YExtent();
}

bool CurveCache::drawLines(const PriceBased2dPlotCurve& curve, QPainter* painter, const QwtScaleMap& xMap,
                           const QwtScaleMap& yMap, const QRectF& canvasRect, int from, int to)
{
    const YRangeIndex* samples = index(curve);
    return samples && Plot2dSampling::drawLines(curve, *samples, painter, xMap, yMap, canvasRect, from, to,
                                                &curve.m_cache->m_geometry);
}

} // namespace Plot2dSampling
