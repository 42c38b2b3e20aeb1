#pragma once

#include "decimal.h"
#include "plot2dglobal.h"

#include <qwt_scale_engine.h>

class PriceBased2dPlot;
class PriceBased2dPlotScaleDraw;

/// Scale engine of the price axis: the linear division, with a major tick moved onto the rescale factor's
/// price, and (on the left axis with autoscale off) refusal of narrowings that would thin out the labels.
class PLOT2D_EXPORT PriceBased2dPlotScaleEngine : public QwtLinearScaleEngine
{
public:
    /// An engine for `axis` of `plot`; reads the strikes' decimals from the plot's securities table.
    PriceBased2dPlotScaleEngine(PriceBased2dPlot* plot, int axis, unsigned int base = 10);
    /// Deleted by the plot it is installed on.
    ~PriceBased2dPlotScaleEngine() override;

    /// The linear division, aligned on the rescale factor; empty for non-finite bounds or step.
    QwtScaleDiv divideScale(double x1, double x2, int maxMajorSteps, int maxMinorSteps,
                            double stepSize = 0.0) const override;

    /// The plot whose axis the engine divides.
    PriceBased2dPlot* plot() const { return m_plot; }
    /// The axis the engine divides.
    int axis() const { return m_axis; }
    /// The price a major tick is aligned on; zero for none.
    decimal rescaleFactor() const { return m_rescaleFactor; }
    /// Sets the price a major tick is aligned on; zero switches alignment off.
    void setRescaleFactor(decimal factor) { m_rescaleFactor = factor; }
    /// Decimal places of the strikes; -1 when unknown, and alignment needs at least one.
    int strikeDecimals() const { return m_strikeDecimals; }
    /// The draw asked whether a division thins its labels; null when none.
    PriceBased2dPlotScaleDraw* scaleDraw() const { return m_scaleDraw; }
    /// Links the draw asked whether a division thins its labels (off by default).
    void setScaleDraw(PriceBased2dPlotScaleDraw* draw) { m_scaleDraw = draw; }

private:
    QwtScaleDiv stabilized(const QwtScaleDiv& div, double x1, double x2, int maxMajorSteps, int maxMinorSteps,
                           double stepSize) const;
    void alignOnRescaleFactor(QwtScaleDiv& div, double x1, double x2) const;

    PriceBased2dPlot* m_plot;
    int m_axis;
    decimal m_rescaleFactor;
    int m_strikeDecimals = -1;
    PriceBased2dPlotScaleDraw* m_scaleDraw = nullptr;
    // The last accepted request; reversed at start so that the first call accepts its own range.
    mutable double m_lastX1 = 2.0;
    mutable double m_lastX2 = 1.0;
    mutable int m_lastMaxMajorSteps = 0;
    mutable int m_lastMaxMinorSteps = 0;
    mutable double m_lastStepSize = 0.0;
};
