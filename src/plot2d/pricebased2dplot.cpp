#include "pricebased2dplot.h"

#include "boarddirectory.h"
#include "datastore.h"
#include "datetime.h"
#include "dbcommon.h"
#include "field.h"
#include "fieldconstvalue.h"
#include "icore.h"
#include "plot2dcolors.h"
#include "plot2dcommon.h"
#include "plot2ditems_p.h"
#include "plot2dsampling.h"
#include "pricebased2dplotcurve.h"
#include "pricebased2dplotlegend.h"
#include "pricebased2dplotpanner.h"
#include "pricebased2dplotpicker.h"
#include "pricebased2dplotscaledraw.h"
#include "pricebased2dplotscaleengine.h"
#include "securitydirectory.h"
#include "table.h"

#include <qwt_plot_canvas.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_layout.h>
#include <qwt_plot_marker.h>
#include <qwt_scale_widget.h>
#include <qwt_symbol.h>

#include <QCursor>
#include <QMouseEvent>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

const double DoubleMax = std::numeric_limits<double>::max();
// Half the largest double: the quote line must never overflow the scale maps.
const double CurKotirLineLimit = 8.988465674311579e307;
const double MinYSpan = 1e-8;
const QColor PlotBackgroundColor = QColor(Qt::white);
const char* const SecuritiesTableName = "securities";

const char* const ColumnNames[PriceBased2dPlot::SecColumnCount] = {
    "stock_id",    "board_id",       "sec_id",    "expdate",   "base_code",   "price_step",   "sectype",
    "option_type", "strike",         "sess_id",   "isin_id",   "fut_isin_id", "base_isin_id", "bid",
    "ask",         "cur_kotir_real", "cur_kotir", "old_kotir", "volat_min",   "volat_max",    "lasttime"};

bool isFinite(double value)
{
    return std::isfinite(value);
}

// Whether the axis's engine can divide the range at all: a span of a few denormals passes every
// other test, yet Qwt would turn it into an empty division and the axis into [0, 0]; with a
// non-finite step Qwt would build ticks without end.
bool isDivisible(const QwtPlot& plot, int axisId, double min, double max, double step)
{
    if (!isFinite(step))
        return false;
    const QwtScaleEngine* engine = plot.axisScaleEngine(axisId);
    return !engine ||
           !engine->divideScale(min, max, plot.axisMaxMajor(axisId), plot.axisMaxMinor(axisId), step)
                .isEmpty();
}

QPen solidPen(const QColor& color, double width)
{
    return QPen(QBrush(color), width, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin);
}

// QWheelEvent::delta(), deprecated in Qt 5.15, computed as it was: the horizontal component when it
// is the larger, so that a tilt wheel or a touchpad zooms as well.
int wheelDelta(const QWheelEvent& event)
{
    const QPoint angle = event.angleDelta();
    return std::abs(angle.x()) > std::abs(angle.y()) ? angle.x() : angle.y();
}

// QwtAbstractScaleDraw::invalidateCache() is protected; this reaches it without subclassing the
// draw again.
struct ScaleDrawCacheAccess : QwtAbstractScaleDraw
{
    using QwtAbstractScaleDraw::invalidateCache;
};

void invalidateScaleDrawCache(QwtAbstractScaleDraw* draw)
{
    void (QwtAbstractScaleDraw::*invalidate)() = &ScaleDrawCacheAccess::invalidateCache;
    (draw->*invalidate)();
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Construction and wiring
// ---------------------------------------------------------------------------------------------

const char* PriceBased2dPlot::securitiesColumnName(SecuritiesColumn column)
{
    if (column < 0 || column >= SecColumnCount)
        return nullptr;
    return ColumnNames[column];
}

PriceBased2dPlot::PriceBased2dPlot(bool setUp, const QwtText& title, QWidget* parent) : QwtPlot(title, parent)
{
    std::fill(std::begin(m_secColumns), std::end(m_secColumns), -1);
    m_securityDirectory = SecurityDirectory::i();
    initSecColumns();
    if (setUp)
        initPlot();
}

PriceBased2dPlot::PriceBased2dPlot(bool setUp, QWidget* parent) : QwtPlot(parent)
{
    std::fill(std::begin(m_secColumns), std::end(m_secColumns), -1);
    m_securityDirectory = SecurityDirectory::i();
    initSecColumns();
    if (setUp)
        initPlot();
}

PriceBased2dPlot::~PriceBased2dPlot() = default;

void PriceBased2dPlot::initSecColumns()
{
    DataStore* store = ICore::instance() ? ICore::instance()->dataStore() : nullptr;
    m_securitiesTable = store ? store->table(QString::fromLatin1(SecuritiesTableName)) : nullptr;

    std::fill(std::begin(m_secColumns), std::end(m_secColumns), -1);
    if (m_securitiesTable) {
        for (int column = 0; column < SecColumnCount; ++column)
            m_secColumns[column] = m_securitiesTable->columnIndex(QString::fromLatin1(ColumnNames[column]));
    }

    QString missing;
    for (int column = 0; column < SecColumnCount; ++column) {
        if (m_secColumns[column] == -1)
            missing += QString::number(column) + QLatin1Char(' ');
    }
    // A schema mismatch of the application database is not recoverable; the text and the
    // reported origin are what the application's log watchers look for.
    if (!missing.isEmpty()) {
        qFatal("ASSERT failure in CHECK_COLUMNS_FUNC!\nUnsetted struct members found! Members position: "
               "%s\nFile "
               "%s, Line %d",
               missing.toLatin1().constData(), "../../../src/plot2d/pricebased2dplot", 1170);
    }
}

void PriceBased2dPlot::initPlot()
{
    m_panner = new PriceBased2dPlotPanner(qobject_cast<QwtPlotCanvas*>(canvas()));
    m_panner->setMouseButton(Qt::LeftButton, Qt::NoModifier);

    m_scaleEngine = new PriceBased2dPlotScaleEngine(this, QwtPlot::xBottom, 10);
    setAxisScaleEngine(QwtPlot::xBottom, m_scaleEngine);

    m_xScaleDraw = new PriceBased2dPlotScaleDraw(QwtPlot::xBottom);
    m_yScaleDraw = new PriceBased2dPlotScaleDraw(QwtPlot::yLeft);
    setAxisScaleDraw(QwtPlot::xBottom, m_xScaleDraw);
    setAxisScaleDraw(QwtPlot::yLeft, m_yScaleDraw);

    axisWidget(QwtPlot::xBottom)->installEventFilter(this);

    connect(m_panner, &PriceBased2dPlotPanner::updateLabels, this, &PriceBased2dPlot::updateAxisLabels,
            Qt::UniqueConnection);
    connect(m_panner, qOverload<bool>(&PriceBased2dPlotPanner::autoScaleEnabled), this,
            qOverload<bool>(&PriceBased2dPlot::autoScaleEnabled), Qt::UniqueConnection);

    setCanvasBackground(QBrush(PlotBackgroundColor, Qt::SolidPattern));
    const QString styleSheet =
        QStringLiteral("QWidget { background-color: %1 }").arg(PlotBackgroundColor.name());
    setStyleSheet(styleSheet);
    axisWidget(QwtPlot::xBottom)->setStyleSheet(styleSheet);
    axisWidget(QwtPlot::yLeft)->setStyleSheet(styleSheet);

    axisWidget(QwtPlot::xBottom)->setCursor(Qt::ArrowCursor);
    axisWidget(QwtPlot::yLeft)->setCursor(Qt::ArrowCursor);

    setAutoReplot(false);
}

void PriceBased2dPlot::setCanvasObservers()
{
    m_picker->setTrackerMode(QwtPicker::AlwaysOn);
    m_picker->setRubberBand(QwtPicker::CrossRubberBand);
    setTrackerColor(QColor());
    m_panner->setCursor(Qt::ClosedHandCursor);
}

void PriceBased2dPlot::updateScaleLabels()
{
    m_xScaleDraw->updateLabels();
    m_yScaleDraw->updateLabels();
    replot();
}

void PriceBased2dPlot::updateAxisWidgets()
{
    m_xScaleDraw->updateLabels();
    // The first replot lays the new labels out, the second draws with the recomputed axes.
    replot();
    invalidateScaleDrawCache(m_xScaleDraw);
    updateAxes();
    replot();
    axisWidget(QwtPlot::xBottom)->update();
}

bool PriceBased2dPlot::eventFilter(QObject* watched, QEvent* event)
{
    const bool result = QwtPlot::eventFilter(watched, event);
    // Labels are computed lazily, once per invalidation, when the axis is first painted.
    if (watched == axisWidget(QwtPlot::xBottom) && event->type() == QEvent::Paint && m_xScaleDraw &&
        !m_xScaleDraw->axisPainted()) {
        m_xScaleDraw->setAxisPainted(true);
        m_xScaleDraw->updateLabels();
    }
    return result;
}

QSize PriceBased2dPlot::minimumSizeHint() const
{
    return QSize(20, 20);
}

// ---------------------------------------------------------------------------------------------
// Security context
// ---------------------------------------------------------------------------------------------

void PriceBased2dPlot::setIsinId(int isinId)
{
    if (isinId <= 0)
        return;
    m_baseCode.clear();
    m_isinId = isinId;
}

void PriceBased2dPlot::setBoardId(int boardId)
{
    if (boardId <= 0)
        return;
    m_baseCode.clear();
    m_boardId = boardId;
}

void PriceBased2dPlot::setBaseCode(const QString& baseCode)
{
    if (baseCode.isEmpty())
        return;
    if (m_boardId > 0)
        m_boardId = -1;
    if (m_isinId > 0)
        m_isinId = -1;
    m_baseCode = baseCode;
}

Record PriceBased2dPlot::getFuture() const
{
    if (m_isinId > 0 && m_boardId > 0 && m_baseCode.isEmpty())
        return m_securityDirectory->recordByIsinId(m_isinId, m_boardId);
    if (m_isinId <= 0 && m_boardId <= 0 && !m_baseCode.isEmpty())
        return getMinimumDateExerciseFuture();
    return Record();
}

Record PriceBased2dPlot::getVirtualFuture(int isinId, int boardId) const
{
    if (isinId < 1 || boardId < 1)
        return Record();
    return m_securityDirectory->recordByIsinId(isinId, boardId);
}

Field PriceBased2dPlot::securitiesField(const Record& record, SecuritiesColumn column, bool* hasValue) const
{
    return m_securitiesTable->dataPtr(record, m_secColumns[column], hasValue);
}

bool PriceBased2dPlot::isExerciseCandidate(const Record& record) const
{
    const int stockId = securitiesField(record, SecStockId).toInteger();
    const int boardId = securitiesField(record, SecBoardId).toInteger();
    const int sessId = securitiesField(record, SecSessId).toInteger();
    const char sectype = securitiesField(record, SecSectype).toChar();
    return sectype == FieldConstValue::SecTypes::Futures &&
           securitiesField(record, SecBaseCode).toString() == m_baseCode && sessId != 0 &&
           BoardDirectory::i()->isAnonymById(stockId, boardId);
}

Record PriceBased2dPlot::getMinimumDateExerciseFuture() const
{
    if (!m_securitiesTable || m_baseCode.isEmpty())
        return Record();

    Record kept;
    const QList<Record> records = m_securitiesTable->masterIndex();
    for (const Record& record : records) {
        if (!isExerciseCandidate(record))
            continue;
        // Strictly later only: of equal expiries the first in index order wins.
        if (kept.isNull() ||
            securitiesField(kept, SecExpdate).toDatetime() > securitiesField(record, SecExpdate).toDatetime())
            kept = record;
    }
    return kept;
}

decimal PriceBased2dPlot::getKotirFromFutureRecord(const Record& record) const
{
    if (record.isNull() || m_priceInterval.isEmpty() ||
        commonFuzzyCompare(m_priceInterval.min, m_priceInterval.max))
        return decimal::zero;

    // Real quote, quote, previous quote: the first field holding a value wins, even a zero.
    for (SecuritiesColumn column : {SecCurKotirReal, SecCurKotir, SecOldKotir}) {
        bool hasValue = false;
        const Field field = securitiesField(record, column, &hasValue);
        if (hasValue)
            return field.toDecimal();
    }

    const double middle = (m_priceInterval.min + m_priceInterval.max) * 0.5;
    if (!isFinite(middle))
        return decimal::zero;
    return decimal::fromDouble(middle, 5);
}

std::pair<double, double> PriceBased2dPlot::volatMinMax(const Record& record)
{
    if (record.isNull() || !m_securitiesTable || record.table() != m_securitiesTable ||
        securitiesField(record, SecSectype).toChar() != FieldConstValue::SecTypes::Futures)
        return std::make_pair(gc_dVolatMinDefault, gc_dVolatMaxDefault);

    double low = securitiesField(record, SecVolatMin).toDouble();
    double high = securitiesField(record, SecVolatMax).toDouble();

    // Only a plausible inversion is repaired; anything else is left for the checks below.
    if (low > high && !Plot2dCommon::isNearZero(low) && !Plot2dCommon::isNearZero(high) &&
        high >= gc_dVolatMinDefault && low <= gc_dVolatMaxDefault)
        std::swap(low, high);

    if (Plot2dCommon::isNearZero(low))
        low = gc_dVolatMinDefault;
    if (Plot2dCommon::isNearZero(high))
        high = gc_dVolatMaxDefault;

    low = std::max(low, 0.00001); // a NaN stays NaN
    if (low > high)
        high = low;
    return std::make_pair(low, high);
}

void PriceBased2dPlot::setPriceInterval(const PriceInterval& interval)
{
    m_priceInterval = interval;
}

PriceInterval PriceBased2dPlot::priceInterval() const
{
    return m_priceInterval;
}

double PriceBased2dPlot::priceStep() const
{
    return m_picker ? m_picker->priceStep() : -1.0;
}

void PriceBased2dPlot::setRescaleFactor(decimal factor)
{
    m_scaleEngine->setRescaleFactor(factor);
}

bool PriceBased2dPlot::conversionEnabled(int axisId) const
{
    if (axisId == QwtPlot::xBottom && m_xScaleDraw)
        return m_xScaleDraw->conversionEnabled();
    return m_yScaleDraw->conversionEnabled();
}

QString PriceBased2dPlot::xAxisConvertedValue(double value) const
{
    return m_xScaleDraw->convertedValue(value);
}

QString PriceBased2dPlot::xAxisMetricUnit() const
{
    return m_xScaleDraw->metricUnit();
}

// ---------------------------------------------------------------------------------------------
// Curves, markers and the current-quote line
// ---------------------------------------------------------------------------------------------

QList<PriceBased2dPlotCurve*> PriceBased2dPlot::attachedCurves(int dataType) const
{
    return Plot2dCommon::attachedCurves(*this, dataType);
}

QList<QwtPlotMarker*> PriceBased2dPlot::attachedMarkers() const
{
    return Plot2dCommon::attachedMarkers(*this);
}

QRectF PriceBased2dPlot::curvesRectangle() const
{
    return Plot2dCommon::curvesRectangle(*this);
}

QList<QwtPlotMarker*> PriceBased2dPlot::createMarkers(int count, PriceBased2dPlotCurve* curve)
{
    QList<QwtPlotMarker*> markers;
    if (count <= 0 || !curve)
        return markers;

    const QPen curvePen = curve->pen();
    for (int i = 0; i < count; ++i) {
        auto* marker = new QwtPlotMarker();
        marker->setRenderHint(QwtPlotItem::RenderAntialiased, true);
        marker->setItemAttribute(QwtPlotItem::Legend, false);
        marker->setSymbol(
            new QwtSymbol(QwtSymbol::Rect, curvePen.brush(), solidPen(curvePen.color(), 4.0), QSize(4, 4)));
        marker->attach(this);
        markers.append(marker);
    }
    return markers;
}

void PriceBased2dPlot::updateCurKotirPoints(double yLow, double yHigh, double kotir)
{
    const QwtInterval axisInterval = axisScaleDiv(QwtPlot::yLeft).interval();
    double low = std::min(yLow, axisInterval.minValue());
    double high = std::max(yHigh, axisInterval.maxValue());
    if (low > high)
        return;
    if (commonFuzzyCompare(low, high)) {
        low -= 1.0;
        high += 1.0;
    }

    PriceBased2dPlotCurve* line = firstCurKotirLine();
    if (!line || line->dataSize() != 2)
        return;

    double x = kotir;
    if (kotir < 0.0 && !currentCurKotirX(line, &x))
        return;

    const double margin = (high - low) * 0.1;
    const QVector<QPointF> points = {QPointF(x, std::max(low - margin, -CurKotirLineLimit)),
                                     QPointF(x, std::min(high + margin, CurKotirLineLimit))};
    line->setSamples(points);
}

PriceBased2dPlotCurve* PriceBased2dPlot::firstCurKotirLine() const
{
    // Only the first line is moved; further type-0 curves are left alone on purpose.
    const QList<PriceBased2dPlotCurve*> curves = attachedCurves(PriceBased2dPlotCurve::NotSet);
    for (PriceBased2dPlotCurve* curve : curves) {
        if (curve->dataType() == PriceBased2dPlotCurve::CurKotirLine)
            return curve;
    }
    return nullptr;
}

bool PriceBased2dPlot::currentCurKotirX(const PriceBased2dPlotCurve* line, double* x)
{
    const double x0 = line->sample(0).x();
    const double x1 = line->sample(1).x();
    if (x0 < 0.0 || !(x0 == x1))
        return false;
    *x = x0;
    return true;
}

void PriceBased2dPlot::setCurKotirEnabled(bool enabled)
{
    m_xScaleDraw->setCurKotirEnabled(enabled);
}

void PriceBased2dPlot::setCurKotirValue(double value)
{
    m_xScaleDraw->setCurKotirValue(value);
}

void PriceBased2dPlot::setCurveVisible(const QString& curveTitle, bool visible)
{
    // Only the legend may show or hide curves through this slot.
    if (!qobject_cast<PriceBased2dPlotLegend*>(sender()))
        return;
    if (curveTitle.isEmpty())
        return;

    const QwtPlotItemList items = itemList(QwtPlotItem::Rtti_PlotCurve);
    for (QwtPlotItem* item : items) {
        auto* curve = dynamic_cast<PriceBased2dPlotCurve*>(item);
        if (!curve || !curve->isValid() || curve->title().text() != curveTitle)
            continue;
        curve->setVisible(visible);
        if (curve->dataType() != PriceBased2dPlotCurve::CurKotirLine)
            updateYAxisScale();
        else
            replot();
        return;
    }
}

QwtPlotGrid* PriceBased2dPlot::grid() const
{
    const QwtPlotItemList items = itemList(QwtPlotItem::Rtti_PlotGrid);
    return items.isEmpty() ? nullptr : dynamic_cast<QwtPlotGrid*>(items.first());
}

void PriceBased2dPlot::setGridEnabled(bool enabled)
{
    QwtPlotGrid* theGrid = grid();
    if (!theGrid)
        return;

    // "Enabled" means the detailed grid; a disabled grid still shows thin major lines.
    theGrid->enableX(true);
    theGrid->enableY(true);
    theGrid->enableXMin(enabled);
    theGrid->enableYMin(enabled);
    const QColor majorColor(QStringLiteral("#b2beb5"));
    if (!enabled) {
        theGrid->setMajorPen(solidPen(majorColor, 1.0));
        return;
    }
    theGrid->setMajorPen(solidPen(majorColor, 2.0));
    theGrid->setMinorPen(solidPen(QColor(QStringLiteral("#cccccc")), 1.0));
}

void PriceBased2dPlot::setGridVisible(bool visible)
{
    if (QwtPlotGrid* theGrid = grid())
        theGrid->setVisible(visible);
}

void PriceBased2dPlot::setTrackerColor(const QColor& color)
{
    if (!m_picker || m_picker->trackerPen().color() == color)
        return;
    const QColor used = color.isValid() ? color : QColor(Qt::black);
    m_picker->setRubberBandPen(solidPen(used, 1.0));
    m_picker->setTrackerPen(QPen(used));
}

QColor PriceBased2dPlot::getTrackerColor() const
{
    return m_picker ? m_picker->trackerPen().color() : QColor();
}

// ---------------------------------------------------------------------------------------------
// Y autoscale and axis ranges
// ---------------------------------------------------------------------------------------------

void PriceBased2dPlot::setZoomEnabled(bool enabled)
{
    m_zoomEnabled = enabled;
}

void PriceBased2dPlot::setAutoScaleEnabled(bool enable)
{
    m_panner->setAutoScaleEnabled(enable);
}

bool PriceBased2dPlot::autoScaleEnabled() const
{
    return m_panner && m_panner->autoScaleEnabled();
}

void PriceBased2dPlot::resetAutoScale()
{
    // Only asks; the flag changes when a listener calls setAutoScaleEnabled.
    if (autoScaleEnabled())
        Q_EMIT autoScaleEnabled(false);
}

void PriceBased2dPlot::updateYAxisScale()
{
    if (autoScaleEnabled()) {
        const std::pair<double, double> range = minMaxYAtXRange();
        if (range.first > range.second && !commonFuzzyCompare(range.first, range.second)) {
            replot();
            return;
        }
        setAxisScale(QwtPlot::yLeft, range.first, range.second, 0.0);
    } else {
        updateCurKotirPoints(0.0, 0.0, -1.0);
    }

    // The labels are rebuilt from the scale the first replot laid out, hence the second one.
    replot();
    m_xScaleDraw->updateLabels();
    m_yScaleDraw->updateLabels();
    replot();
}

std::pair<double, double> PriceBased2dPlot::minMaxYAtXRange()
{
    return yExtentOfCurves(IndexedScan);
}

std::pair<double, double> PriceBased2dPlot::minMaxYAtXRangeLinear() const
{
    return yExtentOfCurves(LinearScan);
}

bool PriceBased2dPlot::visibleRoundedXRange(double* left, double* right) const
{
    const QwtScaleDiv div = axisScaleDiv(QwtPlot::xBottom);
    if (!Plot2dCommon::isUsableScaleDiv(div))
        return false;
    *left = roundedXValue(div.interval().minValue());
    *right = roundedXValue(div.interval().maxValue());
    return !(*left > *right) && !Plot2dCommon::fuzzyEqual(*left, *right);
}

std::pair<double, double> PriceBased2dPlot::yExtentOfCurves(ExtentScan scan) const
{
    const std::pair<double, double> unusable(1.0, -1.0);
    double left = 0.0;
    double right = 0.0;
    if (!visibleRoundedXRange(&left, &right))
        return unusable;

    double yMin = DoubleMax;
    double yMax = -DoubleMax;
    bool nothingCounted = true;

    const QwtPlotItemList items = itemList(QwtPlotItem::Rtti_PlotCurve);
    if (items.isEmpty())
        return std::make_pair(0.0, 0.0);

    for (QwtPlotItem* item : items) {
        const auto* curve = dynamic_cast<PriceBased2dPlotCurve*>(item);
        if (!curve)
            continue;
        const bool isLine = curve->dataType() == PriceBased2dPlotCurve::CurKotirLine;
        if (curve->isValid() && curve->isVisible() && !isLine) {
            nothingCounted = false;
            // A valid curve always has a data object.
            const Plot2dSampling::YExtent extent =
                scan == IndexedScan ? Plot2dSampling::CurveCache::yExtent(*curve, left, right)
                                    : Plot2dSampling::scanYExtent(*curve->data(), left, right);
            if (extent.nonFinite)
                return unusable;
            yMin = std::min(yMin, extent.min);
            yMax = std::max(yMax, extent.max);
        } else if (!curve->isVisible() && isLine) {
            // A hidden quote line counts as "something" though nothing of it is read; kept on purpose.
            nothingCounted = false;
        }
    }

    if (nothingCounted)
        return std::make_pair(0.0, 0.0);
    return std::make_pair(yMin, yMax);
}

void PriceBased2dPlot::setAxisScale(int axisId, double min, double max, double step)
{
    if (axisId != QwtPlot::yLeft && axisId != QwtPlot::xBottom)
        return;
    if (!isFinite(min) || !isFinite(max) || min > max)
        return;

    // A flat X range is refused while a flat Y range is widened: the asymmetry is intended.
    // Refusing what the axis engine cannot divide goes beyond the bound checks on purpose (fuzzing).
    if (axisId == QwtPlot::xBottom) {
        if (!commonFuzzyCompare(min, max) && isDivisible(*this, QwtPlot::xBottom, min, max, step))
            QwtPlot::setAxisScale(QwtPlot::xBottom, min, max, step);
        return;
    }

    updateCurKotirPoints(min, max, -1.0);
    if (commonFuzzyCompare(min, max)) {
        min -= 1.0;
        max += 1.0;
    }
    // Also catches a flat range too large for the one-unit widening to open (1e17 +- 1 is 1e17),
    // which Qwt would turn into an empty axis.
    if (!(max - min > MinYSpan) || !isDivisible(*this, QwtPlot::yLeft, min, max, step))
        return;
    QwtPlot::setAxisScale(QwtPlot::yLeft, min, max, step);
}

double PriceBased2dPlot::roundedXValue(double x) const
{
    const double step = priceStep();
    if (step < 0.0 || Plot2dCommon::isNearZero(step))
        return x;
    const double rounded = step * Plot2dCommon::roundHalfUp(x / step);
    return isFinite(rounded) ? rounded : x;
}

// ---------------------------------------------------------------------------------------------
// Wheel zoom and mouse
// ---------------------------------------------------------------------------------------------

void PriceBased2dPlot::setTrackerMode()
{
    m_picker->setTrackerMode(QwtPicker::AlwaysOn);
}

void PriceBased2dPlot::resetTrackerMode()
{
    m_picker->setTrackerMode(QwtPicker::AlwaysOff);
}

bool PriceBased2dPlot::mousePositionOnXScale(const QPointF& pos) const
{
    return plotLayout()->scaleRect(QwtPlot::xBottom).contains(pos);
}

bool PriceBased2dPlot::mousePositionOnYScale(const QPointF& pos) const
{
    return plotLayout()->scaleRect(QwtPlot::yLeft).contains(pos);
}

bool PriceBased2dPlot::mousePositionOnScale(const QPointF& pos) const
{
    return mousePositionOnXScale(pos) || mousePositionOnYScale(pos);
}

double PriceBased2dPlot::wheelFactor(int delta)
{
    // A fast wheel zooms only a little faster, not n times.
    const int steps = std::abs(delta / 120);
    if (steps == 0)
        return 0.0;
    if (steps == 1)
        return delta >= 120 ? 0.9 : 1.1;
    return delta > 0 ? 0.89 : 1.11;
}

double PriceBased2dPlot::anchoredRatio(double anchor, double lower, double upper)
{
    const double r = (upper - anchor) / (anchor - lower);
    // An anchor on the lower bound makes it the new upper bound; this follows from the zero rule
    // and is kept on purpose.
    if (Plot2dCommon::fuzzyEqual(anchor + 10.0, lower + 10.0) || Plot2dCommon::fuzzyEqual(r, -1.0))
        return 0.0;
    return r;
}

QPointF PriceBased2dPlot::wheelAnchor(const WheelZoom& zoom) const
{
    const QPoint global = QCursor::pos();
    if (zoom.onX) {
        const QPointF p = m_picker->transformedPoint(axisWidget(QwtPlot::xBottom)->mapFromGlobal(global));
        return QPointF(p.x(), zoom.yLower + 0.1 * (zoom.yUpper - zoom.yLower));
    }
    if (zoom.onY) {
        const QPointF p = m_picker->transformedPoint(axisWidget(QwtPlot::yLeft)->mapFromGlobal(global));
        return QPointF(zoom.xLower + 0.1 * (zoom.xUpper - zoom.xLower), p.y());
    }
    return m_picker->transformedPoint(zoom.pos);
}

void PriceBased2dPlot::wheelNewSpans(WheelZoom& zoom) const
{
    const double xSpan = zoom.xUpper - zoom.xLower;
    const double ySpan = zoom.yUpper - zoom.yLower;
    zoom.newXSpan = xSpan;
    zoom.newYSpan = ySpan;
    if (!zoom.zoomOut() || xSpan < zoom.curves.width()) {
        zoom.newXSpan = xSpan * zoom.factor;
        zoom.newYSpan = ySpan * zoom.factor;
    } else if (ySpan < zoom.curves.height()) {
        // Zoom-out stops at the curves' extent.
        zoom.newYSpan = ySpan * zoom.factor;
    }
}

bool PriceBased2dPlot::wheelWithinLimits(const WheelZoom& zoom) const
{
    if (zoom.zoomOut())
        return true;
    if (zoom.newYSpan < MinYSpan || zoom.newXSpan < m_priceInterval.step)
        return false;
    return !m_yScaleDraw->ticksShrinked(QwtScaleDiv(0.0, 0.0));
}

bool PriceBased2dPlot::wheelNewXLower(WheelZoom& zoom) const
{
    const QRectF& c = zoom.curves;
    if (zoom.zoomOut() && (zoom.xLower < c.x() || c.x() + c.width() < zoom.xUpper)) {
        // When both edges are cut, the right-hand rule wins.
        zoom.newXLower = c.x() + c.width() < zoom.xUpper ? zoom.xUpper - zoom.newXSpan : zoom.xLower;
        return true;
    }
    const double r = anchoredRatio(zoom.anchor.x(), zoom.xLower, zoom.xUpper);
    const double shift = zoom.newXSpan / (r + 1.0);
    if (!isFinite(shift))
        return false;
    zoom.newXLower = zoom.anchor.x() - shift;
    return true;
}

bool PriceBased2dPlot::wheelNewYUpper(WheelZoom& zoom) const
{
    const QRectF& c = zoom.curves;
    if (zoom.zoomOut() && (zoom.yLower < c.y() || zoom.yUpper > c.y() + c.height())) {
        // When both edges are cut, the upper-edge rule wins.
        zoom.newYUpper = zoom.yUpper > c.y() + c.height() ? zoom.yUpper : zoom.yLower + zoom.newYSpan;
        return true;
    }
    const double r = anchoredRatio(zoom.anchor.y(), zoom.yLower, zoom.yUpper);
    const double upper = zoom.anchor.y() + zoom.newYSpan * r / (r + 1.0);
    if (!isFinite(upper))
        return false;
    zoom.newYUpper = upper;
    return true;
}

void PriceBased2dPlot::applyXZoom(const WheelZoom& zoom)
{
    setAxisScale(QwtPlot::xBottom, zoom.newXLower, zoom.newXLower + zoom.newXSpan, 0.0);
    rescaleYToNewX();
}

void PriceBased2dPlot::rescaleYToNewX()
{
    // Deliberately laid out first: Qwt divides a new range only on the next replot, Y follows it now.
    updateAxes();
    updateYAxisScale();
}

void PriceBased2dPlot::applyYZoom(const WheelZoom& zoom, double ySpan)
{
    resetAutoScale();
    setAxisScale(QwtPlot::yLeft, zoom.newYUpper - ySpan, zoom.newYUpper, 0.0);
}

void PriceBased2dPlot::applyWheelZoom(const WheelZoom& zoom, Qt::KeyboardModifiers modifiers)
{
    const bool shift = modifiers.testFlag(Qt::ShiftModifier);
    const bool control = modifiers.testFlag(Qt::ControlModifier);
    const double curvesHeight = zoom.curves.height();

    if (shift == control && !zoom.onX && !zoom.onY) {
        resetAutoScale();
        setAxisScale(QwtPlot::xBottom, zoom.newXLower, zoom.newXLower + zoom.newXSpan, 0.0);
        const double ySpan = std::min(zoom.newYSpan, zoom.factor * curvesHeight);
        setAxisScale(QwtPlot::yLeft, zoom.newYUpper - ySpan, zoom.newYUpper, 0.0);
    } else if (zoom.onX) {
        applyXZoom(zoom);
    } else if (zoom.onY) {
        const double ySpan = zoom.yUpper - zoom.yLower;
        if (zoom.factor < 1.0 || (zoom.factor > 1.0 && ySpan < curvesHeight))
            applyYZoom(zoom, zoom.newYSpan);
    } else if (control) {
        applyXZoom(zoom);
    } else {
        // Unlike the both-axes case the cap is the curves' height without the factor; kept as it is.
        applyYZoom(zoom, std::min(zoom.newYSpan, curvesHeight));
    }
}

void PriceBased2dPlot::wheelEvent(QWheelEvent* event)
{
    // 1. Where the cursor is.
    WheelZoom zoom;
    zoom.pos = mapFromGlobal(QCursor::pos());
    zoom.onX = mousePositionOnXScale(zoom.pos);
    zoom.onY = mousePositionOnYScale(zoom.pos);
    const bool onCanvas = plotLayout()->canvasRect().contains(zoom.pos);
    if ((!zoom.onX && !zoom.onY && !onCanvas) || !m_zoomEnabled) {
        event->ignore();
        return;
    }

    // 2. Current ranges.
    const QwtScaleDiv xDiv = axisScaleDiv(QwtPlot::xBottom);
    const QwtScaleDiv yDiv = axisScaleDiv(QwtPlot::yLeft);
    if (!Plot2dCommon::isUsableScaleDiv(xDiv) || !Plot2dCommon::isUsableScaleDiv(yDiv)) {
        event->ignore();
        return;
    }
    zoom.xLower = xDiv.lowerBound();
    zoom.xUpper = xDiv.upperBound();
    zoom.yLower = yDiv.lowerBound();
    zoom.yUpper = yDiv.upperBound();

    // 3. Anchor; 4. factor.
    zoom.anchor = wheelAnchor(zoom);
    zoom.factor = wheelFactor(wheelDelta(*event));
    if (zoom.factor == 0.0) {
        event->ignore();
        return;
    }

    // 5. New spans, bounded by the curves.
    zoom.curves = curvesRectangle();
    if (zoom.curves.width() <= 0.0 || zoom.curves.height() < 0.0) {
        event->ignore();
        return;
    }
    wheelNewSpans(zoom);

    // 6. Limits; 7. and 8. new bounds.
    if (!wheelWithinLimits(zoom) || !wheelNewXLower(zoom) || !wheelNewYUpper(zoom)) {
        event->ignore();
        return;
    }

    // 9. Apply; 10. announce.
    applyWheelZoom(zoom, event->modifiers());
    event->accept();
    Q_EMIT updateAxisLabels();
}

void PriceBased2dPlot::mousePressEvent(QMouseEvent* event)
{
    if (mousePositionOnScale(event->localPos()) && event->button() == Qt::LeftButton)
        m_pressPoint = event->localPos();
    else
        m_pressPoint = QPointF();
    m_lastDragPoint = QPointF();
    QWidget::mousePressEvent(event);
}

void PriceBased2dPlot::mouseMoveEvent(QMouseEvent* event)
{
    if (scaleDragStep(event->localPos()))
        refreshAfterDrag(event->localPos());
    QWidget::mouseMoveEvent(event);
}

bool PriceBased2dPlot::scaleDragStep(const QPointF& pos)
{
    // 2. Which axis, and which way.
    if (!m_zoomEnabled || m_pressPoint.isNull())
        return false;
    const bool pressOnY = mousePositionOnYScale(m_pressPoint);
    int axis = -1;
    if (mousePositionOnXScale(m_pressPoint))
        axis = QwtPlot::xBottom;
    else if (pressOnY)
        axis = QwtPlot::yLeft;
    else
        return false;

    const QPointF reference = m_lastDragPoint.isNull() ? m_pressPoint : m_lastDragPoint;
    const double current = axis == QwtPlot::xBottom ? pos.x() : pos.y();
    const double previous = axis == QwtPlot::xBottom ? reference.x() : reference.y();
    if (current == previous)
        return false;

    // 3. Range and direction; 4. zoom-in guards.
    const QwtScaleDiv div = axisScaleDiv(axis);
    if (!Plot2dCommon::isUsableScaleDiv(div))
        return false;
    const double lower = div.lowerBound();
    const double upper = div.upperBound();
    const bool zoomIn = current < previous;
    if (zoomIn && axis == QwtPlot::xBottom && upper - lower < m_priceInterval.step)
        return false;
    if (zoomIn && pressOnY && m_yScaleDraw->ticksShrinked(QwtScaleDiv(0.0, 0.0)))
        return false;

    // 5. and 6. The curves' extent along the axis.
    const QRectF curves = curvesRectangle();
    if (curves.width() <= 0.0 || curves.height() < 0.0)
        return false;
    const double cLo = axis == QwtPlot::xBottom ? curves.left() : curves.top();
    const double cHi =
        axis == QwtPlot::xBottom ? curves.left() + curves.width() : curves.top() + curves.height();
    if (!zoomIn && cLo >= lower && upper >= cHi)
        return false;

    // 7. New range; 8. apply.
    double newLower = 0.0;
    double newUpper = 0.0;
    if (!dragRange(zoomIn, lower, upper, cLo, cHi, &newLower, &newUpper))
        return false;
    if (axis == QwtPlot::yLeft)
        resetAutoScale();
    setAxisScale(axis, newLower, newUpper, 0.0);
    if (axis == QwtPlot::xBottom)
        rescaleYToNewX();
    return true;
}

bool PriceBased2dPlot::dragRange(bool zoomIn, double lower, double upper, double cLo, double cHi,
                                 double* newLower, double* newUpper)
{
    const double d = (upper - lower) * 0.1 * 0.5;
    if (zoomIn) {
        if (lower + d > upper - d)
            return false;
        *newLower = lower + d;
        *newUpper = upper - d;
        return true;
    }
    // The range grows only on the side where curves are cut off.
    if (cLo >= lower) {
        *newLower = lower;
        *newUpper = upper + 2.0 * d;
    } else if (upper >= cHi) {
        *newLower = lower - 2.0 * d;
        *newUpper = upper;
    } else {
        *newLower = lower - d;
        *newUpper = upper + d;
    }
    return true;
}

void PriceBased2dPlot::refreshAfterDrag(const QPointF& pos)
{
    m_lastDragPoint = pos;
    m_xScaleDraw->updateLabels();
    m_yScaleDraw->updateLabels();
    replot();
    updateAxisWidgets();
}
