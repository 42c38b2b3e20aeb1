// The legend's saved value comes from a settings file the user (or a crash) may have damaged:
// restore() over arbitrary bytes must leave the legend consistent and never crash.
#include "fuzzsupport.h"

#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotlegend.h>

#include <qwt_symbol.h>

#include <QDataStream>

namespace {

struct Screen
{
    FuzzPlot* plot = nullptr;
    PriceBased2dPlotLegend* legend = nullptr;
    QList<PriceBased2dPlotCurve*> curves;
};

Screen* screen = nullptr;

PriceBased2dPlotCurve* addCurve(FuzzPlot* plot, const QString& title, int type, QwtSymbol::Style style)
{
    auto* curve = new PriceBased2dPlotCurve(plot, title);
    curve->setDataType(type);
    curve->setPen(QPen(Qt::blue));
    curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
    curve->setSymbol(new QwtSymbol(style, QBrush(Qt::blue), QPen(Qt::blue), QSize(5, 5)));
    curve->setSamples(QVector<QPointF>{{60.0, 1.0}, {75.0, 2.0}, {90.0, 3.0}});
    curve->attach(plot);
    return curve;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    FuzzSupport::initApplication(argc, argv);
    FuzzSupport::require(FuzzSupport::loadSampleData(), "sample data loads");
    screen = new Screen;
    screen->plot = new FuzzPlot(true);
    screen->plot->setIsinId(1001);
    // Two curves share type 10 so that the "exactly one curve of the type" rule is reached.
    screen->curves << addCurve(screen->plot, QStringLiteral("Delta"), 9, QwtSymbol::DTriangle)
                   << addCurve(screen->plot, QStringLiteral("Gamma"), 10, QwtSymbol::UTriangle)
                   << addCurve(screen->plot, QStringLiteral("Gamma 2"), 10, QwtSymbol::Ellipse)
                   << addCurve(screen->plot, QStringLiteral("Markers"), PriceBased2dPlotCurve::MarkerCurve,
                               QwtSymbol::Rect);
    screen->legend = new PriceBased2dPlotLegend(screen->plot);
    screen->legend->initCore();
    screen->plot->insertLegend(screen->legend);
    QObject::connect(screen->legend, &PriceBased2dPlotLegend::visibilityChanged, screen->plot,
                     &PriceBased2dPlot::setCurveVisible);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    for (PriceBased2dPlotCurve* curve : screen->curves)
        screen->legend->setCheckBoxChecked(curve->title().text(), true);

    Settings settings;
    settings.setValue(QStringLiteral("legendItemKeys"),
                      QByteArray(reinterpret_cast<const char*>(data), int(size)));
    screen->legend->restore(settings);

    // Whatever was applied, a row's tick and its curve's visibility agree, and what is stored now
    // restores to itself.
    for (PriceBased2dPlotCurve* curve : screen->curves) {
        bool found = false;
        const bool checked = screen->legend->isCheckBoxChecked(curve->title().text(), &found);
        FuzzSupport::require(!found || !curve->isValid() || checked == curve->isVisible() ||
                                 curve->dataType() == PriceBased2dPlotCurve::CurKotirLine,
                             "tick state matches curve visibility");
    }
    Settings again;
    screen->legend->store(again);
    const QByteArray saved = again.value(QStringLiteral("legendItemKeys")).toByteArray();
    screen->legend->restore(again);
    Settings third;
    screen->legend->store(third);
    FuzzSupport::require(third.value(QStringLiteral("legendItemKeys")).toByteArray() == saved,
                         "stored legend state round-trips");
    return 0;
}
