#pragma once

#include "deskplot.h"

// The book's greeks over the futures price: delta and gamma per unit of price, vega per
// volatility point, theta per day.
class GreeksPlot : public DeskPlot
{
    Q_OBJECT

public:
    enum Curve
    {
        Delta = FirstValue,
        Gamma,
        Vega,
        Theta,
    };

    explicit GreeksPlot(const Portfolio& portfolio, QWidget* parent = nullptr);

    double valueAt(int type, double price) override;
    int valueDecimals() const override { return 4; }
};
