#include "crosshairreadout.h"

#include "deskplot.h"

#include <plot2d/pricebased2dplotcurve.h>

#include <qwt_scale_widget.h>

#include <QEvent>
#include <QFontMetrics>
#include <QJsonArray>
#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int Padding = 6;
constexpr int Swatch = 10;
constexpr int Gap = 12;      // between the crosshair and the box
constexpr int ValueGap = 16; // between the longest title and the values

} // namespace

CrosshairReadout::CrosshairReadout(DeskPlot* plot) : QwtWidgetOverlay(plot->canvas()), m_plot(plot)
{
    setMaskMode(QwtWidgetOverlay::MaskHint);
    plot->canvas()->setMouseTracking(true);
    plot->canvas()->installEventFilter(this);
    for (int axis : {QwtPlot::xBottom, QwtPlot::yLeft})
        connect(plot->axisWidget(axis), &QwtScaleWidget::scaleDivChanged, this, &CrosshairReadout::refresh);
}

double CrosshairReadout::price() const
{
    return m_plot->roundedXValue(m_plot->invTransform(QwtPlot::xBottom, m_cursor.x()));
}

QList<CrosshairReadout::Row> CrosshairReadout::rows() const
{
    QList<Row> result;
    const double at = price();
    for (const PriceBased2dPlotCurve* curve : m_plot->valueCurves()) {
        if (!curve->isVisible())
            continue;
        const double value = m_plot->valueAt(curve->dataType(), at);
        result.append({curve->title().text(), curve->pen().color(),
                       QString::number(value, 'f', m_plot->valueDecimals())});
    }
    return result;
}

void CrosshairReadout::refresh()
{
    updateOverlay();
}

QJsonObject CrosshairReadout::state() const
{
    QJsonObject state;
    state.insert(QStringLiteral("active"), m_active);
    if (!m_active)
        return state;
    state.insert(QStringLiteral("price"), m_plot->priceFormat().text(price()));
    QJsonObject values;
    for (const Row& row : rows())
        values.insert(row.title, row.value);
    state.insert(QStringLiteral("values"), values);
    return state;
}

bool CrosshairReadout::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_plot->canvas()) {
        if (event->type() == QEvent::MouseMove) {
            m_cursor = static_cast<QMouseEvent*>(event)->pos();
            m_active = true;
            refresh();
        } else if (event->type() == QEvent::Leave) {
            m_active = false;
            refresh();
        }
    }
    return QwtWidgetOverlay::eventFilter(watched, event);
}

int CrosshairReadout::lineX() const
{
    return qRound(m_plot->transform(QwtPlot::xBottom, price()));
}

QRect CrosshairReadout::boxRect(const QList<Row>& rows) const
{
    const QFontMetrics metrics(font());
    int titles = 0;
    int values = 0;
    for (const Row& row : rows) {
        titles = qMax(titles, metrics.horizontalAdvance(row.title));
        values = qMax(values, metrics.horizontalAdvance(row.value));
    }
    const int heading = metrics.horizontalAdvance(m_plot->priceFormat().text(price()));
    const int width = qMax(heading, Swatch + Padding + titles + ValueGap + values) + 2 * Padding;
    const QSize size(width, (rows.size() + 1) * metrics.height() + 2 * Padding);
    // Right of the crosshair unless it would leave the canvas.
    const int x = lineX();
    const int left = x + Gap + size.width() <= this->width() ? x + Gap : x - Gap - size.width();
    return QRect(QPoint(qMax(0, left), Padding), size);
}

QRegion CrosshairReadout::maskHint() const
{
    if (!m_active)
        return QRegion();
    const QRect box = boxRect(rows());
    return QRegion(lineX() - 1, 0, 3, height()) + QRegion(box.adjusted(-1, -1, 1, 1));
}

void CrosshairReadout::drawOverlay(QPainter* painter) const
{
    if (!m_active)
        return;
    painter->setPen(QPen(QColor(60, 60, 60), 1.0, Qt::DashLine));
    painter->drawLine(lineX(), 0, lineX(), height());

    const QList<Row> values = rows();
    const QRect box = boxRect(values);
    painter->setPen(QColor(120, 120, 120));
    painter->setBrush(QColor(255, 255, 255, 235));
    painter->drawRect(box.adjusted(0, 0, -1, -1));

    // The price, then per curve its colour, title and value, the values aligned on the right.
    const QFontMetrics metrics(font());
    const QRect text = box.adjusted(Padding, Padding, -Padding, -Padding);
    QRect line(text.topLeft(), QSize(text.width(), metrics.height()));
    painter->setPen(Qt::black);
    painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter, m_plot->priceFormat().text(price()));
    for (const Row& row : values) {
        line.translate(0, metrics.height());
        painter->fillRect(QRect(line.left(), line.center().y() - Swatch / 2, Swatch, Swatch), row.color);
        painter->drawText(line.adjusted(Swatch + Padding, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                          row.title);
        painter->drawText(line, Qt::AlignRight | Qt::AlignVCenter, row.value);
    }
}
