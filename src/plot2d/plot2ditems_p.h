#pragma once

// Internal: scans of the items attached to a plot. The plot's own accessors and the tools share
// them, so a tool needs the plot's items, not the plot's implementation.

#include <QList>
#include <QRectF>

class PriceBased2dPlotCurve;
class QwtPlot;
class QwtPlotMarker;

namespace Plot2dCommon {

// The library's curves on the plot in attach order: every one for PriceBased2dPlotCurve::NotSet,
// else the valid ones of that data type.
QList<PriceBased2dPlotCurve*> attachedCurves(const QwtPlot& plot, int dataType);
// The plain markers that carry a symbol (the strikes' squares).
QList<QwtPlotMarker*> attachedMarkers(const QwtPlot& plot);
// Bounding rectangle of the visible curves except the current-quote line; a null rectangle at the
// origin when there are none.
QRectF curvesRectangle(const QwtPlot& plot);

} // namespace Plot2dCommon
