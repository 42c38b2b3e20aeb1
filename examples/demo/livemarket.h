#pragma once

#include <QObject>
#include <QRandomGenerator>

class DeskPlot;
class QTimer;

// A stand-in for the exchange feed: every tick moves the futures quote by a random number of
// price steps (at most five either way) and writes it into the securities table, as a feed would.
class LiveMarket : public QObject
{
    Q_OBJECT

public:
    // `plot` names the futures contract; the same seed repeats the same walk.
    LiveMarket(DeskPlot* plot, quint32 seed, int tickMs, QObject* parent = nullptr);

    void start();

private:
    void step();

    DeskPlot* m_plot;
    QRandomGenerator m_random;
    QTimer* m_timer;
};
