#pragma once

#include "decimal.h"
#include "plot2dglobal.h"

#include <qwt_scale_engine.h>

class PriceBased2dPlot;
class PriceBased2dPlotScaleDraw;

// Scale engine of the price axis: the linear division, with a major tick moved onto the rescale
// factor's price, and (on the left axis with autoscale off) refusal of narrowings that would thin
// out the labels.
class PLOT2D_EXPORT PriceBased2dPlotScaleEngine : public QwtLinearScaleEngine
{
public:
    PriceBased2dPlotScaleEngine(PriceBased2dPlot* plot, int axis, unsigned int base = 10);
    ~PriceBased2dPlotScaleEngine() override;

    QwtScaleDiv divideScale(double x1, double x2, int maxMajorSteps, int maxMinorSteps,
                            double stepSize = 0.0) const override;

    PriceBased2dPlot* plot() const { return m_plot; }
    int axis() const { return m_axis; }
    decimal rescaleFactor() const { return m_rescaleFactor; }
    void setRescaleFactor(decimal factor) { m_rescaleFactor = factor; }
    int strikeDecimals() const { return m_strikeDecimals; }
    PriceBased2dPlotScaleDraw* scaleDraw() const { return m_scaleDraw; }
    // Links the draw asked whether a division thins its labels (off by default).
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
