#include "decimal.h"

#include <QLocale>
#include <QRegularExpression>

#include <cmath>
#include <limits>

const decimal decimal::zero{};
const decimal decimal::minimum{std::numeric_limits<qint64>::min(), 0};
const decimal decimal::maximum{std::numeric_limits<qint64>::max(), 0};

namespace {

// Scales beyond 18 places cannot hold any digit of a 64-bit mantissa's integer part.
constexpr int MaxPlaces = 18;

qint64 powerOfTen(int exponent)
{
    qint64 result = 1;
    for (int i = 0; i < exponent; ++i)
        result *= 10;
    return result;
}

// Builds the mantissa of `digits` (integer digits followed by `decimals` fraction digits), with
// `roundUp` adding one unit of the last place. False on overflow.
bool toMantissa(const QString& digits, bool negative, bool roundUp, qint64* mantissa)
{
    unsigned long long magnitude = 0;
    const unsigned long long limit = static_cast<unsigned long long>(std::numeric_limits<qint64>::max());
    for (const QChar c : digits) {
        const unsigned digit = static_cast<unsigned>(c.unicode() - '0');
        if (magnitude > (limit - digit) / 10)
            return false;
        magnitude = magnitude * 10 + digit;
    }
    if (roundUp) {
        if (magnitude == limit)
            return false;
        ++magnitude;
    }
    *mantissa = negative ? -static_cast<qint64>(magnitude) : static_cast<qint64>(magnitude);
    return true;
}

struct Parts
{
    bool negative = false;
    QString integer;
    QString fraction;
};

bool splitNumber(const QString& text, Parts* parts)
{
    static const QRegularExpression pattern(QStringLiteral("^([+-]?)(\\d*)(?:\\.(\\d*))?$"));
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch() || (match.capturedLength(2) == 0 && match.capturedLength(3) == 0))
        return false;
    parts->negative = match.captured(1) == QLatin1String("-");
    parts->integer = match.captured(2);
    parts->fraction = match.captured(3);
    return true;
}

} // namespace

decimal decimal::fromDouble(double value, short decimals)
{
    const int places = qBound(0, static_cast<int>(decimals), MaxPlaces);
    if (!std::isfinite(value) || std::fabs(value) * std::pow(10.0, places) >= 9.2e18)
        return decimal(0, decimals);
    // Rounding the shortest text that reads back as `value` rounds the number the user sees
    // (0.285 is 0.29), not its binary neighbour just below the half.
    Parts parts;
    splitNumber(QString::number(value, 'f', QLocale::FloatingPointShortest), &parts);
    const QString fraction = parts.fraction.leftJustified(places + 1, QLatin1Char('0'));
    const bool roundUp = fraction.at(places) >= QLatin1Char('5');
    qint64 mantissa = 0;
    if (!toMantissa(parts.integer + fraction.left(places), parts.negative, roundUp, &mantissa))
        return decimal(0, decimals);
    return decimal(mantissa, static_cast<short>(places));
}

bool decimal::fromString(const QString& text, short decimals, decimal* result)
{
    const int places = qBound(0, static_cast<int>(decimals), MaxPlaces);
    Parts parts;
    if (!splitNumber(text.trimmed(), &parts))
        return false;
    // Extra places are accepted only when they carry nothing: the text must not lose precision.
    for (int i = places; i < parts.fraction.size(); ++i) {
        if (parts.fraction.at(i) != QLatin1Char('0'))
            return false;
    }
    const QString fraction = parts.fraction.left(places).leftJustified(places, QLatin1Char('0'));
    qint64 mantissa = 0;
    if (!toMantissa(parts.integer + fraction, parts.negative, false, &mantissa))
        return false;
    if (result)
        *result = decimal(mantissa, static_cast<short>(places));
    return true;
}

double decimal::toDouble() const
{
    if (m_decimals >= 0)
        return static_cast<double>(m_mantissa) / std::pow(10.0, m_decimals);
    return static_cast<double>(m_mantissa) * std::pow(10.0, -m_decimals);
}

QString decimal::toString() const
{
    if (m_decimals <= 0)
        return QString::number(m_mantissa) + QString(-m_decimals, QLatin1Char('0'));
    const bool negative = m_mantissa < 0;
    const unsigned long long magnitude = negative ? 0ULL - static_cast<unsigned long long>(m_mantissa)
                                                  : static_cast<unsigned long long>(m_mantissa);
    QString digits = QString::number(magnitude).rightJustified(m_decimals + 1, QLatin1Char('0'));
    digits.insert(digits.size() - m_decimals, QLatin1Char('.'));
    return negative ? QLatin1Char('-') + digits : digits;
}

int decimal::compare(const decimal& a, const decimal& b)
{
    const bool aFiner = a.m_decimals >= b.m_decimals;
    const decimal& fine = aFiner ? a : b;
    const decimal& coarse = aFiner ? b : a;
    const int shift = fine.m_decimals - coarse.m_decimals;
    int result = 0;
    if (shift <= MaxPlaces) {
        const __int128 scaled = static_cast<__int128>(coarse.m_mantissa) * powerOfTen(shift);
        const __int128 other = fine.m_mantissa;
        result = scaled < other ? -1 : (scaled > other ? 1 : 0);
    } else if (coarse.m_mantissa == 0) {
        // The finer value lies below one unit of the coarser scale: only signs can differ.
        result = fine.m_mantissa > 0 ? -1 : (fine.m_mantissa < 0 ? 1 : 0);
    } else {
        result = coarse.m_mantissa > 0 ? 1 : -1;
    }
    return aFiner ? -result : result;
}
