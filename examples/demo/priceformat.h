#pragma once

#include <QString>

// Prices as a trader reads them: always with the decimals of the contract's price step, so
// 74.5 on a 0.01 step reads 74.50.
class PriceFormat
{
public:
    explicit PriceFormat(double priceStep = 0.01);

    int decimals() const { return m_decimals; }
    QString text(double price) const;

    // Places after the point that `step` needs (0.25 -> 2, 5 -> 0); 2 for an unusable step.
    static int decimalsOf(double step);

private:
    int m_decimals;
};
