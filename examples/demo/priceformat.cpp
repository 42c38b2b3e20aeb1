#include "priceformat.h"

#include <plot2d/plot2dcommon.h>

#include <QtMath>

namespace {

constexpr int MaxDecimals = 8;
constexpr int FallbackDecimals = 2;

} // namespace

PriceFormat::PriceFormat(double priceStep) : m_decimals(decimalsOf(priceStep)) {}

QString PriceFormat::text(double price) const
{
    return QString::number(price, 'f', m_decimals);
}

int PriceFormat::decimalsOf(double step)
{
    if (!qIsFinite(step) || step <= 0.0)
        return FallbackDecimals;
    // The step's shortest text already drops trailing zeros; its fraction length is the answer.
    const QString text = Plot2dCommon::formattedValue(step, MaxDecimals);
    const int point = text.indexOf(QLatin1Char('.'));
    return point < 0 ? 0 : text.size() - point - 1;
}
