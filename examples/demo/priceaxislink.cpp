#include "priceaxislink.h"

#include "deskplot.h"

#include <plot2d/plot2dcommon.h>

#include <qwt_scale_div.h>
#include <qwt_scale_widget.h>

PriceAxisLink::PriceAxisLink(DeskPlot* first, DeskPlot* second, QObject* parent) : QObject(parent)
{
    // Every way the range changes (wheel, drag, pan, reset) ends in a new scale division.
    connect(first->axisWidget(QwtPlot::xBottom), &QwtScaleWidget::scaleDivChanged, this,
            [this, first, second] { follow(first, second); });
    connect(second->axisWidget(QwtPlot::xBottom), &QwtScaleWidget::scaleDivChanged, this,
            [this, first, second] { follow(second, first); });
}

void PriceAxisLink::follow(DeskPlot* leader, DeskPlot* follower)
{
    const QwtInterval range = leader->axisScaleDiv(QwtPlot::xBottom).interval();
    if (m_following || range == follower->axisScaleDiv(QwtPlot::xBottom).interval() ||
        !Plot2dCommon::isValidInterval(range))
        return;
    m_following = true;
    follower->setAxisScale(QwtPlot::xBottom, range.minValue(), range.maxValue());
    follower->updateAxes();
    follower->updateCurves();
    m_following = false;
}
