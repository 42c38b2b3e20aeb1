#pragma once

#include <QMetaType>

#include <limits>

/// The plot's interval of prices: first strike, last strike, strike step rounded to the
/// security's decimals. The default value is the empty interval.
struct PriceInterval
{
    double min = std::numeric_limits<double>::max();  ///< First strike.
    double max = -std::numeric_limits<double>::max(); ///< Last strike.
    /// Strike step rounded to the security's decimals; also the narrowest X span zoom accepts.
    double step = 0.0;
    bool valid = false; ///< Whether the strikes gave a usable interval.

    /// The interval of no strikes (max < min).
    static PriceInterval empty() { return PriceInterval(); }
    /// Whether no price lies in the interval (max < min).
    bool isEmpty() const { return max < min; }

    /// Exact, member by member.
    friend bool operator==(const PriceInterval& a, const PriceInterval& b)
    {
        return a.min == b.min && a.max == b.max && a.step == b.step && a.valid == b.valid;
    }
    /// Negation of operator==.
    friend bool operator!=(const PriceInterval& a, const PriceInterval& b) { return !(a == b); }
};

Q_DECLARE_METATYPE(PriceInterval)
