#pragma once

#include "portfolio.h"
#include "priceformat.h"

#include <plot2d/pricebased2dplot.h>
#include <plot2d/pricebased2dplotpointmanager.h>

#include <QJsonObject>
#include <QMap>
#include <QPointer>

class PriceBased2dPlotCurve;

// A plot of the desk: curves of the option book evaluated at the prices the point manager gives,
// and the red quote line. It carries out what every host of PriceBased2dPlot must do: repaint
// the price axis after a quote change, relayout the labels after a resize, and keep the axis
// quote at zero while the quote line is hidden.
class DeskPlot : public PriceBased2dPlot
{
    Q_OBJECT

public:
    // Data types of the curves; the library reserves 0 for the quote line and 9 to 13 for data.
    enum CurveType
    {
        QuoteLine = 0,
        FirstValue = 9,
        LastValue = 12,
        Markers = 13,
    };

    DeskPlot(const Portfolio& portfolio, QWidget* parent = nullptr);

    void setPointManager(PriceBased2dPlotPointManager* manager) { m_manager = manager; }
    PriceBased2dPlotCurve* curve(int type) const { return m_curves.value(type); }
    QList<PriceBased2dPlotCurve*> valueCurves() const;
    const Portfolio& portfolio() const { return m_portfolio; }

    // The futures quote the curves were last computed at (0 when none).
    double quote() const { return m_quote; }
    // The middle of the futures' volatility range, which the book is priced at.
    double volatility();
    // Years from the futures' last trade time to the book's expiry.
    double yearsToExpiry() const;
    // Prices with the decimals of the futures' price step, as of the last update.
    PriceFormat priceFormat() const { return m_priceFormat; }

    // The value a curve of `type` shows at `price`, computed exactly, not read off the samples.
    virtual double valueAt(int type, double price) = 0;
    // Decimals of the values in readouts.
    virtual int valueDecimals() const = 0;

    void updateCurves() override;
    // Shows the whole strike range and lets Y follow it.
    void resetView();
    // The axis quote follows the quote line's visibility; call after the legend changed it.
    void syncQuoteLabel();

    // Axis ranges, labels and the quote as last painted, for the desk's state dump.
    QJsonObject state() const;

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    PriceBased2dPlotCurve* addCurve(int type, const QString& title, const QColor& color,
                                    Qt::PenStyle style = Qt::SolidLine);
    void addQuoteLine();
    // Called after the value curves got their samples.
    virtual void updateExtraCurves() {}
    // Inputs of the last evaluation.
    double evaluationYears() const { return m_years; }
    double evaluationVolatility() const { return m_volatility; }

private:
    void setValueSamples(const QList<double>& prices);
    PriceFormat futuresPriceFormat() const;

    Portfolio m_portfolio;
    QPointer<PriceBased2dPlotPointManager> m_manager;
    QMap<int, PriceBased2dPlotCurve*> m_curves;
    double m_quote = 0.0;
    double m_axisQuote = -1.0;
    // Evaluation inputs of the current update.
    double m_years = 0.0;
    double m_volatility = 0.0;
    PriceFormat m_priceFormat;
    bool m_replotPending = false;
};
