#pragma once

#include "platformglobal.h"

#include <QMetaType>
#include <QString>
#include <QStringView>

// The data layer's fixed-point number: a 64-bit mantissa scaled by 10^-decimals.
class PLATFORM_EXPORT decimal
{
public:
    static const decimal zero;
    static const decimal minimum; // smallest representable value
    static const decimal maximum; // largest representable value

    constexpr decimal() = default;
    constexpr decimal(qint64 mantissa, short decimals) : m_mantissa(mantissa), m_decimals(decimals) {}

    // Rounds half away from zero to `decimals` places; non-finite or out-of-range values give zero.
    static decimal fromDouble(double value, short decimals);
    // Parses "-12.345" style text (no exponent, no grouping) into `decimals` places.
    static bool fromString(const QString& text, short decimals, decimal* result);
    static bool fromString(QStringView text, short decimals, decimal* result);

    double toDouble() const;
    QString toString() const; // all places, e.g. "12.50" for (1250, 2)

    qint64 mantissa() const { return m_mantissa; }
    short decimals() const { return m_decimals; }
    bool isZero() const { return m_mantissa == 0; }

    // -1, 0 or 1; values of different scales are compared exactly.
    static int compare(const decimal& a, const decimal& b);

    friend bool operator==(const decimal& a, const decimal& b) { return compare(a, b) == 0; }
    friend bool operator!=(const decimal& a, const decimal& b) { return compare(a, b) != 0; }
    friend bool operator<(const decimal& a, const decimal& b) { return compare(a, b) < 0; }
    friend bool operator>(const decimal& a, const decimal& b) { return compare(a, b) > 0; }
    friend bool operator<=(const decimal& a, const decimal& b) { return compare(a, b) <= 0; }
    friend bool operator>=(const decimal& a, const decimal& b) { return compare(a, b) >= 0; }

private:
    qint64 m_mantissa = 0;
    short m_decimals = 0;
};

Q_DECLARE_METATYPE(decimal)
