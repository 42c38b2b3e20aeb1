#include "pricebased2dplotlegend.h"

#include "plot2dcolors.h"
#include "plot2ditems_p.h"
#include "pricebased2dplot.h"
#include "pricebased2dplotcurve.h"

#include "settings.h"

#include <qwt_dyngrid_layout.h>
#include <qwt_legend_data.h>
#include <qwt_legend_label.h>
#include <qwt_plot_marker.h>
#include <qwt_symbol.h>

#include <QCheckBox>
#include <QDataStream>
#include <QHBoxLayout>
#include <QList>
#include <QMouseEvent>
#include <QPainter>
#include <QPolygonF>
#include <QSet>

#include <iterator>

namespace {

const char LegendItemKeysKey[] = "legendItemKeys";
const qint32 FormatMark = 1;
const qint32 FormatNumber = 5;

const QSize ResetIconSize(50, 13);

// The check box of a row, when the row is laid out as box then label.
QCheckBox* rowCheckBox(const QWidget* row)
{
    const QLayout* layout = row ? row->layout() : nullptr;
    if (!layout || layout->count() != 2 || !layout->itemAt(0))
        return nullptr;
    return qobject_cast<QCheckBox*>(layout->itemAt(0)->widget());
}

QwtLegendLabel* rowLabel(const QWidget* row)
{
    const QLayout* layout = row ? row->layout() : nullptr;
    if (!layout || layout->count() != 2 || !layout->itemAt(1))
        return nullptr;
    return qobject_cast<QwtLegendLabel*>(layout->itemAt(1)->widget());
}

void setTitleColor(QwtLegendLabel* label, const QColor& color)
{
    QwtText title = label->text();
    title.setColor(color);
    label->setText(title);
}

QPixmap blankResetIcon()
{
    QPixmap pixmap(ResetIconSize);
    pixmap.fill(Qt::white);
    return pixmap;
}

QPixmap triangleResetIcon(const QPolygonF& triangle)
{
    QPixmap pixmap = blankResetIcon();
    QPainter painter(&pixmap);
    painter.setPen(QPen(Qt::gray));
    painter.setBrush(QBrush(Qt::gray, Qt::SolidPattern));
    painter.drawPolygon(triangle);
    return pixmap;
}

QPixmap lineResetIcon()
{
    QPixmap pixmap = blankResetIcon();
    QPainter painter(&pixmap);
    painter.setPen(
        QPen(QBrush(Qt::gray, Qt::SolidPattern), 2.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    painter.drawLine(QPointF(1.0, 6.5), QPointF(49.0, 6.5));
    return pixmap;
}

} // namespace

LabelWidget::LabelWidget(QWidget* parent) : QWidget(parent) {}

LabelWidget::~LabelWidget() = default;

void LabelWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && layout() && layout()->count() == 2) {
        QCheckBox* checkBox = rowCheckBox(this);
        if (!checkBox)
            return;
        checkBox->toggle();
    }
    QWidget::mousePressEvent(event);
}

PriceBased2dPlotLegend::PriceBased2dPlotLegend(QwtPlot* plot) : QwtLegend(plot), m_plot(plot)
{
    m_dynLayout = qobject_cast<QwtDynGridLayout*>(contentsWidget()->layout());
    if (m_dynLayout)
        m_dynLayout->setSizeConstraint(QLayout::SetFixedSize);
}

PriceBased2dPlotLegend::~PriceBased2dPlotLegend() = default;

void PriceBased2dPlotLegend::initCore()
{
    createResetIcons();
}

QWidget* PriceBased2dPlotLegend::createWidget(const QwtLegendData& data) const
{
    Q_UNUSED(data)

    auto* row = new LabelWidget(const_cast<PriceBased2dPlotLegend*>(this));
    auto* layout = new QHBoxLayout(row);

    auto* checkBox = new QCheckBox(QString(), row);
    checkBox->setChecked(true);
    connect(checkBox, &QCheckBox::stateChanged, this, &PriceBased2dPlotLegend::onCheckBoxChecked,
            Qt::UniqueConnection);
    layout->addWidget(checkBox);

    auto* label = new QwtLegendLabel(row);
    layout->addWidget(label);

    const_cast<PriceBased2dPlotLegend*>(this)->updateItemMaps();
    m_checkBoxLabels.insert(checkBox, label);
    return row;
}

void PriceBased2dPlotLegend::updateWidget(QWidget* widget, const QwtLegendData& data)
{
    QCheckBox* checkBox = rowCheckBox(widget);
    QwtLegendLabel* label = rowLabel(widget);
    if (!checkBox || !label || !checkBox->isEnabled() || !label->isEnabled() || !data.isValid()) {
        QwtLegend::updateWidget(widget, data);
        return;
    }

    label->setData(data);
    if (!label->text().text().isEmpty())
        setTitleColor(label, checkBox->isChecked() ? CheckedLabelColor : UncheckedLabelColor);

    QWidget* row = checkBox->parentWidget();
    if (row == label->parentWidget() && qobject_cast<LabelWidget*>(row) && m_dynLayout)
        updateDynLayoutItemAlignment(m_dynLayout->indexOf(row));
}

// Rows are deleted by the toolkit behind our back and their guarded keys turn null in place, which
// breaks the map's ordering: dead entries are erased by iterator (never looked up by key) so that
// later key lookups and insertions see a correctly ordered map again.
void PriceBased2dPlotLegend::updateItemMaps()
{
    const QList<QCheckBox*> checkBoxList = findChildren<QCheckBox*>();
    const QList<QwtLegendLabel*> labelList = findChildren<QwtLegendLabel*>();
    const QSet<QCheckBox*> checkBoxes(checkBoxList.cbegin(), checkBoxList.cend());
    const QSet<QwtLegendLabel*> labels(labelList.cbegin(), labelList.cend());

    for (auto it = m_checkBoxLabels.begin(); it != m_checkBoxLabels.end();) {
        const bool dead = it.key().isNull() || !checkBoxes.contains(it.key()) || it.value().isNull() ||
                          !labels.contains(it.value());
        it = dead ? m_checkBoxLabels.erase(it) : std::next(it);
    }
    for (auto it = m_checkBoxIcons.begin(); it != m_checkBoxIcons.end();) {
        const bool dead = it.key().isNull() || !checkBoxes.contains(it.key());
        it = dead ? m_checkBoxIcons.erase(it) : std::next(it);
    }
}

bool PriceBased2dPlotLegend::isCheckBoxChecked(const QString& text, bool* found) const
{
    if (found)
        *found = false;
    if (text.isEmpty())
        return true;

    const QCheckBox* checkBox = findCheckBox(text);
    if (!checkBox)
        return true; // an unknown entry counts as visible
    if (found)
        *found = true;
    return checkBox->isChecked();
}

void PriceBased2dPlotLegend::setCheckBoxChecked(const QString& text, bool checked)
{
    if (text.isEmpty())
        return;
    QCheckBox* checkBox = findCheckBox(text);
    if (!checkBox)
        return;

    const bool wasChecked = checkBox->isChecked();
    checkBox->setChecked(checked);
    if (!wasChecked && !checked && !m_uncheckedItems.contains(text))
        m_uncheckedItems.append(text);
}

void PriceBased2dPlotLegend::updateDynLayoutItemAlignment(int index)
{
    if (index < 0 || !m_dynLayout || index >= m_dynLayout->count())
        return;
    QLayoutItem* item = m_dynLayout->itemAt(index);
    if (!item)
        return;

    // Left and centre together are deliberate and kept as they are; Justify and Absolute stay.
    const Qt::Alignment kept = item->alignment() & ~(Qt::AlignLeft | Qt::AlignRight | Qt::AlignHCenter);
    item->setAlignment(kept | Qt::AlignLeft | Qt::AlignHCenter);
    if (QWidget* widget = item->widget())
        widget->update();
}

void PriceBased2dPlotLegend::onCheckBoxChecked(int state)
{
    if (state != Qt::Unchecked && state != Qt::Checked)
        return;

    auto* checkBox = qobject_cast<QCheckBox*>(sender());
    QwtLegendLabel* label = checkBox ? labelOf(checkBox) : nullptr;
    if (!label)
        return;

    QwtText title = label->text();
    const QString text = title.text();
    const QPixmap icon = label->icon();
    if (text.isEmpty() || icon.isNull())
        return;

    // The icon map is keyed by the same fragile pointers; purge before inserting or looking up.
    updateItemMaps();
    if (state == Qt::Unchecked)
        applyUnchecked(checkBox, label, text);
    else
        applyChecked(checkBox, label, text);
    // Written after the signal: a listener that ticks the row again is overwritten by this title.
    title.setColor(state == Qt::Unchecked ? UncheckedLabelColor : CheckedLabelColor);
    label->setText(title);
}

void PriceBased2dPlotLegend::applyUnchecked(QCheckBox* checkBox, QwtLegendLabel* label, const QString& text)
{
    if (!m_uncheckedItems.contains(text)) {
        m_checkBoxIcons.insert(checkBox, label->icon());
        setResetIcon(label);
    }
    Q_EMIT visibilityChanged(text, false);
    if (!m_uncheckedItems.contains(text))
        m_uncheckedItems.append(text);
}

void PriceBased2dPlotLegend::applyChecked(QCheckBox* checkBox, QwtLegendLabel* label, const QString& text)
{
    const auto saved = m_checkBoxIcons.find(checkBox);
    if (saved != m_checkBoxIcons.end()) {
        if (saved.value().isNull())
            m_checkBoxIcons.erase(saved);
        else
            label->setIcon(saved.value());
    }
    Q_EMIT visibilityChanged(text, true);
    m_uncheckedItems.removeOne(text);
}

void PriceBased2dPlotLegend::wheelEvent(QWheelEvent* event)
{
    // Qt hands wheel events over ignored; accepting keeps them from propagating to the plot, whose
    // wheel zooms.
    event->accept();
}

QCheckBox* PriceBased2dPlotLegend::findCheckBox(const QString& text) const
{
    const QList<QCheckBox*> checkBoxes = findChildren<QCheckBox*>();
    const QList<QwtLegendLabel*> labels = findChildren<QwtLegendLabel*>();
    for (auto it = m_checkBoxLabels.cbegin(); it != m_checkBoxLabels.cend(); ++it) {
        QCheckBox* checkBox = it.key();
        QwtLegendLabel* label = it.value();
        if (!checkBox || !label || !checkBoxes.contains(checkBox) || !labels.contains(label))
            continue;
        if (label->text().text() == text)
            return checkBox;
    }
    return nullptr;
}

QwtLegendLabel* PriceBased2dPlotLegend::labelOf(const QCheckBox* checkBox) const
{
    // A linear walk: a dead key elsewhere in the map must not mislead the search.
    for (auto it = m_checkBoxLabels.cbegin(); it != m_checkBoxLabels.cend(); ++it) {
        if (it.key() == checkBox)
            return it.value();
    }
    return nullptr;
}

void PriceBased2dPlotLegend::store(Settings& settings) const
{
    const_cast<PriceBased2dPlotLegend*>(this)->updateItemMaps();
    auto* plot = qobject_cast<PriceBased2dPlot*>(m_plot);
    const QList<PriceBased2dPlotCurve*> curves =
        plot ? Plot2dCommon::attachedCurves(*plot, PriceBased2dPlotCurve::NotSet)
             : QList<PriceBased2dPlotCurve*>();

    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << FormatMark << FormatNumber << qint32(curves.size());
    for (const PriceBased2dPlotCurve* curve : curves)
        curve->write(out);

    settings.setValue(QLatin1String(LegendItemKeysKey), QVariant(bytes));
}

void PriceBased2dPlotLegend::restore(const Settings& settings)
{
    updateItemMaps();
    const QByteArray bytes = settings.value(QLatin1String(LegendItemKeysKey), QVariant()).toByteArray();
    if (bytes.isEmpty())
        return;

    QDataStream in(bytes);
    qint32 mark = 0;
    qint32 format = 0;
    qint32 count = 0;
    in >> mark >> format >> count;
    if (in.status() != QDataStream::Ok || mark != FormatMark || format != FormatNumber || count < 1)
        return;
    auto* plot = qobject_cast<PriceBased2dPlot*>(m_plot);
    if (!plot)
        return;

    QSet<qint32> handledTypes;
    for (qint32 i = 0; i < count; ++i) {
        PriceBased2dPlotCurve::CurveParams params;
        PriceBased2dPlotCurve::read(in, params);
        // Past the end of a damaged value every record reads as invalid: stop rather than count on.
        if (in.status() != QDataStream::Ok)
            break;
        if (!params.valid || handledTypes.contains(params.dataType))
            continue;
        handledTypes.insert(params.dataType);
        applyCurveState(plot, params.dataType, params.visible);
    }
}

void PriceBased2dPlotLegend::applyCurveState(const PriceBased2dPlot* plot, int dataType, bool visible)
{
    const QList<PriceBased2dPlotCurve*> curves = Plot2dCommon::attachedCurves(*plot, dataType);
    if (curves.size() != 1)
        return; // a type shared by several curves cannot say which one it meant

    const QString title = curves.first()->title().text();
    bool found = false;
    const bool checked = isCheckBoxChecked(title, &found);
    if (found && checked != visible)
        setCheckBoxChecked(title, visible);
}

void PriceBased2dPlotLegend::setUncheckedItems(const QStringList& items)
{
    m_uncheckedItems = items;
}

QStringList PriceBased2dPlotLegend::uncheckedItems() const
{
    return m_uncheckedItems;
}

void PriceBased2dPlotLegend::restoreUncheckedItems()
{
    const QStringList items = m_uncheckedItems;
    for (const QString& title : items)
        setCheckBoxChecked(title, false);
}

void PriceBased2dPlotLegend::setCheckBoxIcon(const QString& text, const QPixmap& icon)
{
    if (text.isEmpty() || icon.isNull())
        return;
    if (QCheckBox* checkBox = findCheckBox(text))
        labelOf(checkBox)->setIcon(icon);
}

void PriceBased2dPlotLegend::setResetIcon(QwtLegendLabel* label)
{
    auto* plot = qobject_cast<PriceBased2dPlot*>(m_plot);
    if (!label || !plot)
        return;

    const QString title = label->text().text();
    const QList<PriceBased2dPlotCurve*> curves =
        Plot2dCommon::attachedCurves(*plot, PriceBased2dPlotCurve::NotSet);
    for (const PriceBased2dPlotCurve* curve : curves) {
        if (curve->title().text() != title)
            continue;
        const QPixmap icon = m_resetIcons.value(getStyle(curve));
        if (!icon.isNull())
            label->setIcon(icon);
        return;
    }
}

void PriceBased2dPlotLegend::createResetIcons()
{
    const qreal width = ResetIconSize.width();
    const qreal height = ResetIconSize.height();
    const qreal centre = width / 2.0;

    m_resetIcons.insert(
        QwtSymbol::DTriangle,
        triangleResetIcon(QPolygonF({QPointF(centre, height), QPointF(centre - 5.0, height / 4.0),
                                     QPointF(centre + 5.0, height / 4.0)})));
    m_resetIcons.insert(QwtSymbol::UTriangle, triangleResetIcon(QPolygonF(
                                                  {QPointF(centre, 0.0), QPointF(centre - 5.0, height * 0.75),
                                                   QPointF(centre + 5.0, height * 0.75)})));
    m_resetIcons.insert(QwtSymbol::Rect, lineResetIcon());
}

int PriceBased2dPlotLegend::getStyle(const PriceBased2dPlotCurve* curve) const
{
    if (!curve)
        return -1;
    if (curve->dataType() != PriceBased2dPlotCurve::MarkerCurve) {
        // A curve without a symbol has no style to match; it keeps its own icon.
        return curve->symbol() ? int(curve->symbol()->style()) : -1;
    }

    auto* plot = qobject_cast<PriceBased2dPlot*>(m_plot);
    if (!plot)
        return -1;
    const QList<QwtPlotMarker*> markers = Plot2dCommon::attachedMarkers(*plot);
    if (markers.isEmpty())
        return QwtSymbol::Rect;
    const QwtPlotMarker* marker = markers.first();
    if (!marker || !marker->symbol())
        return -1;
    return marker->symbol()->style();
}
