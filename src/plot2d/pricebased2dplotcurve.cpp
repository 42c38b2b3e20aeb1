#include "pricebased2dplotcurve.h"

#include "plot2dcolors.h"
#include "plot2ditems_p.h"
#include "plot2dsampling.h"
#include "pricebased2dplot.h"
#include "table.h"

#include <qwt_plot_marker.h>
#include <qwt_symbol.h>
#include <qwt_text.h>

#include <QDataStream>

namespace {

bool isDrawnStyle(int style)
{
    return style == QwtPlotCurve::Lines || style == QwtPlotCurve::Sticks || style == QwtPlotCurve::Steps ||
           style == QwtPlotCurve::Dots;
}

} // namespace

PriceBased2dPlotCurve::PriceBased2dPlotCurve(PriceBased2dPlot* plot, const QString& title)
    : QwtPlotCurve(title), m_plot(plot), m_cache(new Plot2dSampling::CurveCache)
{}

PriceBased2dPlotCurve::PriceBased2dPlotCurve(PriceBased2dPlot* plot, const QwtText& title)
    : QwtPlotCurve(title), m_plot(plot), m_cache(new Plot2dSampling::CurveCache)
{}

PriceBased2dPlotCurve::~PriceBased2dPlotCurve() = default;

void PriceBased2dPlotCurve::setDataType(int type)
{
    if (type == NotSet || isValidType(type))
        m_dataType = type;
}

bool PriceBased2dPlotCurve::isValidType(int type) const
{
    return type == CurKotirLine || (type >= 9 && type <= MarkerCurve);
}

bool PriceBased2dPlotCurve::isValid() const
{
    if (rtti() != QwtPlotItem::Rtti_PlotCurve)
        return false;
    if (dataSize() == 0)
        return false;
    const QRectF bounds = boundingRect();
    if (title().text().isEmpty() || bounds.width() < 0.0 || bounds.height() < 0.0)
        return false;
    if (!isDrawnStyle(style()))
        return false;

    const bool showsLine = testLegendAttribute(QwtPlotCurve::LegendShowLine);
    if (!showsLine && !testLegendAttribute(QwtPlotCurve::LegendShowSymbol))
        return false;
    if (showsLine && (pen().style() == Qt::NoPen || !pen().color().isValid()))
        return false;
    if (!isValidType(dataType()))
        return false;

    if (dataType() != CurKotirLine)
        return true;
    return pen().color() == CurKotirCurveColor && style() == QwtPlotCurve::Sticks && dataSize() == 2;
}

void PriceBased2dPlotCurve::setVisible(bool on)
{
    if (!m_plot || (m_dataType != CurKotirLine && m_dataType != MarkerCurve)) {
        QwtPlotCurve::setVisible(on);
        return;
    }

    if (m_dataType == MarkerCurve) {
        const QList<QwtPlotMarker*> markers = Plot2dCommon::attachedMarkers(*m_plot);
        for (QwtPlotMarker* marker : markers) {
            if (marker && marker->symbol())
                marker->setVisible(on);
        }
        QwtPlotCurve::setVisible(on);
        return;
    }

    if (!on) {
        m_plot->setCurKotirEnabled(false);
        m_plot->updateAxisWidgets();
        QwtPlotCurve::setVisible(false);
        return;
    }
    showCurKotirLine();
}

void PriceBased2dPlotCurve::showCurKotirLine()
{
    // The quote line is never shown without a quote behind it: without one the request is dropped.
    Record future = m_plot->getFuture();
    if (future.isNull())
        return;
    const decimal kotir = m_plot->getKotirFromFutureRecord(future);
    if (kotir < decimal::zero)
        return;

    m_plot->setCurKotirValue(kotir.toDouble());
    m_plot->setCurKotirEnabled(true);
    if (const Table* table = future.table())
        table->freeRow(future);
    m_plot->updateAxisWidgets();
    QwtPlotCurve::setVisible(true);
}

void PriceBased2dPlotCurve::write(QDataStream& out) const
{
    out << isValid() << isVisible() << static_cast<qint32>(m_dataType);
}

void PriceBased2dPlotCurve::read(QDataStream& in, CurveParams& params)
{
    in >> params.valid >> params.visible >> params.dataType;
    if (in.status() != QDataStream::Ok)
        params = CurveParams();
}

void PriceBased2dPlotCurve::setMarkerSamples(const QVector<PriceBased2dPlotPoint>& points)
{
    if (m_dataType != MarkerCurve || !m_plot)
        return;

    // 2. and 3. Wanted against present markers.
    int wanted = 0;
    for (const PriceBased2dPlotPoint& point : points)
        wanted += point.isMarker ? 1 : 0;
    QList<QwtPlotMarker*> markers = Plot2dCommon::attachedMarkers(*m_plot);

    // 4. Bring the marker list to the wanted size.
    while (markers.size() > wanted) {
        QwtPlotMarker* marker = markers.takeLast();
        if (marker && marker->symbol()) {
            marker->detach();
            delete marker;
        }
    }
    if (markers.size() < wanted)
        markers += m_plot->createMarkers(wanted - markers.size(), this);

    // 5. Place the markers; a list that runs short keeps the old samples.
    QVector<QPointF> samples;
    samples.reserve(points.size());
    int k = 0;
    for (const PriceBased2dPlotPoint& point : points) {
        samples.append(point.point);
        if (!point.isMarker)
            continue;
        if (k >= markers.size() || !markers.at(k))
            return;
        markers.at(k)->setValue(point.point.x(), point.point.y());
        markers.at(k)->setVisible(isVisible());
        ++k;
    }

    // 6.
    setSamples(samples);
}

QColor PriceBased2dPlotCurve::getColor() const
{
    if (style() == QwtPlotCurve::Lines)
        return pen().color();
    if (style() == QwtPlotCurve::Dots && symbol())
        return symbol()->pen().color();
    return QColor();
}

void PriceBased2dPlotCurve::drawLines(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                                      const QRectF& canvasRect, int from, int to) const
{
    if (!Plot2dSampling::CurveCache::drawLines(*this, painter, xMap, yMap, canvasRect, from, to))
        QwtPlotCurve::drawLines(painter, xMap, yMap, canvasRect, from, to);
}
