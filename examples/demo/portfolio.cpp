#include "portfolio.h"

#include <plot2d/platform.h>

#include <algorithm>
#include <cmath>

namespace {

Black76::Inputs inputs(const Portfolio::Position& position, double futures, double years, double volatility)
{
    Black76::Inputs in;
    in.type = position.type;
    in.futures = futures;
    in.strike = position.strike;
    in.years = years;
    in.volatility = volatility;
    return in;
}

char typeCode(Black76::OptionType type)
{
    return type == Black76::OptionType::Call ? FieldConstValue::OptioType::Call
                                             : FieldConstValue::OptioType::Put;
}

} // namespace

Portfolio Portfolio::sample()
{
    using Black76::OptionType;
    Portfolio book;
    book.add({OptionType::Call, 75.0, 2, 2.10});
    book.add({OptionType::Call, 80.0, -1, 0.75});
    book.add({OptionType::Put, 70.0, 1, 1.05});
    book.add({OptionType::Put, 65.0, -1, 0.35});
    return book;
}

QList<double> Portfolio::strikes() const
{
    QList<double> result;
    for (const Position& position : m_positions) {
        if (!result.contains(position.strike))
            result.append(position.strike);
    }
    std::sort(result.begin(), result.end());
    return result;
}

void Portfolio::setPremiumsFromTable(const Table* securities, const QString& baseCode)
{
    if (!securities)
        return;
    const int sectype = securities->columnIndex(QStringLiteral("sectype"));
    const int base = securities->columnIndex(QStringLiteral("base_code"));
    const int strike = securities->columnIndex(QStringLiteral("strike"));
    const int optionType = securities->columnIndex(QStringLiteral("option_type"));
    const int quote = securities->columnIndex(QStringLiteral("cur_kotir"));
    const int expdate = securities->columnIndex(QStringLiteral("expdate"));
    if (sectype < 0 || base < 0 || strike < 0 || optionType < 0 || quote < 0 || expdate < 0)
        return;

    for (const Record& row : securities->masterIndex()) {
        if (securities->dataPtr(row, sectype).toChar() != FieldConstValue::SecTypes::Option ||
            securities->dataPtr(row, base).toString() != baseCode)
            continue;
        bool hasQuote = false;
        const Field premium = securities->dataPtr(row, quote, &hasQuote);
        if (!hasQuote)
            continue;
        const double rowStrike = securities->dataPtr(row, strike).toDouble();
        const char rowType = securities->dataPtr(row, optionType).toChar();
        for (Position& position : m_positions) {
            if (typeCode(position.type) == rowType && std::fabs(position.strike - rowStrike) < 1e-9) {
                position.premium = premium.toDouble();
                m_expiry =
                    std::max(m_expiry, securities->dataPtr(row, expdate).toDatetime().toMSecsSinceEpoch());
            }
        }
    }
}

double Portfolio::value(double futures, double years, double volatility) const
{
    double total = 0.0;
    for (const Position& position : m_positions)
        total += position.quantity *
                 (Black76::price(inputs(position, futures, years, volatility)) - position.premium);
    return total;
}

double Portfolio::sum(Greek greek, double futures, double years, double volatility) const
{
    double total = 0.0;
    for (const Position& position : m_positions)
        total += position.quantity * greek(inputs(position, futures, years, volatility));
    return total;
}

double Portfolio::delta(double futures, double years, double volatility) const
{
    return sum(&Black76::delta, futures, years, volatility);
}

double Portfolio::gamma(double futures, double years, double volatility) const
{
    return sum(&Black76::gamma, futures, years, volatility);
}

double Portfolio::vega(double futures, double years, double volatility) const
{
    return 0.01 * sum(&Black76::vega, futures, years, volatility);
}

double Portfolio::theta(double futures, double years, double volatility) const
{
    return sum(&Black76::theta, futures, years, volatility) / 365.0;
}
