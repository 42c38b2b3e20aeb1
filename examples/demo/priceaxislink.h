#pragma once

#include <QObject>

class DeskPlot;

// Keeps the price axes of two plots equal: a zoom, pan or scale drag in either moves the other,
// whose curves and Y autoscale then follow its new prices.
class PriceAxisLink : public QObject
{
    Q_OBJECT

public:
    PriceAxisLink(DeskPlot* first, DeskPlot* second, QObject* parent = nullptr);

private:
    void follow(DeskPlot* leader, DeskPlot* follower);

    bool m_following = false;
};
