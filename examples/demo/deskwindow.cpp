#include "deskwindow.h"

#include "deskplot.h"

#include <plot2d/platform.h>
#include <plot2d/plot2dcommon.h>
#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotlegend.h>
#include <plot2d/pricebased2dplotpicker.h>
#include <plot2d/pricebased2dplotpointmanager.h>

#include <QAction>
#include <QCloseEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>

DeskWindow::DeskWindow(const Options& options, QWidget* parent)
    : QMainWindow(parent), m_options(options), m_random(options.seed)
{
    setWindowTitle(tr("plot2d desk: %1").arg(options.baseCode));

    Portfolio book = Portfolio::sample();
    Table* securities = ICore::instance()->dataStore()->table(QStringLiteral("securities"));
    book.setPremiumsFromTable(securities, options.baseCode);

    m_plot = new DeskPlot(book, this);
    m_plot->setBaseCode(options.baseCode);
    setCentralWidget(m_plot);

    m_legend = new PriceBased2dPlotLegend(m_plot);
    m_legend->initCore();
    m_plot->insertLegend(m_legend, QwtPlot::RightLegend);
    connect(m_legend, &PriceBased2dPlotLegend::visibilityChanged, m_plot, &PriceBased2dPlot::setCurveVisible);

    m_picker = new PriceBased2dPlotPicker(m_plot->canvas());
    m_picker->initTimer();
    m_plot->setPicker(m_picker);
    m_plot->setCanvasObservers();
    m_plot->canvas()->installEventFilter(this);

    m_manager = new PriceBased2dPlotPointManager(false, m_plot);
    m_plot->setPointManager(m_manager);
    connect(m_manager, &PriceBased2dPlotPointManager::priceIntervalChanged, this,
            &DeskWindow::onPriceIntervalChanged);
    // Zoom and pan change the visible range, and so the prices worth evaluating.
    connect(m_plot, &PriceBased2dPlot::updateAxisLabels, m_plot, &DeskPlot::updateCurves);
    if (securities)
        connect(securities, &Table::rowsChanged, this, &DeskWindow::onSecuritiesChanged);

    createToolBar();
    m_quoteLabel = new QLabel(this);
    statusBar()->addPermanentWidget(m_quoteLabel);
    statusBar()->showMessage(
        tr("Wheel: zoom (Shift: Y only, Ctrl: X only). Drag: pan. Drag a scale: zoom it."));

    // The manager may have computed the interval already while its model loaded the strikes.
    m_manager->updatePriceInterval();
    m_plot->resetView();
    restoreSettings();
    showQuote();

    m_marketTimer = new QTimer(this);
    m_marketTimer->setInterval(options.tickMs);
    connect(m_marketTimer, &QTimer::timeout, this, &DeskWindow::stepQuote);
    if (options.live)
        m_marketTimer->start();
}

DeskWindow::~DeskWindow() = default;

void DeskWindow::createToolBar()
{
    QToolBar* bar = addToolBar(tr("View"));
    bar->setObjectName(QStringLiteral("viewToolBar"));

    m_autoScaleAction = bar->addAction(tr("Autoscale"));
    m_autoScaleAction->setCheckable(true);
    m_autoScaleAction->setChecked(m_plot->autoScaleEnabled());
    m_autoScaleAction->setToolTip(tr("Let the Y axis follow the visible curves"));
    connect(m_autoScaleAction, &QAction::toggled, this, [this](bool on) {
        m_plot->setAutoScaleEnabled(on);
        if (on)
            m_plot->updateYAxisScale();
    });
    // The plot announces a manual Y change; the tool bar is the listener that switches the flag.
    connect(m_plot, QOverload<bool>::of(&PriceBased2dPlot::autoScaleEnabled), m_autoScaleAction,
            &QAction::setChecked);

    QAction* reset = bar->addAction(tr("Whole range"));
    reset->setToolTip(tr("Show every strike and switch autoscale on"));
    connect(reset, &QAction::triggered, this, [this] {
        m_autoScaleAction->setChecked(true);
        m_plot->resetView();
    });

    QAction* grid = bar->addAction(tr("Detailed grid"));
    grid->setCheckable(true);
    connect(grid, &QAction::toggled, this, [this](bool on) {
        m_plot->setGridEnabled(on);
        m_plot->replot();
    });
}

void DeskWindow::onPriceIntervalChanged()
{
    m_plot->resetView();
}

void DeskWindow::onSecuritiesChanged()
{
    m_plot->updateCurves();
    showQuote();
}

void DeskWindow::stepQuote()
{
    const Record future = m_plot->getFuture();
    Table* securities = m_plot->securitiesTable();
    const int quoteColumn = m_plot->securitiesColumn(PriceBased2dPlot::SecCurKotir);
    const int stepColumn = m_plot->securitiesColumn(PriceBased2dPlot::SecPriceStep);
    if (future.isNull() || !securities)
        return;
    const double step = securities->dataPtr(future, stepColumn).toDouble();
    const double quote = securities->dataPtr(future, quoteColumn).toDouble();
    const double next = quote + step * m_random.bounded(-5, 6);
    if (next <= 0.0)
        return;

    Record changed = future.clone();
    changed.setValue(quoteColumn, QVariant::fromValue(decimal::fromDouble(next, 5)));
    securities->insert(changed);
}

void DeskWindow::showQuote()
{
    m_quoteLabel->setText(tr("Quote %1").arg(m_plot->xAxisConvertedValue(m_plot->quote())));
}

bool DeskWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_plot->canvas() && event->type() == QEvent::MouseMove)
        track(static_cast<QMouseEvent*>(event)->pos());
    return QMainWindow::eventFilter(watched, event);
}

void DeskWindow::track(const QPoint& canvasPos)
{
    const QPointF position = m_picker->transformedPoint(canvasPos);
    m_picker->setMousePrice(position.x());
    m_picker->setMouseValue(position.y());

    QString text = m_plot->xAxisConvertedValue(m_plot->roundedXValue(position.x()));
    const PriceBased2dPlotPicker::ClosestPointInfo nearest =
        m_picker->getClosestCurveParams(m_picker->usedCurves());
    if (nearest.curve && nearest.index >= 0) {
        const QPointF sample = nearest.curve->sample(static_cast<size_t>(nearest.index));
        text += QStringLiteral("\n%1: %2 at %3")
                    .arg(nearest.curve->title().text(), Plot2dCommon::formattedValue(sample.y(), 2),
                         m_plot->xAxisConvertedValue(sample.x()));
    }
    m_picker->setTrackerText(m_picker->renderedText(text));
}

void DeskWindow::restoreSettings()
{
    if (m_options.settingsPath.isEmpty())
        return;
    const Settings settings(m_options.settingsPath);
    m_legend->restore(settings);
    for (const QString& title : m_options.uncheck)
        m_legend->setCheckBoxChecked(title, false);
}

void DeskWindow::storeSettings() const
{
    if (m_options.settingsPath.isEmpty())
        return;
    Settings settings(m_options.settingsPath);
    m_legend->store(settings);
    settings.sync();
}

void DeskWindow::closeEvent(QCloseEvent* event)
{
    if (!m_stored) {
        storeSettings();
        m_stored = true;
    }
    QMainWindow::closeEvent(event);
}
