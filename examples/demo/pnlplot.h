#pragma once

#include "deskplot.h"

// The book's profit and loss at expiry, today and at half time to expiry, with square markers on
// the strikes held.
class PnlPlot : public DeskPlot
{
    Q_OBJECT

public:
    enum Curve
    {
        AtExpiry = FirstValue,
        Today,
        HalfTime,
        StrikesHeld = Markers,
    };

    explicit PnlPlot(const Portfolio& portfolio, QWidget* parent = nullptr);

    double valueAt(int type, double price) override;
    int valueDecimals() const override { return 2; }

protected:
    void updateExtraCurves() override;

private:
    void addStrikesHeld();
};
