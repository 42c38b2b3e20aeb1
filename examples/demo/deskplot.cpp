#include "deskplot.h"

#include <plot2d/platform.h>
#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotpointmanager.h>
#include <plot2d/pricebased2dplotscaledraw.h>

#include <qwt_plot_grid.h>
#include <qwt_scale_div.h>
#include <qwt_scale_widget.h>

#include <QEvent>
#include <QJsonArray>
#include <QPen>
#include <QTimer>

#include <algorithm>

namespace {

constexpr double MillisecondsPerYear = 365.0 * 24 * 3600 * 1000;
const QSize LegendIconSize(24, 10);

QJsonArray rangeOf(const QwtScaleDiv& div)
{
    return QJsonArray{div.lowerBound(), div.upperBound()};
}

} // namespace

DeskPlot::DeskPlot(const Portfolio& portfolio, QWidget* parent)
    : PriceBased2dPlot(true, parent), m_portfolio(portfolio)
{
    setCanvasBackground(Qt::white);
    auto* grid = new QwtPlotGrid;
    grid->attach(this);
    setGridEnabled(false);
}

QList<PriceBased2dPlotCurve*> DeskPlot::valueCurves() const
{
    QList<PriceBased2dPlotCurve*> curves;
    for (auto it = m_curves.cbegin(); it != m_curves.cend(); ++it) {
        if (it.key() >= FirstValue && it.key() <= LastValue)
            curves.append(it.value());
    }
    return curves;
}

PriceBased2dPlotCurve* DeskPlot::addCurve(int type, const QString& title, const QColor& color,
                                          Qt::PenStyle style)
{
    auto* curve = new PriceBased2dPlotCurve(this, title);
    curve->setDataType(type);
    curve->setStyle(QwtPlotCurve::Lines);
    curve->setPen(QPen(color, 2.0, style));
    curve->setRenderHint(QwtPlotItem::RenderAntialiased, true);
    curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
    curve->setLegendIconSize(LegendIconSize);
    curve->attach(this);
    m_curves.insert(type, curve);
    return curve;
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
    setCurKotirEnabled(true);
}

double DeskPlot::volatility()
{
    const std::pair<double, double> bounds = volatMinMax(getFuture());
    return 0.5 * (bounds.first + bounds.second);
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

PriceFormat DeskPlot::futuresPriceFormat() const
{
    const Record future = getFuture();
    if (future.isNull())
        return PriceFormat();
    return PriceFormat(securitiesTable()->dataPtr(future, securitiesColumn(SecPriceStep)).toDouble());
}

void DeskPlot::updateCurves()
{
    m_quote = getKotirFromFutureRecord(getFuture()).toDouble();
    m_years = yearsToExpiry();
    m_volatility = volatility();
    m_priceFormat = futuresPriceFormat();
    const QList<double> prices = m_manager ? m_manager->calcPlotPoints(false) : QList<double>();
    if (!prices.isEmpty()) {
        setValueSamples(prices);
        updateExtraCurves();
    }
    updateCurKotirPoints(0.0, 0.0, m_quote);
    syncQuoteLabel();
    updateYAxisScale();
}

void DeskPlot::setValueSamples(const QList<double>& prices)
{
    for (PriceBased2dPlotCurve* curve : valueCurves()) {
        QVector<QPointF> samples;
        samples.reserve(prices.size());
        for (double price : prices)
            samples.append(QPointF(price, valueAt(curve->dataType(), price)));
        curve->setSamples(samples);
    }
}

void DeskPlot::syncQuoteLabel()
{
    // A hidden quote line must not take part in the label thinning: the axis quote stays at zero
    // until the line is shown again.
    const PriceBased2dPlotCurve* line = curve(QuoteLine);
    const double axisQuote = line && line->isVisible() ? m_quote : 0.0;
    if (axisQuote == m_axisQuote)
        return;
    m_axisQuote = axisQuote;
    setCurKotirValue(axisQuote);
    // The quote label is redrawn only with the axis widget, which a replot leaves alone.
    updateAxisWidgets();
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

bool DeskPlot::eventFilter(QObject* watched, QEvent* event)
{
    const bool relabel = watched == axisWidget(QwtPlot::xBottom) && event->type() == QEvent::Paint &&
                         !xScaleDraw()->axisPainted();
    const bool result = PriceBased2dPlot::eventFilter(watched, event);
    // The base class lays the price labels out at this paint. New end labels move the scale's ends
    // and with them the canvas map, but the canvas keeps the picture drawn with the old map: draw
    // it again once the relayout is done.
    if (relabel && !m_replotPending) {
        m_replotPending = true;
        QTimer::singleShot(0, this, [this] {
            m_replotPending = false;
            replot();
        });
    }
    return result;
}

void DeskPlot::resizeEvent(QResizeEvent* event)
{
    PriceBased2dPlot::resizeEvent(event);
    // Labels are thinned for one axis length; after a resize they must be thinned anew.
    updateScaleLabels();
}

QJsonObject DeskPlot::state() const
{
    QJsonArray labels;
    const PriceFormat format = priceFormat();
    for (double label : xScaleDraw()->labels())
        labels.append(format.text(label));
    const PriceBased2dPlotCurve* line = curve(QuoteLine);
    QJsonObject state;
    const QwtScaleDiv& x = axisScaleDiv(QwtPlot::xBottom);
    state.insert(QStringLiteral("x"), rangeOf(x));
    // Screen columns of the two ends of the price range.
    const int left = canvas()->mapToGlobal(QPoint(0, 0)).x();
    state.insert(QStringLiteral("xPixels"), QJsonArray{left + transform(QwtPlot::xBottom, x.lowerBound()),
                                                       left + transform(QwtPlot::xBottom, x.upperBound())});
    state.insert(QStringLiteral("y"), rangeOf(axisScaleDiv(QwtPlot::yLeft)));
    state.insert(QStringLiteral("autoscale"), autoScaleEnabled());
    state.insert(QStringLiteral("labels"), labels);
    state.insert(QStringLiteral("quote"), m_quote);
    state.insert(QStringLiteral("axisQuote"), xScaleDraw()->curKotir());
    state.insert(QStringLiteral("quoteLineVisible"), line && line->isVisible());
    return state;
}
