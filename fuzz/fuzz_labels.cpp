// Tick division, label text, label geometry and drawing of both axes over arbitrary ranges,
// quotes and rescale factors. The axis gate must refuse what it cannot show, and whatever it
// accepts must divide, label and paint.
#include "fuzzsupport.h"

#include <plot2d/pricebased2dplotscaledraw.h>
#include <plot2d/pricebased2dplotscaleengine.h>

#include <qwt_scale_div.h>

#include <QImage>
#include <QPainter>

#include <memory>

namespace {

using FuzzSupport::require;

FuzzPlot* plot = nullptr;

bool usable(const QwtInterval& interval)
{
    return std::isfinite(interval.minValue()) && std::isfinite(interval.maxValue()) &&
           interval.minValue() < interval.maxValue();
}

void checkAxes(const char* when)
{
    require(usable(plot->axisInterval(QwtPlot::xBottom)), when);
    require(usable(plot->axisInterval(QwtPlot::yLeft)), when);
}

// The engine and draw outside the plot: a division of any range, then its labels.
void divideAndLabel(FuzzInput& input)
{
    PriceBased2dPlotScaleEngine* engine = plot->scaleEngine();
    const double x1 = input.real();
    const double x2 = input.real();
    const double step = input.real();
    const QwtScaleDiv div = engine->divideScale(x1, x2, input.bounded(20), input.bounded(10), step);
    PriceBased2dPlotScaleDraw* draw = plot->yScaleDraw();
    draw->setScaleDiv(div);
    draw->updateLabels();
    for (double value : draw->labels()) {
        (void)draw->label(value);
        (void)draw->tickLabelBoundingRect(value);
    }
    (void)draw->overlappedLabels(draw->labels());
    (void)draw->extent(QApplication::font());
    (void)draw->findEqualDigitsInFractionPart(input.real(), input.real());
    (void)draw->label(input.real());
    (void)plot->xScaleDraw()->label(input.real());
}

void paint()
{
    QImage image(plot->size(), QImage::Format_RGB32);
    QPainter painter(&image);
    plot->render(&painter);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    FuzzSupport::initApplication(argc, argv);
    require(FuzzSupport::loadSampleData(), "sample data loads");
    return 0;
}

// A fresh plot per input, so that every crash replays from its input alone.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    std::unique_ptr<FuzzPlot> owner(new FuzzPlot(true));
    plot = owner.get();
    plot->setIsinId(1001);
    plot->resize(480, 320);
    plot->updateAxisWidgets();

    while (!input.atEnd()) {
        switch (input.bounded(6)) {
        case 0:
            plot->setAxisScale(input.bounded(2) ? QwtPlot::xBottom : QwtPlot::yLeft, input.real(),
                               input.real(), input.bounded(4) ? 0.0 : input.real());
            checkAxes("the axis gate keeps ranges usable");
            break;
        case 1:
            plot->setCurKotirValue(input.real());
            plot->setCurKotirEnabled(input.byte() & 1);
            break;
        case 2:
            plot->setRescaleFactor(decimal::fromDouble(input.real(), short(input.bounded(6))));
            break;
        case 3:
            (void)plot->roundedXValue(input.real());
            (void)plot->xAxisConvertedValue(input.real());
            break;
        case 4:
            divideAndLabel(input);
            break;
        default:
            plot->replot();
            plot->updateAxisWidgets();
            paint();
            break;
        }
    }
    plot->replot();
    paint();
    checkAxes("ranges stay usable after painting");
    plot = nullptr;
    return 0;
}
