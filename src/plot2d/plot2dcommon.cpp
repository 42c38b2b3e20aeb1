#include "plot2dcommon.h"

#include "dbcommon.h"

#include <qwt_interval.h>
#include <qwt_scale_div.h>

#include <QLocale>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Plot2dCommon {

QString fromDoubleToSystemStringShort(double value, int decimals)
{
    const int places = qBound(0, decimals, 10);
    QString text = QLocale::system().toString(value, 'f', places);

    const QChar point = QLocale::system().decimalPoint();
    if (text.contains(point)) {
        const QChar zero = QLocale::system().zeroDigit();
        int zeros = 0;
        for (int i = text.size() - 1; i >= 0 && text.at(i) == zero; --i)
            ++zeros;
        text.chop(zeros);
    }
    if (text.endsWith(point))
        text.chop(1);
    return text;
}

int integerLength(double value)
{
    // Written as "not out of range" so that NaN counts one digit.
    if (!(value <= -10.0 || value >= 10.0))
        return 1;
    // An infinity would never leave the division loop below.
    if (std::isinf(value))
        return 309;
    int count = 1;
    double quotient = value;
    do {
        quotient /= 10.0;
        ++count;
    } while (quotient <= -10.0 || quotient >= 10.0);
    return count;
}

double roundValue(double value, int decimals)
{
    const double factor = std::pow(10.0, qBound(-10, decimals, 10));
    const double scaled = factor * value;
    if (!std::isfinite(scaled))
        return value;
    // From 2^53 on every double is a whole number already, and may not fit in 64 bits.
    const double rounded =
        std::fabs(scaled) >= 9007199254740992.0 ? scaled : static_cast<double>(roundHalfUp64(scaled));
    if (!std::isfinite(rounded))
        return value;
    return rounded / factor;
}

QString formattedValue(double value, int decimals)
{
    if (decimals < 0)
        return QString();
    QString text = QString::number(value, 'f', std::min(decimals, 10));
    if (text.contains(QLatin1Char('.')) && text.endsWith(QLatin1Char('0'))) {
        int zeros = 0;
        for (int i = text.size() - 1; i >= 0 && text.at(i) == QLatin1Char('0'); --i)
            ++zeros;
        text.chop(zeros);
    }
    if (text.endsWith(QLatin1Char('.'))) {
        text.chop(1);
        // Only a sign left behind by the removed point is repaired; "-0" from 0 places stays.
        if (text == QLatin1String("-0"))
            text = QStringLiteral("0");
    }
    return text;
}

bool scaleDrawFuzzyCompare(double a, double b)
{
    return std::min(std::fabs(a), std::fabs(b)) >= std::fabs(a - b) * 100000000.0;
}

qint64 roundHalfUp64(double value)
{
    // Out of range the conversion below would be undefined; saturate instead.
    const double limit = 9223372036854775808.0; // 2^63
    if (std::isnan(value))
        return 0;
    if (value >= limit)
        return std::numeric_limits<qint64>::max();
    if (value <= -limit)
        return std::numeric_limits<qint64>::min();
    if (value >= 0.0)
        return static_cast<qint64>(std::trunc(value + 0.5));
    const double base = std::trunc(value - 1.0);
    return static_cast<qint64>(std::trunc(value - base + 0.5) + base);
}

int roundHalfUp(double value)
{
    return static_cast<int>(roundHalfUp64(value));
}

bool fuzzyEqual(double a, double b)
{
    return commonFuzzyCompare(a, b);
}

bool isNearZero(double value)
{
    return std::fabs(value) <= 1e-12;
}

bool isValidInterval(const QwtInterval& interval)
{
    return interval.isValid();
}

bool isUsableScaleDiv(const QwtScaleDiv& div)
{
    return !div.isEmpty() && isValidInterval(div.interval());
}

} // namespace Plot2dCommon
