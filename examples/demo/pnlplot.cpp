#include "pnlplot.h"

#include <plot2d/pricebased2dplotcurve.h>

#include <qwt_symbol.h>

#include <QPen>

PnlPlot::PnlPlot(const Portfolio& portfolio, QWidget* parent) : DeskPlot(portfolio, parent)
{
    setAxisTitle(QwtPlot::yLeft, tr("P&L"));
    addCurve(AtExpiry, tr("At expiry"), QColor(QStringLiteral("#1f4e9c")));
    addCurve(Today, tr("Today"), QColor(QStringLiteral("#1b7f3b")));
    addCurve(HalfTime, tr("Half time"), QColor(QStringLiteral("#d9822b")));
    addStrikesHeld();
    addQuoteLine();
}

double PnlPlot::valueAt(int type, double price)
{
    const double years = type == AtExpiry   ? 0.0
                         : type == HalfTime ? 0.5 * evaluationYears()
                                            : evaluationYears();
    return portfolio().value(price, years, evaluationVolatility());
}

void PnlPlot::addStrikesHeld()
{
    auto* markers = new PriceBased2dPlotCurve(this, tr("Strikes held"));
    markers->setDataType(StrikesHeld);
    markers->setStyle(QwtPlotCurve::Dots);
    const QColor color(QStringLiteral("#1b7f3b"));
    markers->setPen(QPen(color, 1.0));
    markers->setSymbol(new QwtSymbol(QwtSymbol::Rect, QBrush(color), QPen(color, 1.0), QSize(7, 7)));
    markers->setLegendAttribute(QwtPlotCurve::LegendShowSymbol, true);
    markers->attach(this);
}

void PnlPlot::updateExtraCurves()
{
    // The strikes sit on today's curve.
    QVector<PriceBased2dPlotPoint> points;
    for (double strike : portfolio().strikes()) {
        PriceBased2dPlotPoint point;
        point.point = QPointF(strike, valueAt(Today, strike));
        point.isMarker = true;
        points.append(point);
    }
    auto* markers = attachedCurves(StrikesHeld).value(0);
    if (markers)
        markers->setMarkerSamples(points);
}
