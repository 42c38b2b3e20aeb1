#pragma once

#include "black76.h"

#include <QList>
#include <QString>
#include <QtGlobal>

class Table;

// A small option book on one futures contract, valued with Black-76.
class Portfolio
{
public:
    struct Position
    {
        Black76::OptionType type;
        double strike;
        int quantity;       // positive long, negative short
        double premium = 0; // price paid (received when short) per option
    };

    // The demo's book: a call spread with a put spread below it.
    static Portfolio sample();

    void add(const Position& position) { m_positions.append(position); }
    const QList<Position>& positions() const { return m_positions; }
    QList<double> strikes() const;

    // Takes each position's premium from the option's current quote in the securities table
    // (options of `baseCode` with that strike and type), and the book's expiry from their expdate;
    // positions without a quote keep theirs.
    void setPremiumsFromTable(const Table* securities, const QString& baseCode);
    // Milliseconds since the epoch (UTC); 0 when unknown.
    qint64 expiry() const { return m_expiry; }
    void setExpiry(qint64 msecs) { m_expiry = msecs; }

    // Profit and loss of the book at futures price F with `years` left to expiry.
    double value(double futures, double years, double volatility) const;
    // The book's greeks: delta and gamma per unit of the futures price, vega per volatility point
    // (0.01), theta per calendar day.
    double delta(double futures, double years, double volatility) const;
    double gamma(double futures, double years, double volatility) const;
    double vega(double futures, double years, double volatility) const;
    double theta(double futures, double years, double volatility) const;

private:
    using Greek = double (*)(const Black76::Inputs&);
    double sum(Greek greek, double futures, double years, double volatility) const;

    QList<Position> m_positions;
    qint64 m_expiry = 0;
};
