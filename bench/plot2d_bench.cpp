// Frame, zoom-step and pan-step costs of plot2d against stock Qwt and QCustomPlot on the same data:
// 12 curves of N samples over prices 100 to 200, 1 px pens, grid on, rendered into a 1600x900 QImage
// through each toolkit's own renderer.

#include <plot2d/platform.h>
#include <plot2d/plot2dcolors.h>
#include <plot2d/pricebased2dplot.h>
#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotlegend.h>
#include <plot2d/pricebased2dplotscaledraw.h>

#include "plot2dsampling.h"

#include <benchmark/benchmark.h>
#include <qcustomplot.h>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_renderer.h>
#include <qwt_point_data.h>
#include <qwt_scale_div.h>
#include <qwt_series_data.h>
#include <qwt_transform.h>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QTemporaryDir>

#include <cmath>
#include <functional>
#include <map>
#include <memory>

namespace {

const int ImageWidth = 1600;
const int ImageHeight = 900;
const int CurveCount = 12;
const double XLow = 100.0;
const double XHigh = 200.0;
const double WindowWidth = (XHigh - XLow) / 100.0;
const double QuotePrice = 150.0;

struct Series
{
    QVector<double> x;
    QVector<double> y;
};

// Even curves are smooth (value-like), odd ones hockey sticks (payoff-like); a small ripple keeps
// the pixel columns of dense data busy.
double curveValue(int curve, double x)
{
    const double t = (x - XLow) / (XHigh - XLow);
    const double ripple = 0.02 * std::sin(x * 37.0 + curve);
    if (curve % 2 == 0)
        return (curve + 1) * std::sin(t * M_PI * (1 + curve / 2)) + 0.3 * curve + ripple;
    const double strike = XLow + (curve + 1) * (XHigh - XLow) / (CurveCount + 2);
    return std::max(0.0, x - strike) * (0.05 + 0.01 * curve) - 0.5 * curve + ripple;
}

const QVector<Series>& seriesFor(int samples)
{
    static std::map<int, QVector<Series>> cache;
    QVector<Series>& all = cache[samples];
    if (all.isEmpty()) {
        for (int c = 0; c < CurveCount; ++c) {
            Series s;
            s.x.resize(samples);
            s.y.resize(samples);
            for (int i = 0; i < samples; ++i) {
                s.x[i] = XLow + (XHigh - XLow) * i / (samples - 1);
                s.y[i] = curveValue(c, s.x[i]);
            }
            all.append(s);
        }
    }
    return all;
}

QColor curveColor(int curve)
{
    static const Qt::GlobalColor colors[] = {Qt::blue,     Qt::darkGreen,  Qt::darkMagenta, Qt::darkCyan,
                                             Qt::darkBlue, Qt::darkYellow, Qt::magenta,     Qt::darkRed,
                                             Qt::green,    Qt::cyan,       Qt::gray,        Qt::black};
    return QColor(colors[curve % 12]);
}

// The zoom steps walk a 1 % window across the range so that no toolkit can reuse the last answer.
std::pair<double, double> zoomWindow(int step)
{
    const double span = XHigh - XLow - WindowWidth;
    const double lower = XLow + std::fmod(step * 7.31, span);
    return std::make_pair(lower, lower + WindowWidth);
}

// The pan steps move the whole view by 1 % of its width, back and forth across the data's end.
std::pair<double, double> panWindow(int step)
{
    const double shift = (step % 21 - 10) * (XHigh - XLow) / 100.0;
    return std::make_pair(XLow + shift, XHigh + shift);
}

QImage& targetImage()
{
    static QImage image(ImageWidth, ImageHeight, QImage::Format_ARGB32_Premultiplied);
    return image;
}

void renderQwt(QwtPlot* plot)
{
    QImage& image = targetImage();
    // At the plot's own resolution the renderer does not scale, as on screen.
    image.setDotsPerMeterX(qRound(plot->logicalDpiX() / 0.0254));
    image.setDotsPerMeterY(qRound(plot->logicalDpiY() / 0.0254));
    image.fill(Qt::white);
    QPainter painter(&image);
    QwtPlotRenderer renderer;
    renderer.render(plot, &painter, QRectF(0, 0, ImageWidth, ImageHeight));
}

// Fixtures live until main() ends, before the application object goes.
std::vector<std::function<void()>>& fixtureCleanups()
{
    static std::vector<std::function<void()>> cleanups;
    return cleanups;
}

template <typename Fixture>
Fixture& fixture(int samples)
{
    static std::map<int, std::unique_ptr<Fixture>> fixtures;
    std::unique_ptr<Fixture>& slot = fixtures[samples];
    if (!slot) {
        slot.reset(new Fixture(samples));
        if (fixtures.size() == 1)
            fixtureCleanups().push_back([] { fixtures.clear(); });
    }
    return *slot;
}

// A zoom or pan step: the view moves to the next window, Y follows, and the plot renders.
template <typename Fixture>
void viewSteps(benchmark::State& state, std::pair<double, double> (*window)(int))
{
    Fixture& f = fixture<Fixture>(static_cast<int>(state.range(0)));
    int step = 0;
    for (auto _ : state) {
        const std::pair<double, double> view = window(step++);
        f.moveTo(view.first, view.second);
        f.render();
    }
    f.showAll();
}

// --- stock Qwt ---

struct QwtFixture
{
    explicit QwtFixture(int samples)
    {
        plot.resize(ImageWidth, ImageHeight);
        plot.setAutoReplot(false);
        auto* grid = new QwtPlotGrid;
        grid->setPen(QPen(Qt::gray, 1.0, Qt::DotLine));
        grid->attach(&plot);
        const QVector<Series>& all = seriesFor(samples);
        for (int c = 0; c < CurveCount; ++c) {
            auto* curve = new QwtPlotCurve(QStringLiteral("Curve %1").arg(c));
            curve->setPen(QPen(curveColor(c), 1.0));
            curve->setSamples(all[c].x, all[c].y);
            curve->attach(&plot);
            curves.append(curve);
        }
        showAll();
    }

    void showAll()
    {
        plot.setAxisScale(QwtPlot::xBottom, XLow, XHigh);
        plot.setAxisAutoScale(QwtPlot::yLeft, true);
        plot.updateAxes();
    }

    // The plain scan a Qwt client would write: samples ascend, so stop after the window.
    void zoomTo(double lower, double upper)
    {
        double yMin = std::numeric_limits<double>::max();
        double yMax = -yMin;
        for (const QwtPlotCurve* curve : qAsConst(curves)) {
            const QwtSeriesData<QPointF>* data = curve->data();
            for (size_t i = 0; i < data->size(); ++i) {
                const QPointF p = data->sample(i);
                if (p.x() > upper)
                    break;
                if (p.x() >= lower) {
                    yMin = std::min(yMin, p.y());
                    yMax = std::max(yMax, p.y());
                }
            }
        }
        plot.setAxisScale(QwtPlot::xBottom, lower, upper);
        if (yMin <= yMax)
            plot.setAxisScale(QwtPlot::yLeft, yMin, yMax);
        plot.updateAxes();
    }

    void moveTo(double lower, double upper) { zoomTo(lower, upper); }
    void render() { renderQwt(&plot); }

    QwtPlot plot;
    QVector<QwtPlotCurve*> curves;
};

void BM_Frame_Qwt(benchmark::State& state)
{
    QwtFixture& f = fixture<QwtFixture>(static_cast<int>(state.range(0)));
    f.showAll();
    for (auto _ : state)
        renderQwt(&f.plot);
}

void BM_ZoomStep_Qwt(benchmark::State& state)
{
    viewSteps<QwtFixture>(state, zoomWindow);
}

void BM_PanStep_Qwt(benchmark::State& state)
{
    viewSteps<QwtFixture>(state, panWindow);
}

void setAntialiased(const QVector<QwtPlotCurve*>& curves, bool on)
{
    for (QwtPlotCurve* curve : curves)
        curve->setRenderHint(QwtPlotItem::RenderAntialiased, on);
}

void BM_FrameAA_Qwt(benchmark::State& state)
{
    QwtFixture& f = fixture<QwtFixture>(static_cast<int>(state.range(0)));
    f.showAll();
    setAntialiased(f.curves, true);
    for (auto _ : state)
        renderQwt(&f.plot);
    setAntialiased(f.curves, false);
}

// --- QCustomPlot ---

struct QcpFixture
{
    explicit QcpFixture(int samples)
    {
        plot.resize(ImageWidth, ImageHeight);
        const QVector<Series>& all = seriesFor(samples);
        for (int c = 0; c < CurveCount; ++c) {
            QCPGraph* graph = plot.addGraph();
            graph->setName(QStringLiteral("Curve %1").arg(c));
            graph->setPen(QPen(curveColor(c), 1.0));
            graph->setData(all[c].x, all[c].y, true);
        }
        plot.xAxis->grid()->setVisible(true);
        plot.yAxis->grid()->setVisible(true);
        showAll();
    }

    void showAll()
    {
        plot.xAxis->setRange(XLow, XHigh);
        plot.yAxis->rescale(true);
    }

    void moveTo(double lower, double upper)
    {
        plot.xAxis->setRange(lower, upper);
        plot.yAxis->rescale(true);
    }

    void render()
    {
        QImage& image = targetImage();
        image.fill(Qt::white);
        QCPPainter painter(&image);
        plot.toPainter(&painter, ImageWidth, ImageHeight);
    }

    QCustomPlot plot;
};

void BM_Frame_QCustomPlot(benchmark::State& state)
{
    QcpFixture& f = fixture<QcpFixture>(static_cast<int>(state.range(0)));
    f.showAll();
    for (auto _ : state)
        f.render();
}

void BM_ZoomStep_QCustomPlot(benchmark::State& state)
{
    viewSteps<QcpFixture>(state, zoomWindow);
}

void BM_PanStep_QCustomPlot(benchmark::State& state)
{
    viewSteps<QcpFixture>(state, panWindow);
}

void BM_FrameAA_QCustomPlot(benchmark::State& state)
{
    QcpFixture& f = fixture<QcpFixture>(static_cast<int>(state.range(0)));
    f.showAll();
    const QCP::AntialiasedElements before = f.plot.antialiasedElements();
    f.plot.setAntialiasedElements(QCP::aePlottables);
    for (auto _ : state)
        f.render();
    f.plot.setAntialiasedElements(before);
}

// --- plot2d ---

// The "securities" and "boards" tables, from the shipped sample data when it is there; otherwise a
// minimal generated pair with the same columns (one futures contract on an anonymous board).
bool loadTables()
{
    static bool loaded = false;
    if (loaded)
        return true;
    DataStore* store = ICore::instance()->dataStore();
    QDir dir(QStringLiteral(PLOT2D_SAMPLE_DATA_DIR));
    static QTemporaryDir generated;
    if (!QFile::exists(dir.filePath(QStringLiteral("securities.csv")))) {
        dir = QDir(generated.path());
        QFile boards(dir.filePath(QStringLiteral("boards.csv")));
        boards.open(QIODevice::WriteOnly);
        boards.write("board_id:1,stock_id:1,board_code:5:20,anonym:5:1\n1,1,FUT,D\n");
        QFile securities(dir.filePath(QStringLiteral("securities.csv")));
        securities.open(QIODevice::WriteOnly);
        securities.write("sec_id:2,isin_id:1,stock_id:1,board_id:1,sec_code:5:25,sectype:5:1,base_code:5:20,"
                         "expdate:6,price_step:4:5,strike:4:5,option_type:5:1,sess_id:1,fut_isin_id:1,"
                         "base_isin_id:1,bid:4:5,ask:4:5,cur_kotir_real:4:5,cur_kotir:4:5,old_kotir:4:5,"
                         "volat_min:4:4,volat_max:4:4,lasttime:6\n"
                         "1,1001,1,1,BR-1.27,F,BR,2027-01-29T00:00:00,0.01,,,7001,,,,,,150.00,149.50,0.25,"
                         "0.45,\n");
    }
    QString error;
    loaded =
        store->loadCsv(QStringLiteral("boards"), dir.filePath(QStringLiteral("boards.csv")), &error) &&
        store->loadCsv(QStringLiteral("securities"), dir.filePath(QStringLiteral("securities.csv")), &error);
    if (!loaded)
        qWarning("plot2d-bench: %s", qPrintable(error));
    return loaded;
}

class BenchPlot : public PriceBased2dPlot
{
public:
    BenchPlot() : PriceBased2dPlot(true) {}
    void updateCurves() override {}
};

// Set up as the demo does: value curves, a type-0 quote line, the check-box legend and the quote
// shown on the price axis.
struct Plot2dFixture
{
    explicit Plot2dFixture(int samples)
    {
        loadTables();
        plot.reset(new BenchPlot);
        plot->resize(ImageWidth, ImageHeight);
        plot->setIsinId(1001);
        const QVector<Series>& all = seriesFor(samples);
        for (int c = 0; c < CurveCount; ++c) {
            auto* curve = new PriceBased2dPlotCurve(plot.get(), QStringLiteral("Curve %1").arg(c));
            curve->setDataType(9 + c % 4);
            curve->setStyle(QwtPlotCurve::Lines);
            curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
            curve->setPen(QPen(curveColor(c), 1.0));
            curve->setSamples(all[c].x, all[c].y);
            curve->attach(plot.get());
        }
        auto* quote = new PriceBased2dPlotCurve(plot.get(), QStringLiteral("Quote"));
        quote->setDataType(PriceBased2dPlotCurve::CurKotirLine);
        quote->setStyle(QwtPlotCurve::Sticks);
        quote->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
        quote->setPen(QPen(CurKotirCurveColor, 1.0));
        quote->setSamples(QVector<QPointF>{QPointF(QuotePrice, -1.0), QPointF(QuotePrice, 1.0)});
        quote->attach(plot.get());

        auto* legend = new PriceBased2dPlotLegend(plot.get());
        plot->insertLegend(legend, QwtPlot::RightLegend);
        legend->initCore();

        plot->setCurKotirValue(QuotePrice);
        plot->setCurKotirEnabled(true);
        // An offscreen plot never paints its axis; mark it painted as a shown plot would be.
        plot->xScaleDraw()->setAxisPainted(true);
        plot->yScaleDraw()->setAxisPainted(true);
        showAll();
    }

    void showAll() { zoomTo(XLow, XHigh); }

    // A view step as the wheel or the panner makes it: the X range, then autoscale.
    void moveTo(double lower, double upper)
    {
        plot->setAxisScale(QwtPlot::xBottom, lower, upper);
        plot->updateYAxisScale();
    }

    void zoomTo(double lower, double upper)
    {
        moveTo(lower, upper);
        plot->updateCurKotirPoints(0.0, 0.0, QuotePrice);
    }

    void render() { renderQwt(plot.get()); }

    std::unique_ptr<BenchPlot> plot;
};

void BM_Frame_Plot2d(benchmark::State& state)
{
    Plot2dFixture& f = fixture<Plot2dFixture>(static_cast<int>(state.range(0)));
    f.showAll();
    for (auto _ : state)
        renderQwt(f.plot.get());
}

// The frame above repeats one view, so from the second render on the curves reuse their painted
// geometry, as a replot for a quote tick or the tracker does. Here the range moves by a hair every
// render, so every frame maps and decimates all samples, as the first frame of a new view does.
void BM_FrameFresh_Plot2d(benchmark::State& state)
{
    Plot2dFixture& f = fixture<Plot2dFixture>(static_cast<int>(state.range(0)));
    int step = 0;
    for (auto _ : state) {
        f.plot->setAxisScale(QwtPlot::xBottom, XLow, XHigh + (step++ % 2) * 1e-9);
        f.plot->updateAxes();
        renderQwt(f.plot.get());
    }
    f.showAll();
}

void BM_ZoomStep_Plot2d(benchmark::State& state)
{
    viewSteps<Plot2dFixture>(state, zoomWindow);
}

void BM_PanStep_Plot2d(benchmark::State& state)
{
    viewSteps<Plot2dFixture>(state, panWindow);
}

void BM_FrameAA_Plot2d(benchmark::State& state)
{
    Plot2dFixture& f = fixture<Plot2dFixture>(static_cast<int>(state.range(0)));
    f.showAll();
    const QList<PriceBased2dPlotCurve*> curves = f.plot->attachedCurves(-1);
    for (PriceBased2dPlotCurve* curve : curves)
        curve->setRenderHint(QwtPlotItem::RenderAntialiased, true);
    for (auto _ : state)
        renderQwt(f.plot.get());
    for (PriceBased2dPlotCurve* curve : curves)
        curve->setRenderHint(QwtPlotItem::RenderAntialiased, false);
}

// The index a curve builds over its samples: the time to build it and what it holds per sample.
void BM_IndexBuild_Plot2d(benchmark::State& state)
{
    const Series& series = seriesFor(static_cast<int>(state.range(0))).first();
    const QwtPointArrayData data(series.x, series.y);
    Plot2dSampling::YRangeIndex index;
    for (auto _ : state)
        benchmark::DoNotOptimize(index.build(data));
    state.counters["index_bytes_per_sample"] = static_cast<double>(index.indexBytes()) / index.size();
}

void setWindow(Plot2dFixture& f, int step)
{
    const std::pair<double, double> window = zoomWindow(step);
    f.plot->setAxisScale(QwtPlot::xBottom, window.first, window.second);
    f.plot->updateAxes();
}

void BM_MinMaxYAtXRange(benchmark::State& state)
{
    Plot2dFixture& f = fixture<Plot2dFixture>(static_cast<int>(state.range(0)));
    setWindow(f, 3);
    for (auto _ : state)
        benchmark::DoNotOptimize(f.plot->minMaxYAtXRange());
    f.showAll();
}

// The reference: the plot's plain per-sample scan over the same curves and window.
void BM_MinMaxYAtXRangeLinear(benchmark::State& state)
{
    Plot2dFixture& f = fixture<Plot2dFixture>(static_cast<int>(state.range(0)));
    setWindow(f, 3);
    for (auto _ : state)
        benchmark::DoNotOptimize(f.plot->minMaxYAtXRangeLinear());
    f.showAll();
}

// A bottom scale draw with N label candidates across a 1600 px axis and the quote in the middle.
struct LabelsFixture
{
    explicit LabelsFixture(int ticks) : draw(QwtPlot::xBottom)
    {
        QList<double> major;
        for (int i = 0; i < ticks; ++i)
            major.append(XLow + (XHigh - XLow) * i / std::max(1, ticks - 1));
        QList<double> list[QwtScaleDiv::NTickTypes];
        list[QwtScaleDiv::MajorTick] = major;
        draw.setScaleDiv(QwtScaleDiv(XLow, XHigh, list));
        draw.setTransformation(new QwtNullTransform);
        draw.move(QPointF(60.0, 20.0));
        draw.setLength(ImageWidth - 120);
        draw.setCurKotirValue(QuotePrice);
        draw.setCurKotirEnabled(true);
        draw.setAxisPainted(true);
    }

    PriceBased2dPlotScaleDraw draw;
};

void BM_UpdateLabels(benchmark::State& state)
{
    LabelsFixture& f = fixture<LabelsFixture>(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        f.draw.updateLabels();
        benchmark::DoNotOptimize(f.draw.labels().size());
    }
}

void sampleCounts(benchmark::internal::Benchmark* b)
{
    b->Arg(1000)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK(BM_Frame_Plot2d)->Apply(sampleCounts);
BENCHMARK(BM_FrameFresh_Plot2d)->Apply(sampleCounts);
BENCHMARK(BM_Frame_Qwt)->Apply(sampleCounts);
BENCHMARK(BM_Frame_QCustomPlot)->Apply(sampleCounts);
BENCHMARK(BM_ZoomStep_Plot2d)->Apply(sampleCounts);
BENCHMARK(BM_ZoomStep_Qwt)->Apply(sampleCounts);
BENCHMARK(BM_ZoomStep_QCustomPlot)->Apply(sampleCounts);
BENCHMARK(BM_PanStep_Plot2d)->Apply(sampleCounts);
BENCHMARK(BM_PanStep_Qwt)->Apply(sampleCounts);
BENCHMARK(BM_PanStep_QCustomPlot)->Apply(sampleCounts);
BENCHMARK(BM_FrameAA_Plot2d)->Apply(sampleCounts);
BENCHMARK(BM_FrameAA_Qwt)->Apply(sampleCounts);
BENCHMARK(BM_FrameAA_QCustomPlot)->Apply(sampleCounts);
BENCHMARK(BM_IndexBuild_Plot2d)->Apply(sampleCounts);
BENCHMARK(BM_UpdateLabels)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MinMaxYAtXRange)->Apply(sampleCounts)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MinMaxYAtXRangeLinear)->Apply(sampleCounts)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSize(9);
    QApplication::setFont(font);

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    for (const std::function<void()>& cleanup : fixtureCleanups())
        cleanup();
    return 0;
}
