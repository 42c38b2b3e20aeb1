#include "plotpanel.h"

#include "crosshairreadout.h"
#include "deskplot.h"
#include "desksettings.h"

#include <plot2d/pricebased2dplotlegend.h>
#include <plot2d/pricebased2dplotpicker.h>
#include <plot2d/pricebased2dplotpointmanager.h>

#include <qwt_legend_label.h>
#include <qwt_scale_div.h>
#include <qwt_scale_widget.h>

#include <QCheckBox>
#include <QJsonArray>

namespace {

QJsonArray globalRect(const QWidget* widget)
{
    const QPoint topLeft = widget->mapToGlobal(QPoint(0, 0));
    return QJsonArray{topLeft.x(), topLeft.y(), widget->width(), widget->height()};
}

} // namespace

PlotPanel::PlotPanel(DeskPlot* plot, const QString& baseCode, const QString& group)
    : QObject(plot), m_plot(plot), m_group(group)
{
    plot->setBaseCode(baseCode);

    m_legend = new PriceBased2dPlotLegend(plot);
    m_legend->initCore();
    plot->insertLegend(m_legend, QwtPlot::RightLegend);
    connect(m_legend, &PriceBased2dPlotLegend::visibilityChanged, plot, &PriceBased2dPlot::setCurveVisible);
    connect(m_legend, &PriceBased2dPlotLegend::visibilityChanged, this, &PlotPanel::onLegendChanged);

    // The picker gives the price step; the crosshair readout replaces its tracker text.
    m_picker = new PriceBased2dPlotPicker(plot->canvas());
    m_picker->initTimer();
    plot->setPicker(m_picker);
    plot->setCanvasObservers();
    plot->resetTrackerMode();
    m_picker->setPriceStep();

    m_manager = new PriceBased2dPlotPointManager(false, plot);
    plot->setPointManager(m_manager);
    connect(m_manager, &PriceBased2dPlotPointManager::priceIntervalChanged, plot, &DeskPlot::resetView);
    // Zoom and pan change the visible range, and so the prices worth evaluating.
    connect(plot, &PriceBased2dPlot::updateAxisLabels, plot, &DeskPlot::updateCurves);

    m_readout = new CrosshairReadout(plot);

    // The manager may have computed the interval already while its model loaded the strikes.
    m_manager->updatePriceInterval();
    plot->resetView();
}

void PlotPanel::onLegendChanged()
{
    m_plot->syncQuoteLabel();
    m_readout->refresh();
    emit legendChanged();
}

void PlotPanel::storeLegend(DeskSettings& settings) const
{
    settings.storeLegend(m_group, m_legend);
}

void PlotPanel::restoreLegend(const DeskSettings& settings)
{
    settings.restoreLegend(m_group, m_legend);
    m_plot->syncQuoteLabel();
}

void PlotPanel::storeView(DeskSettings& settings) const
{
    const QwtInterval y = m_plot->axisScaleDiv(QwtPlot::yLeft).interval();
    settings.setValue(m_group + QStringLiteral("/autoscale"), m_plot->autoScaleEnabled());
    settings.setRange(m_group + QStringLiteral("/y"), y.minValue(), y.maxValue());
}

void PlotPanel::restoreView(const DeskSettings& settings)
{
    const bool autoScale = settings.value(m_group + QStringLiteral("/autoscale"), true).toBool();
    m_plot->setAutoScaleEnabled(autoScale);
    double lower = 0.0;
    double upper = 0.0;
    // The plot's range setter refuses what it cannot show.
    if (!autoScale && settings.range(m_group + QStringLiteral("/y"), &lower, &upper))
        m_plot->setAxisScale(QwtPlot::yLeft, lower, upper);
    m_plot->updateAxes();
    m_plot->updateCurves();
}

QJsonObject PlotPanel::state() const
{
    QJsonObject state = m_plot->state();
    state.insert(QStringLiteral("readout"), m_readout->state());
    state.insert(QStringLiteral("legend"), legendState());
    state.insert(QStringLiteral("canvas"), globalRect(m_plot->canvas()));
    state.insert(QStringLiteral("xScale"), globalRect(m_plot->axisWidget(QwtPlot::xBottom)));
    state.insert(QStringLiteral("yScale"), globalRect(m_plot->axisWidget(QwtPlot::yLeft)));
    return state;
}

QJsonObject PlotPanel::legendState() const
{
    QJsonObject boxes;
    for (const QwtLegendLabel* label : m_legend->findChildren<QwtLegendLabel*>()) {
        const QCheckBox* box = label->parentWidget()->findChild<QCheckBox*>();
        if (!box || label->text().text().isEmpty())
            continue;
        const QPoint centre = box->mapToGlobal(box->rect().center());
        boxes.insert(label->text().text(), QJsonArray{centre.x(), centre.y(), box->isChecked()});
    }
    QJsonObject state;
    state.insert(QStringLiteral("unchecked"), QJsonArray::fromStringList(m_legend->uncheckedItems()));
    state.insert(QStringLiteral("checkBoxes"), boxes);
    return state;
}
