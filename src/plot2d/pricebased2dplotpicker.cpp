#include "pricebased2dplotpicker.h"

#include "plot2dcommon.h"
#include "pricebased2dplot.h"
#include "pricebased2dplotcurve.h"
#include "pricebased2dplotlegend.h"

#include "table.h"

#include <qwt_scale_div.h>
#include <qwt_scale_map.h>

#include <QApplication>
#include <QTimer>

#include <cmath>
#include <limits>

namespace {

constexpr int PriceStepRefreshMs = 1000;

bool isPickable(const PriceBased2dPlotCurve* curve)
{
    return curve && curve->isValid() && curve->isVisible() &&
           curve->dataType() != PriceBased2dPlotCurve::CurKotirLine;
}

// Offset of `value` from `reference`, both relative to `from`, in percent of `span`.
double percentOffset(double reference, double value, double from, double span)
{
    return reference * 100.0 / span - (value - from) * 100.0 / span;
}

} // namespace

PriceBased2dPlotPicker::PriceBased2dPlotPicker(QWidget* canvas)
    : QwtPlotPicker(QwtPlot::xBottom, QwtPlot::yLeft, canvas)
{}

PriceBased2dPlotPicker::~PriceBased2dPlotPicker() = default;

void PriceBased2dPlotPicker::initTimer()
{
    m_timer = new QTimer(this);
    m_timer->setInterval(PriceStepRefreshMs);
    setPriceStep();
    // The underlying's parameters can change while the plot is open.
    connect(m_timer, &QTimer::timeout, this, &PriceBased2dPlotPicker::setPriceStep);
    m_timer->start();
}

void PriceBased2dPlotPicker::setPriceStep()
{
    m_priceStep = -1.0;
    auto* pricePlot = qobject_cast<PriceBased2dPlot*>(plot());
    if (!pricePlot || !pricePlot->securitiesTable())
        return;
    Record future = pricePlot->getFuture();
    if (future.isNull())
        return;
    const Table* table = pricePlot->securitiesTable();
    m_priceStep =
        table->dataPtr(future, pricePlot->securitiesColumn(PriceBased2dPlot::SecPriceStep)).toDouble();
    table->freeRow(future);
}

QList<PriceBased2dPlotCurve*> PriceBased2dPlotPicker::usedCurves() const
{
    QList<PriceBased2dPlotCurve*> curves;
    const QwtPlot* thePlot = plot();
    if (!thePlot)
        return curves;
    const auto* legend = qobject_cast<const PriceBased2dPlotLegend*>(thePlot->legend());
    if (!legend)
        return curves;

    for (QwtPlotItem* item : thePlot->itemList(QwtPlotItem::Rtti_PlotCurve)) {
        auto* curve = dynamic_cast<PriceBased2dPlotCurve*>(item);
        if (!curve || !curve->isValid())
            continue;
        bool found = false;
        const bool checked = legend->isCheckBoxChecked(curve->title().text(), &found);
        if (checked && found)
            curves.append(curve);
    }
    return curves;
}

PriceBased2dPlotPicker::ClosestPointInfo
PriceBased2dPlotPicker::getClosestCurveParams(const QList<PriceBased2dPlotCurve*>& curves) const
{
    ClosestPointInfo result;
    const QwtPlot* thePlot = plot();
    if (!thePlot)
        return result;
    const QwtInterval x = thePlot->axisScaleDiv(QwtPlot::xBottom).interval();
    const QwtInterval y = thePlot->axisScaleDiv(QwtPlot::yLeft).interval();

    // Without a usable price step no curve point can be picked; this also keeps the division
    // below finite.
    if (m_priceStep < 0.0 || Plot2dCommon::fuzzyEqual(m_priceStep + 1.0, 1.0))
        return result;
    const double snappedPrice = Plot2dCommon::roundHalfUp(m_mousePrice / m_priceStep) * m_priceStep;

    ClosestPointCalcParams params;
    params.xMin = x.minValue();
    params.xMax = x.maxValue();
    params.yMin = y.minValue();
    params.yMax = y.maxValue();
    params.dx = snappedPrice - params.xMin;
    params.dy = m_mouseValue - params.yMin;

    double best = std::numeric_limits<double>::max();
    for (PriceBased2dPlotCurve* curve : curves) {
        if (!isPickable(curve))
            continue;
        const ClosestPointInfo point = getClosestPointParams(curve, params);
        if (point.distance >= 0.0 && point.distance < best) {
            best = point.distance;
            result.curve = curve;
            result.index = point.index;
        }
    }
    // The distance stays -1 on purpose: callers rely on the index only.
    return result;
}

PriceBased2dPlotPicker::ClosestPointInfo
PriceBased2dPlotPicker::getClosestPointParams(const PriceBased2dPlotCurve* curve,
                                              const ClosestPointCalcParams& params) const
{
    const ClosestPointInfo none;
    if (!curve || curve->dataSize() == 0)
        return none;
    if (m_priceStep < 0.0 || Plot2dCommon::fuzzyEqual(m_priceStep + 1.0, 1.0))
        return none;
    if (!(params.xMin < params.xMax && params.yMin <= params.yMax))
        return none;

    const double xSpan = params.xMax - params.xMin;
    const double ySpan = params.yMax - params.yMin;
    double best = std::numeric_limits<double>::max();
    int index = -1;
    for (size_t i = 0; i < curve->dataSize(); ++i) {
        const QPointF p = curve->sample(static_cast<int>(i));
        const bool visible =
            params.xMin <= p.x() && p.x() <= params.xMax && params.yMin <= p.y() && p.y() <= params.yMax;
        if (!visible)
            continue;
        const double ex = percentOffset(params.dx, p.x(), params.xMin, xSpan);
        // A flat Y range has no percentage; dy then counts as it is.
        const double ey =
            params.yMax != params.yMin ? percentOffset(params.dy, p.y(), params.yMin, ySpan) : params.dy;
        const double distance = std::fabs(ex) + std::fabs(ey);
        if (distance < best) {
            best = distance;
            index = static_cast<int>(i);
        }
    }
    if (index < 0)
        return none;
    ClosestPointInfo result;
    result.distance = best;
    result.index = index;
    return result;
}

QPointF PriceBased2dPlotPicker::transformedPoint(const QPointF& point) const
{
    const QwtPlot* thePlot = plot();
    if (!thePlot)
        return QPointF();
    return QwtScaleMap::invTransform(thePlot->canvasMap(xAxis()), thePlot->canvasMap(yAxis()), point);
}

QwtText PriceBased2dPlotPicker::renderedText(const QString& text) const
{
    if (text.isEmpty())
        return QwtText();

    QFont font = plot() ? plot()->font() : QApplication::font();
    font.setPointSize(Plot2dCommon::roundHalfUp(1.2 * QApplication::font().pointSize()));
    QwtText rendered(text, QwtText::AutoText);
    rendered.setFont(font);
    // Left-aligned; the vertical alignment is kept.
    rendered.setRenderFlags((rendered.renderFlags() & ~(Qt::AlignLeft | Qt::AlignHCenter)) | Qt::AlignLeft);
    return rendered;
}

QwtText PriceBased2dPlotPicker::trackerText(const QPoint& pos) const
{
    Q_UNUSED(pos)
    return m_trackerText;
}
