#include "deskwindow.h"

#include "crosshairreadout.h"
#include "deskheader.h"
#include "desksettings.h"
#include "greeksplot.h"
#include "livemarket.h"
#include "plotpanel.h"
#include "pnlplot.h"
#include "priceaxislink.h"
#include "statedump.h"

#include <plot2d/platform.h>
#include <plot2d/pricebased2dplotlegend.h>

#include <qwt_scale_widget.h>

#include <QAction>
#include <QCoreApplication>
#include <QJsonArray>
#include <QLabel>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>

namespace {

// Wide enough for the value labels of both plots, so that their price axes line up.
constexpr int ValueAxisExtent = 64;
constexpr int StoreDelayMs = 500;

} // namespace

DeskWindow::DeskWindow(const Options& options, QWidget* parent) : QMainWindow(parent), m_options(options)
{
    setWindowTitle(tr("plot2d desk: %1").arg(options.baseCode));
    if (!options.settingsPath.isEmpty())
        m_settings.reset(new DeskSettings(
            options.settingsPath, options.writeSettings ? DeskSettings::ReadWrite : DeskSettings::ReadOnly));

    Portfolio book = Portfolio::sample();
    Table* securities = ICore::instance()->dataStore()->table(QStringLiteral("securities"));
    book.setPremiumsFromTable(securities, options.baseCode);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_header = new DeskHeader(central);
    layout->addWidget(m_header);
    auto* splitter = new QSplitter(Qt::Vertical, central);
    splitter->setObjectName(QStringLiteral("plotSplitter"));
    layout->addWidget(splitter, 1);
    setCentralWidget(central);

    auto* pnl = new PnlPlot(book, splitter);
    auto* greeks = new GreeksPlot(book, splitter);
    splitter->addWidget(pnl);
    splitter->addWidget(greeks);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);
    addPanel(pnl, QStringLiteral("pnl"));
    addPanel(greeks, QStringLiteral("greeks"));
    new PriceAxisLink(pnl, greeks, this);
    alignPanels();

    m_storeTimer = new QTimer(this);
    m_storeTimer->setSingleShot(true);
    m_storeTimer->setInterval(StoreDelayMs);
    connect(m_storeTimer, &QTimer::timeout, this, &DeskWindow::storeView);

    createToolBar();
    m_quoteLabel = new QLabel(this);
    m_quoteLabel->setObjectName(QStringLiteral("quoteLabel"));
    statusBar()->addPermanentWidget(m_quoteLabel);
    statusBar()->showMessage(
        tr("Wheel: zoom (Shift: Y only, Ctrl: X only). Drag: pan. Drag a scale: zoom it."));

    restoreSettings();
    m_header->showContract(pnl);
    showQuote();
    if (securities)
        connect(securities, &Table::rowsChanged, this, &DeskWindow::onSecuritiesChanged);

    if (options.live)
        (new LiveMarket(pnl, options.seed, options.tickMs, this))->start();

    if (!options.stateFile.isEmpty()) {
        auto* dump = new StateDump(
            options.stateFile, [this] { return state(); }, this);
        for (PlotPanel* panel : m_panels)
            dump->watchAxis(panel->group(), panel->plot());
    }
}

DeskWindow::~DeskWindow() = default;

DeskPlot* DeskWindow::pnlPlot() const
{
    return m_panels.at(0)->plot();
}

DeskPlot* DeskWindow::greeksPlot() const
{
    return m_panels.at(1)->plot();
}

PlotPanel* DeskWindow::addPanel(DeskPlot* plot, const QString& group)
{
    auto* panel = new PlotPanel(plot, m_options.baseCode, group);
    connect(panel, &PlotPanel::legendChanged, this, &DeskWindow::storeLegends);
    connect(plot->axisWidget(QwtPlot::xBottom), &QwtScaleWidget::scaleDivChanged, this,
            &DeskWindow::scheduleStore);
    connect(plot->axisWidget(QwtPlot::yLeft), &QwtScaleWidget::scaleDivChanged, this,
            &DeskWindow::scheduleStore);
    // Each plot owns its autoscale flag; a manual Y zoom in one leaves the other's alone.
    connect(plot, QOverload<bool>::of(&PriceBased2dPlot::autoScaleEnabled), plot,
            &PriceBased2dPlot::setAutoScaleEnabled);
    m_panels.append(panel);
    return panel;
}

void DeskWindow::alignPanels()
{
    // Legend rows of one width and value axes of one extent give both canvases the same
    // price-to-pixel map. The plot layout asks the legend for its size hint, which grows with the
    // rows' minimum width.
    QList<QWidget*> rows;
    int rowWidth = 0;
    for (const PlotPanel* panel : m_panels) {
        for (QWidget* row : panel->legend()->contentsWidget()->findChildren<QWidget*>(
                 QString(), Qt::FindDirectChildrenOnly)) {
            rows.append(row);
            rowWidth = qMax(rowWidth, row->sizeHint().width());
        }
    }
    for (QWidget* row : rows) {
        row->setMinimumWidth(rowWidth);
        if (auto* layout = qobject_cast<QBoxLayout*>(row->layout()))
            layout->addStretch();
    }
    for (const PlotPanel* panel : m_panels) {
        panel->plot()->axisWidget(QwtPlot::yLeft)->scaleDraw()->setMinimumExtent(ValueAxisExtent);
        panel->plot()->updateLayout();
    }
}

void DeskWindow::createToolBar()
{
    QToolBar* bar = addToolBar(tr("View"));
    bar->setObjectName(QStringLiteral("viewToolBar"));

    m_autoScaleAction = bar->addAction(tr("Autoscale"));
    m_autoScaleAction->setCheckable(true);
    m_autoScaleAction->setChecked(pnlPlot()->autoScaleEnabled());
    m_autoScaleAction->setToolTip(tr("Let the Y axes follow the visible curves"));
    // Only the user's toggle applies to both plots; the mirror of the P&L flag below must not.
    connect(m_autoScaleAction, &QAction::triggered, this, [this](bool on) {
        for (PlotPanel* panel : m_panels) {
            panel->plot()->setAutoScaleEnabled(on);
            if (on)
                panel->plot()->updateYAxisScale();
        }
    });
    // The tool bar shows the P&L plot's flag.
    connect(pnlPlot(), QOverload<bool>::of(&PriceBased2dPlot::autoScaleEnabled), m_autoScaleAction,
            &QAction::setChecked);

    QAction* reset = bar->addAction(tr("Whole range"));
    reset->setToolTip(tr("Show every strike and switch autoscale on"));
    connect(reset, &QAction::triggered, this, [this] {
        m_autoScaleAction->setChecked(true);
        for (PlotPanel* panel : m_panels) {
            panel->plot()->setAutoScaleEnabled(true);
            panel->plot()->resetView();
        }
    });

    auto* quit = new QAction(tr("Quit"), this);
    quit->setShortcut(QKeySequence::Quit);
    addAction(quit);
    connect(quit, &QAction::triggered, this, &QWidget::close);

    m_gridAction = bar->addAction(tr("Detailed grid"));
    m_gridAction->setCheckable(true);
    connect(m_gridAction, &QAction::toggled, this, [this](bool on) {
        for (PlotPanel* panel : m_panels) {
            panel->plot()->setGridEnabled(on);
            panel->plot()->replot();
        }
        scheduleStore();
    });
}

QStringList DeskWindow::uncheck(const QStringList& titles)
{
    QStringList unknown;
    for (const QString& title : titles) {
        bool found = false;
        for (PlotPanel* panel : m_panels) {
            bool inLegend = false;
            panel->legend()->isCheckBoxChecked(title, &inLegend);
            if (inLegend)
                panel->legend()->setCheckBoxChecked(title, false);
            found = found || inLegend;
        }
        if (!found)
            unknown.append(title);
    }
    return unknown;
}

QStringList DeskWindow::uncheckedItems() const
{
    QStringList items;
    for (const PlotPanel* panel : m_panels)
        items += panel->legend()->uncheckedItems();
    return items;
}

void DeskWindow::setWarnings(const QStringList& warnings)
{
    m_header->setWarnings(warnings);
}

void DeskWindow::restoreSettings()
{
    if (!m_settings) {
        resize(m_options.size);
        return;
    }
    m_restoring = true;
    const QByteArray geometry = m_settings->value(QStringLiteral("window/geometry")).toByteArray();
    if (geometry.isEmpty() || !restoreGeometry(geometry))
        resize(m_options.size);
    for (PlotPanel* panel : m_panels)
        panel->restoreLegend(*m_settings);
    m_gridAction->setChecked(m_settings->value(QStringLiteral("view/grid"), false).toBool());
    restoreView();
    m_restoring = false;
}

void DeskWindow::restoreView()
{
    double lower = 0.0;
    double upper = 0.0;
    if (m_settings->range(QStringLiteral("view/x"), &lower, &upper)) {
        // The other plot follows through the link.
        pnlPlot()->setAxisScale(QwtPlot::xBottom, lower, upper);
        pnlPlot()->updateAxes();
    }
    for (PlotPanel* panel : m_panels)
        panel->restoreView(*m_settings);
    m_autoScaleAction->setChecked(pnlPlot()->autoScaleEnabled());
}

void DeskWindow::storeLegends()
{
    // A restore unticks rows one legend after the other; saving in between would overwrite the
    // rows of the legends not restored yet.
    if (!m_settings || m_restoring)
        return;
    for (const PlotPanel* panel : m_panels)
        panel->storeLegend(*m_settings);
    // Saved at once: a legend change must survive a kill.
    m_settings->save();
}

void DeskWindow::scheduleStore()
{
    if (m_settings && !m_restoring)
        m_storeTimer->start();
}

void DeskWindow::storeView()
{
    if (!m_settings)
        return;
    m_settings->setValue(QStringLiteral("window/geometry"), saveGeometry());
    m_settings->setValue(QStringLiteral("view/grid"), m_gridAction->isChecked());
    const QwtInterval x = pnlPlot()->axisScaleDiv(QwtPlot::xBottom).interval();
    m_settings->setRange(QStringLiteral("view/x"), x.minValue(), x.maxValue());
    for (const PlotPanel* panel : m_panels)
        panel->storeView(*m_settings);
    m_settings->save();
}

void DeskWindow::onSecuritiesChanged()
{
    for (PlotPanel* panel : m_panels) {
        panel->plot()->updateCurves();
        panel->readout()->refresh();
    }
    showQuote();
}

void DeskWindow::showQuote()
{
    m_quoteLabel->setText(tr("Quote %1").arg(pnlPlot()->priceFormat().text(pnlPlot()->quote())));
}

QImage DeskWindow::render()
{
    show();
    QCoreApplication::processEvents();
    // The axis labels are computed at the first paint; the second grab shows them.
    grab();
    for (PlotPanel* panel : m_panels)
        panel->plot()->updateScaleLabels();
    QCoreApplication::processEvents();
    return grab().toImage();
}

QJsonObject DeskWindow::state() const
{
    QJsonObject state;
    for (const PlotPanel* panel : m_panels)
        state.insert(panel->group(), panel->state());
    const QPoint topLeft = mapToGlobal(QPoint(0, 0));
    state.insert(QStringLiteral("window"), QJsonArray{topLeft.x(), topLeft.y(), width(), height()});
    state.insert(QStringLiteral("statusQuote"), m_quoteLabel->text());
    state.insert(QStringLiteral("grid"), m_gridAction->isChecked());
    return state;
}

void DeskWindow::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    scheduleStore();
}

void DeskWindow::moveEvent(QMoveEvent* event)
{
    QMainWindow::moveEvent(event);
    scheduleStore();
}

void DeskWindow::closeEvent(QCloseEvent* event)
{
    if (m_storeTimer->isActive()) {
        m_storeTimer->stop();
        storeView();
    }
    QMainWindow::closeEvent(event);
}
