#include "pricebased2dplotscaleengine.h"

#include "dbcommon.h"
#include "field.h"
#include "plot2dcommon.h"
#include "pricebased2dplot.h"
#include "pricebased2dplotscaledraw.h"
#include "table.h"

#include <qwt_scale_div.h>

#include <cmath>
#include <limits>

PriceBased2dPlotScaleEngine::PriceBased2dPlotScaleEngine(PriceBased2dPlot* plot, int axis, unsigned int base)
    : QwtLinearScaleEngine(base), m_plot(plot), m_axis(axis)
{
    const Table* table = m_plot ? m_plot->securitiesTable() : nullptr;
    if (!table)
        return;
    for (const FieldDef& def : table->fieldDefs()) {
        if (def.name == QLatin1String("strike")) {
            m_strikeDecimals = def.decimals();
            break;
        }
    }
}

PriceBased2dPlotScaleEngine::~PriceBased2dPlotScaleEngine() = default;

QwtScaleDiv PriceBased2dPlotScaleEngine::divideScale(double x1, double x2, int maxMajorSteps,
                                                     int maxMinorSteps, double stepSize) const
{
    // Qwt builds minor ticks without end from a NaN or infinite step or bound: nothing to divide.
    if (!std::isfinite(x1) || !std::isfinite(x2) || !std::isfinite(stepSize))
        return QwtScaleDiv();
    QwtScaleDiv div = QwtLinearScaleEngine::divideScale(x1, x2, maxMajorSteps, maxMinorSteps, stepSize);
    if (m_axis == QwtPlot::yLeft && m_plot && !m_plot->autoScaleEnabled() && m_scaleDraw)
        div = stabilized(div, x1, x2, maxMajorSteps, maxMinorSteps, stepSize);
    alignOnRescaleFactor(div, x1, x2);
    return div;
}

QwtScaleDiv PriceBased2dPlotScaleEngine::stabilized(const QwtScaleDiv& div, double x1, double x2,
                                                    int maxMajorSteps, int maxMinorSteps,
                                                    double stepSize) const
{
    const double width = div.interval().width();
    const double lastWidth = m_lastX2 - m_lastX1;
    const bool reuseLast = lastWidth > width && !commonFuzzyCompare(width, lastWidth) &&
                           m_scaleDraw->ticksShrinked(div) && m_lastX2 > m_lastX1 &&
                           m_lastMaxMajorSteps >= 1 && m_lastMaxMinorSteps >= 1 &&
                           (m_lastStepSize > 0.0 || Plot2dCommon::isNearZero(m_lastStepSize));
    if (reuseLast) {
        // The narrowing would thin the labels out: keep the last accepted range.
        return QwtLinearScaleEngine::divideScale(m_lastX1, m_lastX2, m_lastMaxMajorSteps, m_lastMaxMinorSteps,
                                                 m_lastStepSize);
    }
    m_lastX1 = x1;
    m_lastX2 = x2;
    m_lastMaxMajorSteps = maxMajorSteps;
    m_lastMaxMinorSteps = maxMinorSteps;
    m_lastStepSize = stepSize;
    return div;
}

void PriceBased2dPlotScaleEngine::alignOnRescaleFactor(QwtScaleDiv& div, double x1, double x2) const
{
    // 1. A "strike" field without decimals switches the alignment off on purpose.
    if (m_rescaleFactor.isZero() || div.isEmpty() || m_strikeDecimals < 1)
        return;

    // 2. A factor within one unit of its last decimal place of an integer is that integer.
    double factor = m_rescaleFactor.toDouble();
    const double rounded = Plot2dCommon::roundHalfUp(factor);
    if (std::fabs(factor - rounded) < 1.0 / std::pow(10.0, m_strikeDecimals))
        factor = rounded;

    // 3. Only the bounds of this request count; a factor on a bound is accepted.
    if (factor < x1 || factor > x2)
        return;

    // 4-5. The nearest major tick (the earlier one on a tie), unless one already stands there.
    const double maxDouble = std::numeric_limits<double>::max();
    double nearest = maxDouble;
    double nearestDistance = maxDouble;
    double largest = -maxDouble;
    for (double tick : div.ticks(QwtScaleDiv::MajorTick)) {
        if (Plot2dCommon::fuzzyEqual(tick, factor))
            return;
        const double distance = std::fabs(tick - factor);
        if (distance < nearestDistance) {
            nearestDistance = distance;
            nearest = tick;
        }
        largest = std::max(largest, tick);
    }
    if (nearest > largest)
        return;

    // 6-7. Every level moves by the same offset; ticks on or beyond a bound are dropped, the
    // interval stays.
    const double delta = nearest - factor;
    for (int type = QwtScaleDiv::MinorTick; type <= QwtScaleDiv::MajorTick; ++type) {
        QList<double> shifted;
        for (double tick : div.ticks(type)) {
            const double moved = tick - delta;
            if (x1 < moved && moved < x2)
                shifted.append(moved);
        }
        div.setTicks(type, shifted);
    }
}
