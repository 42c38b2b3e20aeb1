#include "decimal.h"

#include <QLocale>

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

// Appends the decimal `digits` to `magnitude`, then `zeros` zero digits. False on overflow.
bool appendDigits(QStringView digits, int zeros, unsigned long long* magnitude)
{
    const unsigned long long limit = static_cast<unsigned long long>(std::numeric_limits<qint64>::max());
    const auto append = [&](unsigned digit) {
        if (*magnitude > (limit - digit) / 10)
            return false;
        *magnitude = *magnitude * 10 + digit;
        return true;
    };
    for (const QChar c : digits) {
        if (!append(static_cast<unsigned>(c.unicode() - '0')))
            return false;
    }
    for (int i = 0; i < zeros; ++i) {
        if (!append(0))
            return false;
    }
    return true;
}

struct Parts
{
    bool negative = false;
    QStringView integer;
    QStringView fraction;

    // The mantissa at `places` decimals: the integer digits, the fraction cut or padded to `places`,
    // and one unit of the last place added when `roundUp`. False on overflow.
    bool toMantissa(int places, bool roundUp, qint64* mantissa) const
    {
        const QStringView kept = fraction.left(places);
        unsigned long long magnitude = 0;
        if (!appendDigits(integer, 0, &magnitude) || !appendDigits(kept, places - kept.size(), &magnitude))
            return false;
        if (roundUp) {
            if (magnitude == static_cast<unsigned long long>(std::numeric_limits<qint64>::max()))
                return false;
            ++magnitude;
        }
        *mantissa = negative ? -static_cast<qint64>(magnitude) : static_cast<qint64>(magnitude);
        return true;
    }
};

bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

QStringView digitsFrom(QStringView text, int* position)
{
    const int start = *position;
    while (*position < text.size() && isDigit(text.at(*position)))
        ++*position;
    return text.mid(start, *position - start);
}

// Splits "[+-]digits[.digits]" (ASCII digits; one side of the point may be empty, not both).
bool splitNumber(QStringView text, Parts* parts)
{
    int position = 0;
    if (!text.isEmpty() && (text.at(0) == QLatin1Char('+') || text.at(0) == QLatin1Char('-'))) {
        parts->negative = text.at(0) == QLatin1Char('-');
        ++position;
    }
    parts->integer = digitsFrom(text, &position);
    if (position < text.size() && text.at(position) == QLatin1Char('.')) {
        ++position;
        parts->fraction = digitsFrom(text, &position);
    }
    return position == text.size() && !(parts->integer.isEmpty() && parts->fraction.isEmpty());
}

} // namespace

decimal decimal::fromDouble(double value, short decimals)
{
    const int places = qBound(0, static_cast<int>(decimals), MaxPlaces);
    if (!std::isfinite(value) || std::fabs(value) * std::pow(10.0, places) >= 9.2e18)
        return decimal(0, decimals);
    // Rounding the shortest text that reads back as `value` rounds the number the user sees
    // (0.285 is 0.29), not its binary neighbour just below the half.
    const QString text = QString::number(value, 'f', QLocale::FloatingPointShortest);
    Parts parts;
    splitNumber(text, &parts);
    const bool roundUp = places < parts.fraction.size() && parts.fraction.at(places) >= QLatin1Char('5');
    qint64 mantissa = 0;
    if (!parts.toMantissa(places, roundUp, &mantissa))
        return decimal(0, decimals);
    return decimal(mantissa, static_cast<short>(places));
}

bool decimal::fromString(const QString& text, short decimals, decimal* result)
{
    return fromString(QStringView(text), decimals, result);
}

bool decimal::fromString(QStringView text, short decimals, decimal* result)
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
    qint64 mantissa = 0;
    if (!parts.toMantissa(places, false, &mantissa))
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
