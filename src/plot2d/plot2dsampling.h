#pragma once

#include "plot2dglobal.h"

#include <QLineF>
#include <QPainterPath>
#include <QPointF>
#include <QPolygonF>
#include <QRectF>
#include <QVector>

#include <limits>
#include <utility>

class QPainter;
class QRectF;
class QwtPlotCurve;
class QwtScaleMap;
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
    bool counted = false;   // the scan cleared the plot's nothing-counted flag
};

// The scan's window test: x inside [left, right] or fuzzy equal to either end.
PLOT2D_EXPORT bool xInWindow(double x, double left, double right);

// The plain scan over the samples in order, stopping after the first sample beyond right; the
// reference the index must match.
PLOT2D_EXPORT YExtent scanYExtent(const QwtSeriesData<QPointF>& series, double left, double right);

// Folds one curve's extent into a running one in curve order, as the scan over all curves does.
PLOT2D_EXPORT void accumulate(YExtent& total, const YExtent& curve);

// Y index of one sample series, built once per change of samples.
class PLOT2D_EXPORT YRangeIndex
{
public:
    YRangeIndex() = default;
    explicit YRangeIndex(const QwtSeriesData<QPointF>& series);

    void build(const QwtSeriesData<QPointF>& series);
    void clear();

    int size() const { return m_x.size(); }
    // Index of the first sample with a NaN or infinite coordinate; size() when there is none.
    int firstNonFinite() const { return m_firstNonFinite; }
    // x ascends (ties allowed) over the samples before firstNonFinite().
    bool isSorted() const { return m_sorted; }
    double x(int i) const { return m_x[i]; }
    double y(int i) const { return m_y[i]; }
    const double* yData() const { return m_y.constData(); }

    // Exactly scanYExtent() of the indexed series, in O(log n) when x ascends.
    YExtent extent(double left, double right) const;

    // y minimum and maximum of samples [from, to], both before firstNonFinite(); ties resolve to the
    // earlier sample as std::min and std::max do.
    std::pair<double, double> yMinMax(int from, int to) const;

    // First index in [0, firstNonFinite()) with x >= value, on a sorted index.
    int lowerBound(double value) const;
    // First index in [0, firstNonFinite()) with x > value, on a sorted index.
    int upperBound(double value) const;

private:
    YExtent linearExtent(double left, double right) const;
    void buildTree();

    QVector<double> m_x;
    QVector<double> m_y;
    // Bottom-up segment trees over [0, firstNonFinite()): leaves at [n, 2n).
    QVector<double> m_treeMin;
    QVector<double> m_treeMax;
    int m_firstNonFinite = 0;
    bool m_sorted = true;
};

// Qwt's rounding of mapped coordinates when painting aligned (halves away from zero).
PLOT2D_EXPORT double alignedValue(double value);

// Samples [from, to] of the index mapped and rounded as Qwt's point mapper does for aligned painting,
// consecutive repeats dropped when `weedOut` is set (the curve's FilterPoints).
PLOT2D_EXPORT QPolygonF mappedPolyline(const YRangeIndex& index, const QwtScaleMap& xMap,
                                       const QwtScaleMap& yMap, int from, int to, bool weedOut);

// QwtPainter strokes a polyline on a raster device in pieces of this many segments, each on its own.
const int QwtPieceSize = 6;

// A device polyline reduced to what its pieces paint: pieces that stay inside one pixel column
// become one vertical line per run of rows, the others are kept as subpaths (or, when they repeat a
// point, which a path would drop, as polylines of their own).
struct DecimatedPolyline
{
    QVector<QLineF> columns;
    QPainterPath pieces;
    QVector<QPolygonF> polylines;
};

// Without antialiasing, drawDecimated(decimatePolyline(p)) paints exactly the pixels that
// QwtPainter::drawPolyline(p) paints with an opaque, solid, capped pen at most 1 px wide.
PLOT2D_EXPORT DecimatedPolyline decimatePolyline(const QPolygonF& polyline);
PLOT2D_EXPORT void drawDecimated(QPainter* painter, const DecimatedPolyline& polyline);

// The geometry a curve painted last, with everything it was computed from. A replot that changes
// none of it (a quote tick, the tracker, another curve shown or hidden) strokes it again without
// mapping a sample. The owner clears it whenever the samples change.
class PLOT2D_EXPORT GeometryCache
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
PLOT2D_EXPORT std::pair<int, int> visibleRange(const YRangeIndex& index, const QwtScaleMap& xMap, double left,
                                               double right, int from, int to);

// Whether drawLines() below paints this curve exactly like QwtPlotCurve::drawLines would.
PLOT2D_EXPORT bool canDrawDecimated(const QwtPlotCurve& curve, const QPainter* painter,
                                    const YRangeIndex& index);

// QwtPlotCurve::drawLines for a plain line curve (no fitter, no brush, pen at most 1 px, aligned
// raster painter), touching only the visible samples and stroking far fewer segments. Returns false,
// painting nothing, when canDrawDecimated() does not hold: the caller then draws as usual.
// With a cache, an unchanged view reuses the geometry of the last call.
PLOT2D_EXPORT bool drawLines(const QwtPlotCurve& curve, const YRangeIndex& index, QPainter* painter,
                             const QwtScaleMap& xMap, const QwtScaleMap& yMap, const QRectF& canvasRect,
                             int from, int to, GeometryCache* cache = nullptr);

} // namespace Plot2dSampling
