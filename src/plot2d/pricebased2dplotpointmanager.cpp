#include "pricebased2dplotpointmanager.h"

#include "plot2dcommon.h"
#include "pricebased2dplot.h"

#include "dbcommon.h"
#include "decimal.h"
#include "securitydirectory.h"
#include "strikebybasecodemodel.h"
#include "strikebymaxsessionmodel.h"
#include "table.h"

#include <qwt_scale_div.h>

#include <cmath>

namespace {

constexpr double MaxStepCount = 100000.0;
// Fewer visible price steps than this switch to fine mode; also the number of strike steps
// beyond which no refinement is needed and the target count of visible points.
constexpr double TargetPointCount = 100.0;

void registerMetaTypes()
{
    static const bool registered = [] {
        qRegisterMetaType<PriceInterval>("PriceInterval");
        qRegisterMetaType<FilterParams>("FilterParams");
        return true;
    }();
    Q_UNUSED(registered)
}

using Plot2dCommon::fuzzyEqual;
using Plot2dCommon::isNearZero;

bool fuzzyLessOrEqual(double a, double b)
{
    return a < b || fuzzyEqual(a, b);
}

// Two strikes need the model's step to be their distance; more need it strictly narrower than
// the whole width.
bool isAcceptedStep(int strikeCount, double minStep, double width)
{
    if (isNearZero(minStep) || minStep < 0.0)
        return false;
    if (strikeCount == 2)
        return fuzzyEqual(minStep, width);
    return !(minStep > width || fuzzyEqual(minStep, width));
}

} // namespace

PriceBased2dPlotPointManager::PriceBased2dPlotPointManager(bool byMaxSession, PriceBased2dPlot* plot)
    : QObject(plot), m_plot(plot), m_byMaxSession(byMaxSession)
{
    registerMetaTypes();
    if (!m_plot || !m_plot->securitiesTable())
        return;

    Table* table = m_plot->securitiesTable();
    if (m_byMaxSession)
        m_model = new StrikeByMaxSessionModel(table, this);
    else
        m_model = new StrikeByBaseCodeModel(table, this);

    connect(m_model, &QAbstractItemModel::rowsInserted, this,
            &PriceBased2dPlotPointManager::updatePriceInterval);
    connect(m_model, &QAbstractItemModel::rowsRemoved, this,
            &PriceBased2dPlotPointManager::updatePriceInterval);
    connect(m_model, &QAbstractItemModel::modelReset, this,
            &PriceBased2dPlotPointManager::updatePriceInterval);

    // The max-session model gets its filter through initCore() instead.
    if (m_byMaxSession)
        return;
    Record future = m_plot->getFuture();
    if (future.isNull())
        return;
    const QString baseCode =
        table->dataPtr(future, m_plot->securitiesColumn(PriceBased2dPlot::SecBaseCode)).toString();
    if (!baseCode.isEmpty()) {
        m_model->setBaseCode(baseCode);
        m_model->sort(0, Qt::AscendingOrder);
    }
    table->freeRow(future);
}

PriceBased2dPlotPointManager::~PriceBased2dPlotPointManager() = default;

void PriceBased2dPlotPointManager::initCore(const FilterParams& params)
{
    if (auto* model = maxSessionModel())
        model->setFilterParams(params);
}

FilterParams PriceBased2dPlotPointManager::filterParams() const
{
    if (const auto* model = maxSessionModel())
        return model->filterParams();
    return FilterParams::noFilter();
}

PriceInterval PriceBased2dPlotPointManager::interval() const
{
    return m_plot ? m_plot->priceInterval() : PriceInterval::empty();
}

void PriceBased2dPlotPointManager::setPlot(PriceBased2dPlot* plot)
{
    m_plot = plot;
    if (!m_plot || !m_model)
        return;
    if (m_plot->baseCode() != m_model->baseCode()) {
        m_model->setBaseCode(m_plot->baseCode());
        m_model->sort(0, Qt::AscendingOrder);
    }
}

void PriceBased2dPlotPointManager::updatePriceInterval()
{
    if (!m_plot || !m_model)
        return;
    const PriceInterval old = m_plot->priceInterval();
    const PriceInterval current = computedInterval();
    if (current == old)
        return;
    m_plot->setPriceInterval(current);
    Q_EMIT priceIntervalChanged(current);
}

PriceInterval PriceBased2dPlotPointManager::computedInterval() const
{
    const int n = m_model->rowCount();
    if (n <= 1)
        return PriceInterval::empty();

    const int decimals = strikeDecimals();
    if (decimals < 0)
        return PriceInterval::empty();

    const double lo = m_model->strike(0).toDouble();
    const double hi = m_model->strike(n - 1).toDouble();
    if (isNearZero(lo) || isNearZero(hi) || lo > hi || commonFuzzyCompare(lo, hi))
        return PriceInterval::empty();

    const double minStep = m_model->minStep();
    if (!isAcceptedStep(n, minStep, hi - lo))
        return PriceInterval::empty();

    const double step = decimal::fromDouble(minStep, static_cast<short>(decimals)).toDouble();
    if (isNearZero(step))
        return PriceInterval::empty();

    PriceInterval interval;
    interval.min = lo;
    interval.max = hi;
    interval.step = step;
    interval.valid = true;
    return interval;
}

int PriceBased2dPlotPointManager::strikeDecimals() const
{
    Record record = m_model->record(m_model->index(0, 0));
    const Table* table = m_plot->securitiesTable();
    if (record.isNull() || !table)
        return -1;
    const int stockId =
        table->dataPtr(record, m_plot->securitiesColumn(PriceBased2dPlot::SecStockId)).toInteger();
    const int boardId =
        table->dataPtr(record, m_plot->securitiesColumn(PriceBased2dPlot::SecBoardId)).toInteger();
    const qint64 secId =
        table->dataPtr(record, m_plot->securitiesColumn(PriceBased2dPlot::SecSecId)).toInteger64();
    table->freeRow(record);
    return SecurityDirectory::i()->decimalsById(stockId, boardId, secId);
}

QList<double> PriceBased2dPlotPointManager::calcPlotPoints(bool ignoreVisibleRange)
{
    // 1-2. A usable view, at least two strikes and a valid interval.
    if (!m_plot || !m_model)
        return {};
    const int n = m_model->rowCount();
    const QwtInterval visible = m_plot->axisScaleDiv(QwtPlot::xBottom).interval();
    const double lo = visible.minValue();
    const double hi = visible.maxValue();
    const PriceInterval interval = m_plot->priceInterval();
    if (!(lo <= hi) || n < 2 || commonFuzzyCompare(lo, hi) || !interval.valid)
        return {};

    // 3. Sorted strikes that meet the view.
    const decimal s0 = m_model->strike(0);
    const decimal sN = m_model->strike(n - 1);
    if (!(s0 < sN))
        return {};
    if (!ignoreVisibleRange && !(lo <= sN.toDouble() && s0.toDouble() <= hi))
        return {};

    // 4-5. The strikes that frame the view.
    decimal first;
    decimal last;
    if (!framingStrikes(lo, hi, &first, &last))
        return {};

    // 6-7.
    const QList<double> strikePoints = minStepPoints(s0.toDouble(), sN.toDouble(), interval.step);
    const double priceStep = m_plot->priceStep();
    if (priceStep < 0.0 || isNearZero(priceStep))
        return {};

    // 8. Fine mode: few price steps visible, so every price step is computed.
    const double span = hi - lo;
    if (span < priceStep * TargetPointCount || commonFuzzyCompare(span, priceStep * TargetPointCount))
        return minStepPoints(s0.toDouble(), sN.toDouble(), priceStep);

    // 9-10. Refined mode.
    return refinedPoints(strikePoints, first.toDouble(), last.toDouble(), interval.step);
}

bool PriceBased2dPlotPointManager::framingStrikes(double lo, double hi, decimal* first, decimal* last) const
{
    *first = decimal::maximum;
    *last = decimal::minimum;
    const int n = m_model->rowCount();
    for (int i = 0; i + 1 < n; ++i) {
        const decimal a = m_model->strike(i);
        const decimal b = m_model->strike(i + 1);
        const bool usable = !isNearZero(a.toDouble()) && !isNearZero(b.toDouble()) && a >= decimal::zero &&
                            b >= decimal::zero;
        if (!usable)
            continue;
        if (a > b)
            return false;
        const bool aInside = lo <= a.toDouble() && a.toDouble() <= hi;
        const bool bInside = lo <= b.toDouble() && b.toDouble() <= hi;
        if (bInside && !aInside)
            *first = a;
        if (aInside && !bInside)
            *last = b;
    }
    if (*first == decimal::maximum)
        *first = m_model->strike(0);
    if (*last == decimal::minimum)
        *last = m_model->strike(n - 1);
    return *first < *last;
}

QList<double> PriceBased2dPlotPointManager::refinedPoints(const QList<double>& strikePoints, double first,
                                                          double last, double step)
{
    // Kept as a double: a tiny step must not overflow an int before the test below.
    const double k = std::trunc((last - first) / step - 1.0);
    if (k >= TargetPointCount)
        return strikePoints;

    const int m = static_cast<int>(std::ceil(TargetPointCount / (k + 1)));
    const double sub = step / (m + 1);
    QList<double> points;
    for (double p : strikePoints) {
        points.append(p);
        const bool framing = fuzzyLessOrEqual(first, p) && p < last && !fuzzyEqual(p, last);
        if (!framing)
            continue;
        double x = p;
        for (int i = 0; i < m; ++i) {
            x += sub;
            points.append(x);
        }
    }
    return points;
}

QList<double> PriceBased2dPlotPointManager::minStepPoints(double from, double to, double step)
{
    if (from < 0.0 || to < 0.0)
        return {};
    if (isNearZero(from) || from > to)
        return {};
    if (isNearZero(to) || step < 0.0)
        return {};
    if (fuzzyEqual(from, to))
        return {};
    const double width = to - from;
    if (step > width) {
        if (width / step > MaxStepCount || !fuzzyEqual(step, width))
            return {};
    } else if (width / step > MaxStepCount) {
        // Deliberately all or nothing: a finer request yields no points rather than a huge list.
        return {};
    }

    QList<double> points{from};
    double x = from;
    while (fuzzyLessOrEqual(x, to)) {
        // Accumulated by repeated addition, deliberately, not by multiplication.
        x += step;
        points.append(x);
    }
    points.removeLast();
    return points;
}

StrikeByMaxSessionModel* PriceBased2dPlotPointManager::maxSessionModel() const
{
    if (!m_byMaxSession)
        return nullptr;
    return qobject_cast<StrikeByMaxSessionModel*>(m_model);
}
