#include "livemarket.h"

#include "deskplot.h"

#include <plot2d/platform.h>

#include <QTimer>

LiveMarket::LiveMarket(DeskPlot* plot, quint32 seed, int tickMs, QObject* parent)
    : QObject(parent), m_plot(plot), m_random(seed), m_timer(new QTimer(this))
{
    m_timer->setInterval(tickMs);
    connect(m_timer, &QTimer::timeout, this, &LiveMarket::step);
}

void LiveMarket::start()
{
    m_timer->start();
}

void LiveMarket::step()
{
    const Record future = m_plot->getFuture();
    Table* securities = m_plot->securitiesTable();
    if (future.isNull() || !securities)
        return;
    const double step =
        securities->dataPtr(future, m_plot->securitiesColumn(PriceBased2dPlot::SecPriceStep)).toDouble();
    const double next = m_plot->quote() + step * m_random.bounded(-5, 6);
    if (next <= 0.0)
        return;

    Record changed = future.clone();
    changed.setValue(m_plot->securitiesColumn(PriceBased2dPlot::SecCurKotir),
                     QVariant::fromValue(decimal::fromDouble(next, 5)));
    // The plots take the quote from the first of these that holds a value.
    changed.setValue(m_plot->securitiesColumn(PriceBased2dPlot::SecCurKotirReal), QVariant());
    securities->insert(changed);
}
