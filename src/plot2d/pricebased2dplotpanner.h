#pragma once

#include "plot2dglobal.h"

#include <qwt_plot_panner.h>

class PriceBased2dPlot;
class QwtPlotCanvas;

// Canvas panner that never loses the curves (at most 10 % of the span beyond them) and owns the
// plot's autoscale flag.
class PLOT2D_EXPORT PriceBased2dPlotPanner : public QwtPlotPanner
{
    Q_OBJECT

public:
    explicit PriceBased2dPlotPanner(QwtPlotCanvas* canvas);
    ~PriceBased2dPlotPanner() override;

    void setAutoScaleEnabled(bool enabled);
    bool autoScaleEnabled() const;

    void moveCanvas(int dx, int dy) override;
    double getShiftUntilValue(double value, int axisId, int direction, double shift);

    PriceBased2dPlot* pricePlot() const { return m_plot; }

Q_SIGNALS:
    void updateLabels();
    void autoScaleEnabled(bool enable);

private:
    // Announces the end of autoscale, pans and asks for new labels.
    void carryOutMove(int dx, int dy);

    PriceBased2dPlot* m_plot = nullptr;
    bool m_autoScaleEnabled = true;
};
