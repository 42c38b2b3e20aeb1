#include "greeksplot.h"

GreeksPlot::GreeksPlot(const Portfolio& portfolio, QWidget* parent) : DeskPlot(portfolio, parent)
{
    setAxisTitle(QwtPlot::yLeft, tr("Greeks"));
    setAxisTitle(QwtPlot::xBottom, tr("Futures price"));
    addCurve(Delta, tr("Delta"), QColor(QStringLiteral("#7b3f9e")));
    addCurve(Gamma, tr("Gamma"), QColor(QStringLiteral("#a0522d")), Qt::DashLine);
    addCurve(Vega, tr("Vega"), QColor(QStringLiteral("#16808c")));
    addCurve(Theta, tr("Theta"), QColor(QStringLiteral("#6b6b6b")), Qt::DashLine);
    addQuoteLine();
}

double GreeksPlot::valueAt(int type, double price)
{
    const Portfolio& book = portfolio();
    const double years = evaluationYears();
    const double volatility = evaluationVolatility();
    switch (type) {
    case Delta:
        return book.delta(price, years, volatility);
    case Gamma:
        return book.gamma(price, years, volatility);
    case Vega:
        return book.vega(price, years, volatility);
    default:
        return book.theta(price, years, volatility);
    }
}
