#include "plot2ditems_p.h"

#include "pricebased2dplotcurve.h"

#include <qwt_plot.h>
#include <qwt_plot_marker.h>

#include <algorithm>
#include <limits>

namespace Plot2dCommon {

QList<PriceBased2dPlotCurve*> attachedCurves(const QwtPlot& plot, int dataType)
{
    QList<PriceBased2dPlotCurve*> curves;
    const QwtPlotItemList items = plot.itemList(QwtPlotItem::Rtti_PlotCurve);
    for (QwtPlotItem* item : items) {
        auto* curve = dynamic_cast<PriceBased2dPlotCurve*>(item);
        if (!curve)
            continue;
        if (dataType == PriceBased2dPlotCurve::NotSet ||
            (curve->dataType() == dataType && curve->isValidType(curve->dataType())))
            curves.append(curve);
    }
    return curves;
}

QList<QwtPlotMarker*> attachedMarkers(const QwtPlot& plot)
{
    QList<QwtPlotMarker*> markers;
    const QwtPlotItemList items = plot.itemList(QwtPlotItem::Rtti_PlotMarker);
    for (QwtPlotItem* item : items) {
        auto* marker = dynamic_cast<QwtPlotMarker*>(item);
        if (marker && marker->symbol())
            markers.append(marker);
    }
    return markers;
}

QRectF curvesRectangle(const QwtPlot& plot)
{
    const double doubleMax = std::numeric_limits<double>::max();
    double left = doubleMax;
    double top = doubleMax;
    double right = -doubleMax;
    double bottom = -doubleMax;

    const QwtPlotItemList items = plot.itemList(QwtPlotItem::Rtti_PlotCurve);
    for (QwtPlotItem* item : items) {
        const auto* curve = dynamic_cast<PriceBased2dPlotCurve*>(item);
        if (!curve || !curve->isVisible() || curve->dataType() == PriceBased2dPlotCurve::CurKotirLine)
            continue;
        const QRectF rect = curve->boundingRect();
        left = std::min(left, rect.left());
        top = std::min(top, rect.top());
        right = std::max(right, rect.left() + rect.width());
        bottom = std::max(bottom, rect.top() + rect.height());
    }

    if (left > right || top > bottom)
        return QRectF(0.0, 0.0, 0.0, 0.0);
    return QRectF(left, top, right - left, bottom - top);
}

} // namespace Plot2dCommon
