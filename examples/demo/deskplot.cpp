#include "deskplot.h"

#include <plot2d/platform.h>
#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotpointmanager.h>
#include <plot2d/pricebased2dplotscaledraw.h>

#include <qwt_plot_grid.h>
#include <qwt_symbol.h>

#include <QPen>

#include <cmath>
#include <functional>

namespace {

constexpr double MillisecondsPerYear = 365.0 * 24 * 3600 * 1000;
const QSize LegendIconSize(24, 10);

QVector<QPointF> samplesOf(const QList<double>& prices, const std::function<double(double)>& valueAt)
{
    QVector<QPointF> samples;
    samples.reserve(prices.size());
    for (double price : prices)
        samples.append(QPointF(price, valueAt(price)));
    return samples;
}

} // namespace

DeskPlot::DeskPlot(const Portfolio& portfolio, QWidget* parent)
    : PriceBased2dPlot(true, parent), m_portfolio(portfolio)
{
    setCanvasBackground(Qt::white);
    setAxisTitle(QwtPlot::xBottom, tr("Futures price"));
    setAxisTitle(QwtPlot::yLeft, tr("Profit and loss per contract"));
    auto* grid = new QwtPlotGrid;
    grid->attach(this);
    setGridEnabled(false);

    addCurve(ValueAtExpiry, tr("At expiry"), QColor(QStringLiteral("#1f4e9c")));
    addCurve(ValueToday, tr("Today"), QColor(QStringLiteral("#1b7f3b")));
    addCurve(ValueHalfTime, tr("Half time"), QColor(QStringLiteral("#d9822b")));
    PriceBased2dPlotCurve* delta = addCurve(Delta, tr("Delta"), QColor(QStringLiteral("#7b3f9e")));
    QPen dashed = delta->pen();
    dashed.setStyle(Qt::DashLine);
    delta->setPen(dashed);
    addStrikesHeld();
    addQuoteLine();
    setCurKotirEnabled(true);
}

PriceBased2dPlotCurve* DeskPlot::addCurve(CurveType type, const QString& title, const QColor& color)
{
    auto* curve = new PriceBased2dPlotCurve(this, title);
    curve->setDataType(type);
    curve->setStyle(QwtPlotCurve::Lines);
    curve->setPen(QPen(color, 2.0));
    curve->setRenderHint(QwtPlotItem::RenderAntialiased, true);
    curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
    curve->setLegendIconSize(LegendIconSize);
    curve->attach(this);
    m_curves.insert(type, curve);
    return curve;
}

void DeskPlot::addStrikesHeld()
{
    auto* curve = new PriceBased2dPlotCurve(this, tr("Strikes held"));
    curve->setDataType(StrikesHeld);
    curve->setStyle(QwtPlotCurve::Dots);
    const QColor color(QStringLiteral("#1b7f3b"));
    curve->setPen(QPen(color, 1.0));
    curve->setSymbol(new QwtSymbol(QwtSymbol::Rect, QBrush(color), QPen(color, 1.0), QSize(7, 7)));
    curve->setLegendAttribute(QwtPlotCurve::LegendShowSymbol, true);
    curve->attach(this);
    m_curves.insert(StrikesHeld, curve);
}

void DeskPlot::addQuoteLine()
{
    auto* line = new PriceBased2dPlotCurve(this, tr("Quote"));
    line->setDataType(QuoteLine);
    line->setStyle(QwtPlotCurve::Sticks);
    line->setPen(QPen(QColor(Qt::red), 1.0));
    line->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
    line->setLegendIconSize(LegendIconSize);
    // The line always holds two samples; the plot moves and stretches them.
    line->setSamples(QVector<QPointF>{{0.0, 0.0}, {0.0, 1.0}});
    line->attach(this);
    m_curves.insert(QuoteLine, line);
}

void DeskPlot::setPointManager(PriceBased2dPlotPointManager* manager)
{
    m_manager = manager;
}

double DeskPlot::yearsToExpiry() const
{
    const Record future = getFuture();
    const int lasttime = securitiesColumn(SecLasttime);
    if (future.isNull() || lasttime < 0 || m_portfolio.expiry() == 0)
        return 0.0;
    const qint64 now = securitiesTable()->dataPtr(future, lasttime).toDatetime().toMSecsSinceEpoch();
    return std::max(0.0, (m_portfolio.expiry() - now) / MillisecondsPerYear);
}

void DeskPlot::updateQuote()
{
    m_quote = getKotirFromFutureRecord(getFuture()).toDouble();
    setCurKotirValue(m_quote);
}

void DeskPlot::updateCurves()
{
    updateQuote();
    const QList<double> prices = m_manager ? m_manager->calcPlotPoints(false) : QList<double>();
    if (prices.isEmpty()) {
        replot();
        return;
    }
    const std::pair<double, double> bounds = volatMinMax(getFuture());
    const double volatility = 0.5 * (bounds.first + bounds.second);
    setValueSamples(prices, volatility);
    setStrikeSamples(volatility);
    updateCurKotirPoints(0.0, 0.0, m_quote);
    updateYAxisScale();
}

void DeskPlot::setValueSamples(const QList<double>& prices, double volatility)
{
    const double years = yearsToExpiry();
    const Portfolio& book = m_portfolio;
    m_curves[ValueAtExpiry]->setSamples(
        samplesOf(prices, [&](double f) { return book.value(f, 0.0, volatility); }));
    m_curves[ValueToday]->setSamples(
        samplesOf(prices, [&](double f) { return book.value(f, years, volatility); }));
    m_curves[ValueHalfTime]->setSamples(
        samplesOf(prices, [&](double f) { return book.value(f, 0.5 * years, volatility); }));
    m_curves[Delta]->setSamples(
        samplesOf(prices, [&](double f) { return book.delta(f, years, volatility); }));
}

void DeskPlot::setStrikeSamples(double volatility)
{
    const double years = yearsToExpiry();
    QVector<PriceBased2dPlotPoint> points;
    for (double strike : m_portfolio.strikes()) {
        PriceBased2dPlotPoint point;
        point.point = QPointF(strike, m_portfolio.value(strike, years, volatility));
        point.isMarker = true;
        points.append(point);
    }
    m_curves[StrikesHeld]->setMarkerSamples(points);
}

void DeskPlot::resetView()
{
    const PriceInterval interval = priceInterval();
    if (interval.valid)
        setAxisScale(QwtPlot::xBottom, interval.min, interval.max);
    // The point manager reads the visible range from the scale division, which Qwt only
    // recomputes in updateAxes().
    updateAxes();
    updateCurves();
}
