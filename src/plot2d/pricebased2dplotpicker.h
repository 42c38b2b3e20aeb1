#pragma once

#include "plot2dglobal.h"
#include "pricebased2dplotconverter.h"

#include <qwt_plot_picker.h>
#include <qwt_text.h>

#include <QList>
#include <QPointF>

class PriceBased2dPlotCurve;
class QTimer;

/// The plot's tracker: knows the futures' price step, turns widget points into (price, value), finds the
/// curve point nearest to the mouse and renders the tracker text.
class PLOT2D_EXPORT PriceBased2dPlotPicker : public QwtPlotPicker, public virtual PriceBased2dPlotConverter
{
    Q_OBJECT

public:
    /// Input of the nearest-point search: the visible ranges and the mouse's offset in them.
    struct ClosestPointCalcParams
    {
        /// Lower end of the visible prices.
        double xMin = 0.0;
        /// Upper end of the visible prices.
        double xMax = 0.0;
        /// Lower end of the visible values.
        double yMin = 0.0;
        /// Upper end of the visible values.
        double yMax = 0.0;
        double dx = 0.0; ///< Snapped mouse price - xMin.
        double dy = 0.0; ///< Mouse value - yMin.
    };
    /// Result of the nearest-point searches.
    struct ClosestPointInfo
    {
        /// The nearest curve; null when none.
        PriceBased2dPlotCurve* curve = nullptr;
        /// Its distance from the mouse in percent of the visible ranges; -1 when none (and from
        /// getClosestCurveParams(), whose callers need the index only).
        double distance = -1.0;
        /// Index of the nearest sample; -1 when none.
        int index = -1;
    };

    /// A picker on QwtPlot::xBottom and QwtPlot::yLeft of the plot owning `canvas`.
    explicit PriceBased2dPlotPicker(QWidget* canvas);
    /// Its timer goes with it.
    ~PriceBased2dPlotPicker() override;

    /// Starts the one-second timer that re-reads the price step.
    void initTimer();
    /// The curves whose legend row is ticked: the ones the tracker may point at.
    QList<PriceBased2dPlotCurve*> usedCurves() const;
    /// The curve and sample nearest to the mouse among `curves`.
    ClosestPointInfo getClosestCurveParams(const QList<PriceBased2dPlotCurve*>& curves) const;
    /// The sample of one curve nearest to the mouse.
    ClosestPointInfo getClosestPointParams(const PriceBased2dPlotCurve* curve,
                                           const ClosestPointCalcParams& params) const;
    /// A widget point in plot coordinates, its price snapped to the price step.
    QPointF transformedPoint(const QPointF& point) const;
    /// `text` in the tracker's font and colour.
    QwtText renderedText(const QString& text) const;
    /// The stored tracker text, whatever the point.
    QwtText trackerText(const QPoint& pos) const override;

    /// The futures' price step; -1 when unknown.
    double priceStep() const { return m_priceStep; }
    /// The price-step refresh timer; null before initTimer().
    QTimer* timer() const { return m_timer; }
    /// The mouse's snapped price.
    double mousePrice() const { return m_mousePrice; }
    /// Stores the mouse's snapped price.
    void setMousePrice(double price) { m_mousePrice = price; }
    /// The mouse's value on the Y axis.
    double mouseValue() const { return m_mouseValue; }
    /// Stores the mouse's value on the Y axis.
    void setMouseValue(double value) { m_mouseValue = value; }
    /// The text the tracker shows.
    QwtText storedTrackerText() const { return m_trackerText; }
    /// Sets the text the tracker shows.
    void setTrackerText(const QwtText& text) { m_trackerText = text; }

public Q_SLOTS:
    /// Re-reads the price step from the plot's futures record; the underlying's parameters can change while
    /// the plot is open.
    void setPriceStep();

private:
    double m_priceStep = -1.0;
    QTimer* m_timer = nullptr;
    double m_mousePrice = 0.0;
    double m_mouseValue = 0.0;
    QwtText m_trackerText;
};
