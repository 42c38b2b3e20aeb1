#pragma once

#include "plot2dglobal.h"
#include "pricebased2dplotconverter.h"

#include <qwt_plot_picker.h>
#include <qwt_text.h>

#include <QList>
#include <QPointF>

class PriceBased2dPlotCurve;
class QTimer;

// The plot's tracker: knows the futures' price step, turns widget points into (price, value),
// finds the curve point nearest to the mouse and renders the tracker text.
class PLOT2D_EXPORT PriceBased2dPlotPicker : public QwtPlotPicker, public virtual PriceBased2dPlotConverter
{
    Q_OBJECT

public:
    // Input of the nearest-point search.
    struct ClosestPointCalcParams
    {
        double xMin = 0.0;
        double xMax = 0.0;
        double yMin = 0.0;
        double yMax = 0.0;
        double dx = 0.0; // snapped mouse price - xMin
        double dy = 0.0; // mouse value - yMin
    };
    // Result of the nearest-point searches.
    struct ClosestPointInfo
    {
        PriceBased2dPlotCurve* curve = nullptr;
        double distance = -1.0;
        int index = -1;
    };

    // A picker on QwtPlot::xBottom and QwtPlot::yLeft of the plot owning `canvas`.
    explicit PriceBased2dPlotPicker(QWidget* canvas);
    ~PriceBased2dPlotPicker() override;

    void initTimer();
    QList<PriceBased2dPlotCurve*> usedCurves() const;
    ClosestPointInfo getClosestCurveParams(const QList<PriceBased2dPlotCurve*>& curves) const;
    ClosestPointInfo getClosestPointParams(const PriceBased2dPlotCurve* curve,
                                           const ClosestPointCalcParams& params) const;
    QPointF transformedPoint(const QPointF& point) const;
    QwtText renderedText(const QString& text) const;
    QwtText trackerText(const QPoint& pos) const override;

    double priceStep() const { return m_priceStep; }
    QTimer* timer() const { return m_timer; }
    double mousePrice() const { return m_mousePrice; }
    void setMousePrice(double price) { m_mousePrice = price; }
    double mouseValue() const { return m_mouseValue; }
    void setMouseValue(double value) { m_mouseValue = value; }
    QwtText storedTrackerText() const { return m_trackerText; }
    void setTrackerText(const QwtText& text) { m_trackerText = text; }

public Q_SLOTS:
    void setPriceStep();

private:
    double m_priceStep = -1.0;
    QTimer* m_timer = nullptr;
    double m_mousePrice = 0.0;
    double m_mouseValue = 0.0;
    QwtText m_trackerText;
};
