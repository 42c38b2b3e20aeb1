#pragma once

#include "plot2dglobal.h"

#include <qwt_plot_panner.h>

class PriceBased2dPlot;
class QwtPlotCanvas;

/// Canvas panner that never loses the curves (at most 10 % of the span beyond them) and owns the plot's
/// autoscale flag.
class PLOT2D_EXPORT PriceBased2dPlotPanner : public QwtPlotPanner
{
    Q_OBJECT

public:
    /// A panner on the canvas of a PriceBased2dPlot, with autoscale on.
    explicit PriceBased2dPlotPanner(QwtPlotCanvas* canvas);
    /// The canvas keeps its plot.
    ~PriceBased2dPlotPanner() override;

    /// Sets the autoscale flag; no signal.
    void setAutoScaleEnabled(bool enabled);
    /// Whether the Y axis follows the visible curves.
    bool autoScaleEnabled() const;

    /// Pans by a pixel offset, shortened so that the curves stay within reach.
    void moveCanvas(int dx, int dy) override;
    /// The part of a pixel shift that brings one bound of an axis just past `value`; the largest finite
    /// double when there is none.
    double getShiftUntilValue(double value, int axisId, int direction, double shift);

    /// The plot of the canvas; null on any other plot.
    PriceBased2dPlot* pricePlot() const { return m_plot; }

Q_SIGNALS:
    /// A pan was carried out: the axis labels must be recomputed.
    void updateLabels();
    /// Emitted with false when a pan is carried out while autoscale is on.
    void autoScaleEnabled(bool enable);

private:
    // Announces the end of autoscale, pans and asks for new labels.
    void carryOutMove(int dx, int dy);

    PriceBased2dPlot* m_plot = nullptr;
    bool m_autoScaleEnabled = true;
};
