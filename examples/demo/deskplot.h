#pragma once

#include "portfolio.h"

#include <plot2d/pricebased2dplot.h>
#include <plot2d/pricebased2dplotpointmanager.h>

#include <QMap>
#include <QPointer>

class PriceBased2dPlotCurve;

// The desk's plot: the book's value at expiry, today and at half time, its delta, the strikes held
// and the current quote, evaluated at the prices the point manager gives.
class DeskPlot : public PriceBased2dPlot
{
    Q_OBJECT

public:
    enum CurveType
    {
        QuoteLine = 0,
        ValueAtExpiry = 9,
        ValueToday = 10,
        ValueHalfTime = 11,
        Delta = 12,
        StrikesHeld = 13,
    };

    explicit DeskPlot(const Portfolio& portfolio, QWidget* parent = nullptr);

    void setPointManager(PriceBased2dPlotPointManager* manager);
    PriceBased2dPlotPointManager* pointManager() const { return m_manager; }
    PriceBased2dPlotCurve* curve(CurveType type) const { return m_curves.value(type); }
    const Portfolio& portfolio() const { return m_portfolio; }

    // The futures quote the curves were last computed at (0 when none).
    double quote() const { return m_quote; }
    // Years from the futures' last trade time to the book's expiry.
    double yearsToExpiry() const;

    void updateCurves() override;
    // Shows the whole strike range and lets Y follow it.
    void resetView();

private:
    PriceBased2dPlotCurve* addCurve(CurveType type, const QString& title, const QColor& color);
    void addQuoteLine();
    void addStrikesHeld();
    void updateQuote();
    void setValueSamples(const QList<double>& prices, double volatility);
    void setStrikeSamples(double volatility);

    Portfolio m_portfolio;
    QPointer<PriceBased2dPlotPointManager> m_manager;
    QMap<int, PriceBased2dPlotCurve*> m_curves;
    double m_quote = 0.0;
};
