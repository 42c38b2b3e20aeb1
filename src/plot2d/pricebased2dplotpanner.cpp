#include "pricebased2dplotpanner.h"

#include "plot2dcommon.h"
#include "plot2ditems_p.h"
#include "pricebased2dplot.h"

#include <qwt_plot_canvas.h>
#include <qwt_scale_div.h>
#include <qwt_scale_map.h>

#include <QRectF>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double NoShift = std::numeric_limits<double>::max();

// Edges of a rectangle in plot coordinates: y grows upwards, so "high" is the upper value.
struct Bounds
{
    double left = 0.0;
    double right = 0.0;
    double low = 0.0;
    double high = 0.0;

    static Bounds fromRect(const QRectF& rect)
    {
        return {rect.x(), rect.x() + rect.width(), rect.y(), rect.y() + rect.height()};
    }
    double width() const { return right - left; }
    double height() const { return high - low; }
};

// R lies inside C when their intersection is R itself.
bool containsFuzzily(const Bounds& c, const Bounds& r)
{
    Bounds i;
    i.left = std::max(c.left, r.left);
    i.right = std::min(c.right, r.right);
    i.low = std::max(c.low, r.low);
    i.high = std::min(c.high, r.high);
    if (i.right < i.left || i.high < i.low)
        return false;
    return Plot2dCommon::fuzzyEqual(i.left, r.left) && Plot2dCommon::fuzzyEqual(i.low, r.low) &&
           Plot2dCommon::fuzzyEqual(i.width(), r.width()) && Plot2dCommon::fuzzyEqual(i.height(), r.height());
}

bool isFuzzyZeroShift(double shift)
{
    return Plot2dCommon::fuzzyEqual(shift + 1.0, 1.0);
}

// A candidate shift is taken only when it does not exceed the requested one.
double limitedShift(double requested, double candidate)
{
    return std::fabs(requested) < std::fabs(candidate) ? 0.0 : candidate;
}

} // namespace

PriceBased2dPlotPanner::PriceBased2dPlotPanner(QwtPlotCanvas* canvas) : QwtPlotPanner(canvas)
{
    m_plot = qobject_cast<PriceBased2dPlot*>(QwtPlotPanner::plot());
}

PriceBased2dPlotPanner::~PriceBased2dPlotPanner() = default;

void PriceBased2dPlotPanner::setAutoScaleEnabled(bool enabled)
{
    m_autoScaleEnabled = enabled;
}

bool PriceBased2dPlotPanner::autoScaleEnabled() const
{
    return m_autoScaleEnabled;
}

void PriceBased2dPlotPanner::moveCanvas(int dx, int dy)
{
    if (!m_plot)
        return;

    // 1. The view as it would be after the move.
    const QwtInterval xNow = m_plot->axisScaleDiv(QwtPlot::xBottom).interval();
    const QwtInterval yNow = m_plot->axisScaleDiv(QwtPlot::yLeft).interval();
    Bounds r{xNow.minValue(), xNow.maxValue(), yNow.minValue(), yNow.maxValue()};
    if (isAxisEnabled(QwtPlot::xBottom)) {
        const QwtScaleMap map = m_plot->canvasMap(QwtPlot::xBottom);
        r.left = map.invTransform(map.transform(xNow.minValue()) - dx);
        r.right = map.invTransform(map.transform(xNow.maxValue()) - dx);
    }
    if (isAxisEnabled(QwtPlot::yLeft)) {
        const QwtScaleMap map = m_plot->canvasMap(QwtPlot::yLeft);
        r.low = map.invTransform(map.transform(yNow.minValue()) - dy);
        r.high = map.invTransform(map.transform(yNow.maxValue()) - dy);
    }

    // 2. An inverted view never moves.
    if (r.width() <= 0.0 || r.height() < 0.0)
        return;

    // 3. The curves' extent; flat curves count as a band around their level.
    const QRectF curves = Plot2dCommon::curvesRectangle(*m_plot);
    if (curves.width() <= 0.0 || curves.height() < 0.0)
        return;
    Bounds c = Bounds::fromRect(curves);
    if (curves.height() == 0.0) {
        c.low -= r.height() / 4.0;
        c.high += r.height() / 4.0;
    }

    // 4. The view must keep some of the curves' price range.
    if (c.right < r.left || r.right < c.left)
        return;

    // 5. Free move inside the curves.
    if (containsFuzzily(c, r)) {
        carryOutMove(dx, dy);
        return;
    }

    // 6. Each direction is stopped just past the curves' edge.
    double sx = dx;
    double sy = dy;
    if (dx > 0 && r.left < c.left) {
        sx = 0.0;
        if (c.left < xNow.minValue())
            sx = limitedShift(dx, getShiftUntilValue(c.left, QwtPlot::xBottom, 0, dx));
    } else if (dx < 0 && c.right < r.right) {
        sx = 0.0;
        if (xNow.maxValue() < c.right)
            sx = limitedShift(dx, getShiftUntilValue(c.right, QwtPlot::xBottom, 1, dx));
    }
    if (dy > 0 && c.high < r.high) {
        sy = 0.0;
        if (yNow.maxValue() < c.high)
            sy = limitedShift(dy, getShiftUntilValue(c.high, QwtPlot::yLeft, 1, dy));
    } else if (dy < 0 && r.low < c.low) {
        sy = 0.0;
        if (c.low < yNow.minValue())
            sy = limitedShift(dy, getShiftUntilValue(c.low, QwtPlot::yLeft, 0, dy));
    }

    // 7. Nothing left to move.
    if (isFuzzyZeroShift(sx) && isFuzzyZeroShift(sy))
        return;

    // 8. Halves away from zero here, unlike the library's other roundings: a partial pixel of
    // allowed shift still moves the view.
    carryOutMove(static_cast<int>(std::round(sx)), static_cast<int>(std::round(sy)));
}

double PriceBased2dPlotPanner::getShiftUntilValue(double value, int axisId, int direction, double shift)
{
    if (!m_plot || !isAxisEnabled(axisId))
        return NoShift;
    const QwtScaleDiv& div = m_plot->axisScaleDiv(axisId);
    if (!Plot2dCommon::isUsableScaleDiv(div))
        return NoShift;
    if (direction != 0 && direction != 1)
        return NoShift;

    const QwtScaleMap map = m_plot->canvasMap(axisId);
    const double bound = direction == 0 ? div.lowerBound() : div.upperBound();
    const double pixel = map.transform(bound);
    const double margin = 0.1 * (div.upperBound() - div.lowerBound());

    // Coarse fractions first (0, 1; 0, 1/2, 1; ... ninths): the order is deliberate.
    for (int k = 1; k <= 9; ++k) {
        for (int j = 0; j <= k; ++j) {
            const double t = j * shift / k;
            const double v = map.invTransform(pixel - t);
            const bool justPast =
                direction == 0 ? (v < value && value - v < margin) : (v > value && v - value < margin);
            if (justPast)
                return t;
        }
    }
    return NoShift;
}

void PriceBased2dPlotPanner::carryOutMove(int dx, int dy)
{
    if (m_autoScaleEnabled)
        Q_EMIT autoScaleEnabled(false);
    QwtPlotPanner::moveCanvas(dx, dy);
    Q_EMIT updateLabels();
}
