#pragma once

// Internal to the library: neither installed nor part of the API.

#include <QLineF>
#include <QPointF>
#include <QPolygonF>
#include <QRectF>
#include <QVector>

#include <cstddef>
#include <limits>
#include <utility>

class QPainter;
class QwtPlotCurve;
class QwtScaleMap;
class PriceBased2dPlotCurve;
template <typename T>
class QwtSeriesData;

// Fast paths for dense curves: a per-curve index that answers the Y extent of an X window without a
// full scan, and per-pixel-column decimation of the painted polyline. Both give exactly what the
// plain algorithms give; they only skip work that cannot change the result.
namespace Plot2dSampling {

// What the Y extent scan of one curve contributes.
struct YExtent
{
    double min = std::numeric_limits<double>::max();
    double max = -std::numeric_limits<double>::max();
    bool nonFinite = false; // the scan reached a NaN or infinite sample: the whole extent is unusable
};

// The plain scan over the samples in order, stopping after the first sample beyond right; the
// reference the index must match.
YExtent scanYExtent(const QwtSeriesData<QPointF>& series, double left, double right);

// Y index of one sample series. It reads the samples where the series keeps them and holds a shallow
// copy of that storage: an implicitly shared block cannot be written while the copy lives, so the
// series is unchanged exactly while it still points at the same block.
class YRangeIndex
{
public:
    // Samples of one min/max leaf of the tree.
    static const int BlockSize = 16;

    // Indexes `series` if its storage can be watched (QwtPointSeriesData, QwtArraySeriesData<QPointF>,
    // QwtPointArrayData, exactly those types); otherwise the index stays empty and false is returned.
    bool build(const QwtSeriesData<QPointF>& series);
    void clear();
    // The index was built from `series` and the series has not changed since.
    bool describes(const QwtSeriesData<QPointF>* series) const;

    int size() const { return m_size; }
    // Index of the first sample with a NaN or infinite coordinate; size() when there is none.
    int firstNonFinite() const { return m_firstNonFinite; }
    // x ascends (ties allowed) over the samples before firstNonFinite().
    bool isSorted() const { return m_sorted; }
    const double& x(int i) const { return m_x[static_cast<std::ptrdiff_t>(i) * m_stride]; }
    const double& y(int i) const { return m_y[static_cast<std::ptrdiff_t>(i) * m_stride]; }
    const double* xData() const { return m_x; }
    const double* yData() const { return m_y; }
    int stride() const { return m_stride; }

    // Exactly scanYExtent() of the indexed series, in O(log n) when x ascends.
    YExtent extent(double left, double right) const;

    // y minimum and maximum of samples [from, to], both before firstNonFinite(); ties resolve to the
    // earlier sample as std::min and std::max do.
    std::pair<double, double> yMinMax(int from, int to) const;

    // The min/max tree over blocks of BlockSize samples: node i has the children 2i and 2i + 1, the
    // blocks are the leaves [blocks(), 2 * blocks()).
    int blocks() const { return m_treeMin.size() / 2; }
    double nodeMin(int node) const { return m_treeMin[node]; }
    double nodeMax(int node) const { return m_treeMax[node]; }

    // Memory the index holds beyond the series' own samples.
    std::size_t indexBytes() const;

private:
    void buildTree();
    int upperBound(double value) const;

    // Pins the series' storage (one of the two forms); never read directly.
    QVector<QPointF> m_points;
    QVector<double> m_xs;
    QVector<double> m_ys;
    const double* m_x = nullptr;
    const double* m_y = nullptr;
    int m_stride = 1;
    int m_size = 0;
    int m_firstNonFinite = 0;
    bool m_sorted = true;
    // Bottom-up trees over blocks of the finite prefix: leaves at [blocks, 2 * blocks).
    QVector<double> m_treeMin;
    QVector<double> m_treeMax;
};

// Samples [from, to] of the index mapped and rounded as Qwt's point mapper does for aligned painting,
// consecutive repeats dropped when `weedOut` is set (the curve's FilterPoints).
QPolygonF mappedPolyline(const YRangeIndex& index, const QwtScaleMap& xMap, const QwtScaleMap& yMap, int from,
                         int to, bool weedOut);

// QwtPainter strokes a polyline on a raster device in pieces of this many segments, each on its own.
const int QwtPieceSize = 6;

// A device polyline reduced to what its pieces paint: pieces that stay inside one pixel column
// become one vertical line per run of rows; the others are stroked as QwtPainter strokes them, each
// piece on its own, straight from the polyline.
struct DecimatedPolyline
{
    QVector<QLineF> columns;
    QPolygonF points;
    QVector<int> pieceStarts; // index in points of each piece kept as it is
};

// QwtClipper::clipPolygonF(rect, polyline) for an open polyline. The clipper keeps a point inside
// every edge as it is and treats each segment on its own, edge after edge, so where only the end
// points may lie outside (the neighbours a visible range keeps), the two end segments are clipped
// alone.
QPolygonF clippedPolyline(const QRectF& rect, const QPolygonF& polyline);

// Without antialiasing, drawDecimated(decimatePolyline(p)) paints exactly the pixels that
// QwtPainter::drawPolyline(p) paints with an opaque, solid, capped pen 0 or 1 px wide.
DecimatedPolyline decimatePolyline(const QPolygonF& polyline);
void drawDecimated(QPainter* painter, const DecimatedPolyline& polyline);

// The geometry a curve painted last, with everything it was computed from. A replot that changes
// none of it (a quote tick, the tracker, another curve shown or hidden) strokes it again without
// mapping a sample. The owner clears it whenever the samples change.
class GeometryCache
{
public:
    struct Key
    {
        double x[4] = {}; // s1, s2, p1, p2 of the x map
        double y[4] = {}; // the same of the y map
        QRectF clipRect;
        int from = 0;
        int to = -1;
        bool clip = false;
        bool weedOut = false;

        bool operator==(const Key& other) const;
    };

    const DecimatedPolyline* find(const Key& key) const
    {
        return m_valid && m_key == key ? &m_geometry : nullptr;
    }
    const DecimatedPolyline& store(const Key& key, DecimatedPolyline geometry);
    void clear();

private:
    bool m_valid = false;
    Key m_key;
    DecimatedPolyline m_geometry;
};

// The part of [from, to] whose device columns lie in [left, right], plus one neighbour on each side
// so that lines crossing the border stay. Needs isSorted() and an ascending map.
std::pair<int, int> visibleRange(const YRangeIndex& index, const QwtScaleMap& xMap, double left, double right,
                                 int from, int to);

// Whether drawLines() below paints this curve exactly like QwtPlotCurve::drawLines would.
bool canDrawDecimated(const QwtPlotCurve& curve, const QPainter* painter, const QwtScaleMap& xMap,
                      const QwtScaleMap& yMap, const YRangeIndex& index);

// QwtPlotCurve::drawLines for a plain line curve, touching only the visible samples and stroking far
// fewer segments. Returns false, painting nothing, when canDrawDecimated() does not hold: the caller
// then draws as usual. With a cache, an unchanged view reuses the geometry of the last call.
bool drawLines(const QwtPlotCurve& curve, const YRangeIndex& index, QPainter* painter,
               const QwtScaleMap& xMap, const QwtScaleMap& yMap, const QRectF& canvasRect, int from, int to,
               GeometryCache* cache = nullptr);

// A curve's derived state: the index of its current samples and the geometry it painted last.
// Whatever the series, both follow the samples as they are at the moment of use.
class CurveCache
{
public:
    // The curve's Y extent as scanYExtent() gives it, from the index where the series allows one.
    static YExtent yExtent(const PriceBased2dPlotCurve& curve, double left, double right);
    // Paints the curve's lines through the fast path; false when it does not apply (nothing painted).
    static bool drawLines(const PriceBased2dPlotCurve& curve, QPainter* painter, const QwtScaleMap& xMap,
                          const QwtScaleMap& yMap, const QRectF& canvasRect, int from, int to);
    // The index of the curve's current samples, or null when the series cannot be indexed.
    static const YRangeIndex* index(const PriceBased2dPlotCurve& curve);

private:
    const YRangeIndex* current(const QwtSeriesData<QPointF>* series);

    YRangeIndex m_index;
    GeometryCache m_geometry;
};

} // namespace Plot2dSampling
