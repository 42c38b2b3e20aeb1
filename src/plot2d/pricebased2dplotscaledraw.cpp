#include "pricebased2dplotscaledraw.h"

#include "dbcommon.h"
#include "plot2dcolors.h"
#include "plot2dcommon.h"

#include <qwt_plot.h>
#include <qwt_scale_div.h>
#include <qwt_scale_map.h>
#include <qwt_text.h>

#include <QApplication>
#include <QPainter>
#include <QPalette>
#include <QPen>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

const double UnusableMagnitude = 1e16;
// Qwt lays labels out in int pixels; a label mapped further out than this overlaps nothing on screen.
const double MaxLabelPixel = 1e8;
const int NoPairCount = std::numeric_limits<int>::min();
const std::pair<double, double> NoOverlap(1.0, -1.0);

// Integer part and fraction of x, with a fraction a hair away from +-1 folded into the integer
// part, so that 4.9999999999 counts as 5.
void splitFuzzy(double x, double* integer, double* fraction)
{
    double i = std::trunc(x);
    double f = x - i;
    if (Plot2dCommon::scaleDrawFuzzyCompare(-1.0, f) || Plot2dCommon::scaleDrawFuzzyCompare(1.0, f)) {
        i = static_cast<double>(Plot2dCommon::roundHalfUp64(x));
        f = x - i;
    }
    *integer = i;
    if (fraction)
        *fraction = f;
}

double integerPart(double x)
{
    double i = 0.0;
    splitFuzzy(x, &i, nullptr);
    return i;
}

bool bothValidAndIntersect(const QRect& r1, const QRect& r2)
{
    return r1.isValid() && r2.isValid() && r1.intersects(r2);
}

// Digits left of the integer once its trailing decimal zeros are dropped (1 if ten steps all found
// zeros).
int digitsWithoutTrailingZeros(double value)
{
    const qint64 n = static_cast<qint64>(integerPart(value));
    qint64 divisor = 1;
    for (int step = 0; step < 10; ++step) {
        divisor *= 10;
        if (n % divisor != 0)
            return Plot2dCommon::integerLength(static_cast<double>(n / (divisor / 10)));
    }
    return 1;
}

} // namespace

PriceBased2dPlotScaleDraw::PriceBased2dPlotScaleDraw(int axis) : m_axis(axis), m_font(QApplication::font()) {}

PriceBased2dPlotScaleDraw::~PriceBased2dPlotScaleDraw() = default;

// --- label candidates, quote position, digit trimming ---

namespace {

// Fuzzy membership among many ticks without comparing every pair: when a value is fuzzy equal to
// some tick, it is fuzzy equal to its nearest neighbour on that side too, since the tolerance grows
// with the smaller magnitude and nothing between them is smaller.
class SortedTicks
{
public:
    explicit SortedTicks(const QList<double>& ticks) : m_ticks(ticks.toVector())
    {
        m_sorted =
            std::all_of(m_ticks.cbegin(), m_ticks.cend(), [](double tick) { return std::isfinite(tick); });
        if (m_sorted)
            std::sort(m_ticks.begin(), m_ticks.end());
    }

    bool containsFuzzy(double value) const
    {
        const auto equalsValue = [value](double tick) { return commonFuzzyCompare(value, tick); };
        if (!m_sorted || !std::isfinite(value))
            return std::any_of(m_ticks.cbegin(), m_ticks.cend(), equalsValue);
        const auto above = std::lower_bound(m_ticks.cbegin(), m_ticks.cend(), value);
        return (above != m_ticks.cend() && equalsValue(*above)) ||
               (above != m_ticks.cbegin() && equalsValue(*(above - 1)));
    }

private:
    QVector<double> m_ticks;
    bool m_sorted = false;
};

} // namespace

QList<double> PriceBased2dPlotScaleDraw::getTicks(const QwtScaleDiv& div) const
{
    if (!Plot2dCommon::isUsableScaleDiv(div))
        return {};

    QList<double> ticks = div.ticks(QwtScaleDiv::MajorTick);
    const SortedTicks majors(ticks);
    for (double medium : div.ticks(QwtScaleDiv::MediumTick)) {
        if (!majors.containsFuzzy(medium))
            ticks.append(medium);
    }
    std::stable_sort(ticks.begin(), ticks.end());
    return ticks;
}

void PriceBased2dPlotScaleDraw::updateCurKotirStatus()
{
    const QwtInterval interval = scaleDiv().interval();
    const bool inside = interval.minValue() < m_curKotir && m_curKotir < interval.maxValue();
    if ((m_curKotirFlags & CurKotirShown) && inside)
        m_curKotirFlags |= CurKotirInside;
    else
        m_curKotirFlags &= ~static_cast<unsigned int>(CurKotirInside);
}

void PriceBased2dPlotScaleDraw::updateCurKotirIndex(const QList<double>& values)
{
    if (m_curKotir <= 0.0) {
        m_curKotirIndex = -1;
        return;
    }
    m_curKotirIndex =
        static_cast<int>(std::lower_bound(values.cbegin(), values.cend(), m_curKotir) - values.cbegin());
}

void PriceBased2dPlotScaleDraw::setCurKotirEnabled(bool enabled)
{
    if (enabled)
        m_curKotirFlags |= CurKotirShown;
    else
        m_curKotirFlags &= ~static_cast<unsigned int>(CurKotirShown);
}

void PriceBased2dPlotScaleDraw::updateLabels()
{
    m_rectCache.clear();
    m_rectCacheActive = true;
    rebuildLabels();
    m_rectCacheActive = false;
    m_rectCache.clear();
}

void PriceBased2dPlotScaleDraw::rebuildLabels()
{
    // 1-2. Start afresh from the label candidates of the current division.
    m_labels.clear();
    m_curKotirIndex = -1;
    m_equalDigitsNum = -1;
    const QList<double> ticks = getTicks(scaleDiv());
    if (ticks.isEmpty())
        return;

    // 3-4. An enabled quote display without a quote shows no labels at all (deliberate).
    updateCurKotirStatus();
    updateCurKotirIndex(ticks);
    if ((m_curKotirFlags & CurKotirShown) && m_curKotirIndex == -1)
        return;

    // 5-6. Every candidate is a label until the axis has been painted once.
    m_labels = ticks;
    setEqualDigitsNum();
    if (!m_axisPainted)
        return;

    // 7-9. Overlaps: a single pair involving the quote is settled by dropping its neighbour.
    m_labelGap = conversionEnabled() ? 4 : 8;
    const QList<std::pair<double, double>> pairs = overlappedLabels(ticks);
    if (pairs.isEmpty())
        return;
    if (pairs.size() == 1) {
        m_labels = ticks;
        if (removeOneTick(pairs.first(), m_labels)) {
            setEqualDigitsNum();
            return;
        }
    }

    // 10-11. Otherwise halve the labels until none overlap.
    thinByHalves(ticks);
    setEqualDigitsNum();
}

void PriceBased2dPlotScaleDraw::thinByHalves(QList<double> candidates)
{
    const int tickCount = candidates.size();
    int parity = parityAt(m_curKotirIndex);
    m_labels.clear();

    QList<std::pair<double, double>> pairs;
    int pass = 0;
    do {
        if (++pass == tickCount) {
            m_labels.clear();
            m_curKotirIndex = -1;
            break;
        }
        if (pass > 1) {
            candidates = m_labels;
            if (m_curKotirIndex != -1)
                parity = parityAt(m_curKotirIndex);
        }

        // Opposite phases on the two sides of the quote leave a free span around its label.
        m_labels.clear();
        for (int k = 0; k < candidates.size(); ++k) {
            const double value = candidates.at(k);
            const bool keep = m_curKotir <= value ? (k % 2 != parity) : (k % 2 == parity);
            if (keep)
                m_labels.append(value);
        }

        updateCurKotirIndex(m_labels);
        pairs = overlappedLabels(m_labels);
        if (pairs.size() == 1 && removeOneTick(pairs.first(), m_labels))
            return;
    } while (!pairs.isEmpty());
}

void PriceBased2dPlotScaleDraw::setEqualDigitsNum()
{
    // 1-2. Only ascending, distinct, usable neighbours are counted.
    m_equalDigitsNum = -1;
    if (m_labels.isEmpty())
        return;
    for (int i = 0; i + 1 < m_labels.size(); ++i) {
        const double a = m_labels.at(i);
        const double b = m_labels.at(i + 1);
        if (a > b || commonFuzzyCompare(a, b) || std::fabs(a) > UnusableMagnitude ||
            std::fabs(b) > UnusableMagnitude)
            return;
    }

    // 3. A single label has no neighbour to share digits with.
    if (m_labels.size() == 1) {
        invalidateCache();
        m_equalDigitsNum = NoPairCount;
        return;
    }

    // 4. Running count over the neighbour pairs.
    int result = NoPairCount;
    for (int i = 0; i + 1 < m_labels.size(); ++i) {
        const double a = m_labels.at(i);
        const double b = m_labels.at(i + 1);
        const long long ia = static_cast<long long>(integerPart(a));
        const long long ib = static_cast<long long>(integerPart(b));
        const int lengthA = Plot2dCommon::integerLength(a);
        const int lengthB = Plot2dCommon::integerLength(b);
        if (lengthA < 0 || lengthB < 0)
            return;

        if (lengthA != lengthB) {
            // Deliberately a reset, not a maximum: later pairs may raise the count again.
            result = 0;
        } else if (std::llabs(ia) == std::llabs(ib)) {
            const int fraction = findEqualDigitsInFractionPart(a, b);
            if (fraction != -1)
                result = std::max(result, fraction + lengthA);
        } else {
            const int integer = findEqualDigitsInIntegerPart(ia, ib, lengthA);
            if (integer >= 0)
                result = std::max(result, integer);
        }
    }

    // 5.
    if (result == -1)
        return;
    invalidateCache();
    m_equalDigitsNum = result;
}

int PriceBased2dPlotScaleDraw::findEqualDigitsInIntegerPart(long long a, long long b, int length)
{
    if (a < 0 || a > UnusableMagnitude || b < 0 || b > UnusableMagnitude || length < 1 || length > 16)
        return -1;
    // Identical integers share nothing here; the fraction test deals with them.
    if (a == b)
        return 0;

    double p = 1.0;
    int k = 0;
    double headA = 0.0;
    double headB = 0.0;
    do {
        if (k == length - 1)
            return 0;
        p /= 10.0;
        const double scaledA = static_cast<double>(a) * p;
        const double scaledB = static_cast<double>(b) * p;
        if (!std::isfinite(scaledA) || !std::isfinite(scaledB))
            return -1;
        headA = integerPart(scaledA);
        headB = integerPart(scaledB);
        ++k;
    } while (headA != headB);
    return length - k;
}

int PriceBased2dPlotScaleDraw::findEqualDigitsInFractionPart(double a, double b)
{
    if (a >= b || std::fabs(a) > UnusableMagnitude || std::fabs(b) > UnusableMagnitude)
        return -1;

    auto fractionOf = [](double x) {
        const double f = std::fabs(x - std::trunc(x));
        const bool wholeOne =
            Plot2dCommon::scaleDrawFuzzyCompare(f, -1.0) || Plot2dCommon::scaleDrawFuzzyCompare(f, 1.0);
        return wholeOne ? 0.0 : f;
    };
    const double fa = fractionOf(a);
    const double fb = fractionOf(b);

    for (int k = 0;; ++k) {
        const double factor = std::pow(10.0, k + 1);
        const double scaledA = fa * factor;
        const double scaledB = fb * factor;
        if (!std::isfinite(scaledA) || !std::isfinite(scaledB))
            return -1;
        if (k > 9)
            return k;
        if (integerPart(scaledA) != integerPart(scaledB))
            return k;
    }
}

int PriceBased2dPlotScaleDraw::maxFractionLength() const
{
    if (m_equalDigitsNum < 0)
        return 0;

    int result = 0;
    for (double tick : getTicks(scaleDiv())) {
        // 1. Integers need no fractional digits.
        double integer = 0.0;
        double fraction = 0.0;
        splitFuzzy(tick, &integer, &fraction);
        if (fraction == 0.0)
            continue;

        // 2. Three digits beyond the shared ones, at most ten.
        int places = m_equalDigitsNum - Plot2dCommon::integerLength(integer);
        if (places >= 0)
            places += 3;
        places = std::min(places, 10);

        // 3-4. The fraction's significant digits at that many places.
        const double digits = Plot2dCommon::roundValue(fraction, places) * std::pow(10.0, places);
        if (!std::isfinite(digits))
            return result;
        if (digits == 0.0)
            continue;
        const int digitsLength = Plot2dCommon::integerLength(digits);
        if (places - digitsLength < 0)
            continue;

        // 5-6. Leading zeros of the fraction plus its digits without trailing zeros.
        result = std::max(result, digitsWithoutTrailingZeros(digits) + (places - digitsLength));
    }
    return result;
}

QwtText PriceBased2dPlotScaleDraw::label(double value) const
{
    if (!Plot2dCommon::isUsableScaleDiv(scaleDiv()))
        return QwtText();
    return QwtText(convertedValue(value));
}

// --- geometry, overlap removal, drawing ---

QRect PriceBased2dPlotScaleDraw::grownLabelRect(double value) const
{
    if (std::fabs(value) > UnusableMagnitude)
        return QRect();
    if (!(std::fabs(scaleMap().transform(value)) <= MaxLabelPixel))
        return QRect();
    if (m_rectCacheActive) {
        const auto cached = m_rectCache.constFind(value);
        if (cached != m_rectCache.constEnd())
            return cached.value();
    }

    QRect rect = boundingLabelRect(m_font, value);
    if (rect.isValid()) {
        const int half = m_labelGap / 2;
        rect.adjust(-half, -half, half, half);
    }
    if (m_rectCacheActive)
        m_rectCache.insert(value, rect);
    return rect;
}

QList<QRect> PriceBased2dPlotScaleDraw::getBoundingRects(const QList<double>& values) const
{
    QList<QRect> rects;
    rects.reserve(values.size());
    for (double value : values)
        rects.append(grownLabelRect(value));
    return rects;
}

QRect PriceBased2dPlotScaleDraw::tickLabelBoundingRect(double value) const
{
    return grownLabelRect(value);
}

std::pair<double, double> PriceBased2dPlotScaleDraw::getIntersectedPair(const QRect& r1, const QRect& r2,
                                                                        double a, double b) const
{
    return bothValidAndIntersect(r1, r2) ? std::make_pair(a, b) : NoOverlap;
}

QList<std::pair<double, double>>
PriceBased2dPlotScaleDraw::overlappedLabels(const QList<double>& values) const
{
    if (values.isEmpty())
        return {};
    const QList<QRect> rects = getBoundingRects(values);
    if (rects.size() != values.size())
        return {};
    const QRect quoteRect = grownLabelRect(m_curKotir);
    const int n = values.size();

    QList<std::pair<double, double>> pairs;
    if (m_curKotirIndex == 0)
        pairs.append(getIntersectedPair(quoteRect, rects.at(0), m_curKotir, values.at(0)));
    for (int i = 1; i < n; ++i) {
        if (i == m_curKotirIndex) {
            // The quote sits between the two labels, so they are tested against it only.
            pairs.append(getIntersectedPair(rects.at(i - 1), quoteRect, values.at(i - 1), m_curKotir));
            pairs.append(getIntersectedPair(quoteRect, rects.at(i), m_curKotir, values.at(i)));
        } else {
            pairs.append(getIntersectedPair(rects.at(i - 1), rects.at(i), values.at(i - 1), values.at(i)));
        }
    }
    if (m_curKotirIndex == n)
        pairs.append(getIntersectedPair(rects.at(n - 1), quoteRect, values.at(n - 1), m_curKotir));

    pairs.erase(
        std::remove_if(pairs.begin(), pairs.end(),
                       [](const std::pair<double, double>& pair) { return pair.second < pair.first; }),
        pairs.end());
    return pairs;
}

bool PriceBased2dPlotScaleDraw::removeOneTick(const std::pair<double, double>& pair,
                                              QList<double>& values) const
{
    if (pair.second < pair.first)
        return false;
    const unsigned int bothBits = CurKotirShown | CurKotirInside;
    if ((m_curKotirFlags & bothBits) != bothBits)
        return false;

    // The quote always wins: its neighbour goes.
    double victim = 0.0;
    if (pair.first == m_curKotir)
        victim = pair.second;
    else if (pair.second == m_curKotir)
        victim = pair.first;
    else
        return false;

    const auto it = std::lower_bound(values.begin(), values.end(), victim);
    if (it == values.end())
        return false;
    values.erase(it);
    return true;
}

bool PriceBased2dPlotScaleDraw::ticksShrinked(const QwtScaleDiv& div) const
{
    // The bottom axis deliberately judges by what it shows now, not by the new division.
    QList<double> values;
    if (div.isEmpty())
        values = getTicks(scaleDiv());
    else if (m_axis == QwtPlot::yLeft)
        values = getTicks(div);
    else
        values = m_labels;

    for (int i = 0; i + 1 < values.size(); ++i) {
        if (std::fabs(values.at(i + 1) - values.at(i)) < 1e-8)
            return true;
    }
    if (values.size() < 2)
        return false;

    QStringList texts;
    texts.reserve(values.size());
    for (double value : values)
        texts.append(convertedValue(value));

    bool compared = false;
    for (int i = 0; i + 1 < texts.size(); ++i) {
        if (texts.at(i).isEmpty() || texts.at(i + 1).isEmpty())
            continue;
        if (texts.at(i) != texts.at(i + 1))
            return false;
        compared = true;
    }
    return compared;
}

int PriceBased2dPlotScaleDraw::maxLabelWidth(const QFont& font) const
{
    const QList<double> candidates = getTicks(scaleDiv());
    if (candidates.isEmpty())
        return QwtScaleDraw::maxLabelWidth(font);

    double widest = 0.0;
    for (double value : candidates) {
        if (scaleDiv().contains(value))
            widest = std::max(widest, labelSize(font, value).width());
    }
    return static_cast<int>(std::ceil(widest));
}

double PriceBased2dPlotScaleDraw::extent(const QFont& font) const
{
    double d = 0.0;
    if (hasComponent(QwtAbstractScaleDraw::Labels)) {
        d = orientation() == Qt::Vertical ? maxLabelWidth(font) : maxLabelHeight(font);
        if (d > 0.0)
            d += spacing();
    }
    if (hasComponent(QwtAbstractScaleDraw::Ticks))
        d += maxTickLength();
    if (hasComponent(QwtAbstractScaleDraw::Backbone))
        d += std::max(penWidth(), 1);
    return std::max(d, minimumExtent());
}

void PriceBased2dPlotScaleDraw::draw(QPainter* painter, const QPalette& palette) const
{
    painter->save();
    QPen pen = painter->pen();
    pen.setWidth(penWidth());
    pen.setCosmetic(false);
    painter->setPen(pen);

    if (hasComponent(QwtAbstractScaleDraw::Labels)) {
        painter->save();
        painter->setPen(palette.color(QPalette::Current, QPalette::Text));
        std::stable_sort(m_labels.begin(), m_labels.end());
        for (double value : qAsConst(m_labels))
            drawTickLabel(painter, palette, value);
        // Last, so that the quote's label lies on top.
        if (m_curKotirFlags & (CurKotirShown | CurKotirInside))
            drawTickLabel(painter, palette, m_curKotir);
        painter->restore();
    }

    QPen tickPen(palette.color(QPalette::Current, QPalette::WindowText), penWidth());
    tickPen.setCapStyle(Qt::FlatCap);
    tickPen.setCosmetic(false);

    if (hasComponent(QwtAbstractScaleDraw::Ticks)) {
        painter->save();
        painter->setPen(tickPen);
        const QwtScaleDiv div = scaleDiv();
        for (int type = QwtScaleDiv::MinorTick; type <= QwtScaleDiv::MajorTick; ++type) {
            const double length = tickLength(static_cast<QwtScaleDiv::TickType>(type));
            for (double tick : div.ticks(type)) {
                if (div.contains(tick))
                    drawTick(painter, tick, length);
            }
        }
        painter->restore();
    }

    if (hasComponent(QwtAbstractScaleDraw::Backbone)) {
        painter->save();
        painter->setPen(tickPen);
        drawBackbone(painter);
        painter->restore();
    }

    painter->restore();
}

void PriceBased2dPlotScaleDraw::drawTickLabel(QPainter* painter, const QPalette& palette, double value) const
{
    if (!painter || !scaleDiv().contains(value))
        return;

    const bool isQuote = (m_curKotirFlags & (CurKotirShown | CurKotirInside)) && value == m_curKotir;
    QPen pen = painter->pen();
    pen.setColor(isQuote ? CurKotirCurveColor : palette.color(QPalette::Current, QPalette::Text));
    painter->setPen(pen);
    drawLabel(painter, value);
}
