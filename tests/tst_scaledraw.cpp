#include "testsupport.h"

#include <plot2d/pricebased2dplotscaledraw.h>
#include <plot2d/pricebased2dplotscaleengine.h>

#include <qwt_scale_div.h>
#include <qwt_scale_widget.h>

#include <cmath>
#include <limits>
#include <type_traits>

Q_DECLARE_METATYPE(QwtScaleDiv)

namespace {

// The shipped sample table, with the "strike" column declared as `strikeType`.
bool loadSamplesWithStrike(const QTemporaryDir& dir, const QByteArray& strikeType)
{
    DataStore* store = ICore::instance()->dataStore();
    for (const QString& name : {QStringLiteral("boards"), QStringLiteral("securities")}) {
        QFile sample(TestSupport::sampleDataDir() + QLatin1Char('/') + name + QStringLiteral(".csv"));
        if (!sample.open(QIODevice::ReadOnly))
            return false;
        const QByteArray content = sample.readAll().replace("strike:4:5", strikeType);
        if (!store->loadCsv(name, TestSupport::writeFile(dir.path(), name + QStringLiteral(".csv"), content)))
            return false;
    }
    return true;
}

const int NoPairCount = std::numeric_limits<int>::min();

// Plain members, not const: const is part of the mangled name, and clients built against plain
// members must still link.
static_assert(std::is_same<decltype(&PriceBased2dPlotScaleDraw::findEqualDigitsInIntegerPart),
                           int (PriceBased2dPlotScaleDraw::*)(long long, long long, int)>::value,
              "findEqualDigitsInIntegerPart is a plain member");
static_assert(std::is_same<decltype(&PriceBased2dPlotScaleDraw::findEqualDigitsInFractionPart),
                           int (PriceBased2dPlotScaleDraw::*)(double, double)>::value,
              "findEqualDigitsInFractionPart is a plain member");

QwtScaleDiv division(double lower, double upper, const QList<double>& majors,
                     const QList<double>& mediums = {})
{
    return QwtScaleDiv(lower, upper, QList<double>(), mediums, majors);
}

QList<double> steps(double from, double to, double step)
{
    QList<double> values;
    for (double v = from; v <= to + step / 2; v += step)
        values << std::round(v / step) * step;
    return values;
}

// A bottom-axis draw laid out over `length` pixels, as the plot would after its first paint.
PriceBased2dPlotScaleDraw* laidOutDraw(const QwtScaleDiv& div, double length, bool painted)
{
    auto* draw = new PriceBased2dPlotScaleDraw(QwtPlot::xBottom);
    draw->setScaleDiv(div);
    draw->move(0.0, 0.0);
    draw->setLength(length);
    draw->setAxisPainted(painted);
    return draw;
}

int redPixels(const QImage& image, const QRect& rect)
{
    int count = 0;
    const QRect clipped = rect.intersected(image.rect());
    for (int y = clipped.top(); y <= clipped.bottom(); ++y) {
        for (int x = clipped.left(); x <= clipped.right(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            count += qRed(pixel) > 160 && qGreen(pixel) < 90 && qBlue(pixel) < 90;
        }
    }
    return count;
}

} // namespace

class TestScaleDraw : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QString error;
        QVERIFY2(TestSupport::loadSampleData(&error), qPrintable(error));
    }

    void cleanup() { TestSupport::clearData(); }

    void shiftsTicksOntoRescaleFactor()
    {
        TestPlot plot(false);
        PriceBased2dPlotScaleEngine engine(&plot, QwtPlot::xBottom);
        QCOMPARE(PriceBased2dPlotScaleEngine(nullptr, QwtPlot::xBottom).strikeDecimals(), -1);
        const QwtLinearScaleEngine linear;
        const QwtScaleDiv plain = linear.divideScale(55, 125, 10, 4, 20);
        QCOMPARE(plain.ticks(QwtScaleDiv::MajorTick), (QList<double>{60, 80, 100, 120}));

        // The nearest major (100) moves onto 95; every level moves by 5 and stays strictly inside.
        engine.setRescaleFactor(decimal(9500000, 5));
        const QwtScaleDiv div = engine.divideScale(55, 125, 10, 4, 20);
        QCOMPARE(div.ticks(QwtScaleDiv::MajorTick), (QList<double>{75, 95, 115}));
        QCOMPARE(div.interval(), plain.interval());
        for (int type : {QwtScaleDiv::MinorTick, QwtScaleDiv::MediumTick}) {
            QList<double> expected;
            for (double tick : plain.ticks(type)) {
                if (55 < tick - 5 && tick - 5 < 125)
                    expected << tick - 5;
            }
            QVERIFY(!expected.isEmpty());
            QCOMPARE(div.ticks(type), expected);
        }

        // A factor on x1 is accepted, and the tick that would land on x1 is dropped.
        engine.setRescaleFactor(decimal(55, 0));
        QCOMPARE(engine.divideScale(55, 125, 10, 4, 20).ticks(QwtScaleDiv::MajorTick),
                 (QList<double>{75, 95, 115}));

        // Majors on both ends of the range: after a shift neither end keeps a tick.
        engine.setRescaleFactor(decimal(1, 0));
        const QwtScaleDiv ends = engine.divideScale(0, 4, 10, 2, 2);
        QCOMPARE(ends.ticks(QwtScaleDiv::MajorTick), (QList<double>{1, 3}));
    }

    void leavesDivisionAlone_data()
    {
        QTest::addColumn<qlonglong>("mantissa");
        QTest::addColumn<int>("decimals");
        QTest::addColumn<int>("strikeDecimals");
        QTest::newRow("zero factor") << 0LL << 2 << 5;
        QTest::newRow("within the last place of a major") << 99999999LL << 6 << 5;
        QTest::newRow("below x1") << 5400LL << 2 << 5;
        QTest::newRow("strike without decimals") << 95LL << 0 << 0;
    }

    void leavesDivisionAlone()
    {
        QFETCH(qlonglong, mantissa);
        QFETCH(int, decimals);
        QFETCH(int, strikeDecimals);
        TestSupport::clearData();
        QTemporaryDir dir;
        QVERIFY(loadSamplesWithStrike(dir, "strike:4:" + QByteArray::number(strikeDecimals)));
        TestPlot plot(false);
        PriceBased2dPlotScaleEngine engine(&plot, QwtPlot::xBottom);
        QCOMPARE(engine.strikeDecimals(), strikeDecimals);
        engine.setRescaleFactor(decimal(mantissa, static_cast<short>(decimals)));
        const QwtLinearScaleEngine linear;
        QVERIFY(engine.divideScale(55, 125, 10, 4, 20) == linear.divideScale(55, 125, 10, 4, 20));
    }

    void leftAxisRefusesThinningNarrowing()
    {
        TestPlot plot;
        plot.setAutoScaleEnabled(false);
        PriceBased2dPlotScaleEngine engine(&plot, QwtPlot::yLeft);
        PriceBased2dPlotScaleDraw draw(QwtPlot::yLeft);
        draw.setPrecision(0); // labels between 100 and 101 all read "100"
        engine.setScaleDraw(&draw);

        QCOMPARE(engine.divideScale(0, 100, 8, 5).interval(), QwtInterval(0, 100));
        // Narrower and thinning: the last range is handed back, and stays the stored one.
        QCOMPARE(engine.divideScale(100.1, 100.4, 8, 5).interval(), QwtInterval(0, 100));
        // Wider: accepted and stored, so the next thinning narrowing falls back to it.
        QCOMPARE(engine.divideScale(0, 200, 8, 5).interval(), QwtInterval(0, 200));
        QCOMPARE(engine.divideScale(100.1, 100.4, 8, 5).interval(), QwtInterval(0, 200));

        // Autoscale on, another axis, or no linked draw: never stabilised.
        plot.setAutoScaleEnabled(true);
        QCOMPARE(engine.divideScale(100.1, 100.4, 8, 5).interval(), QwtInterval(100.1, 100.4));
        plot.setAutoScaleEnabled(false);
        engine.setScaleDraw(nullptr);
        QCOMPARE(engine.divideScale(100.1, 100.4, 8, 5).interval(), QwtInterval(100.1, 100.4));
    }

    void integerDigits_data()
    {
        QTest::addColumn<qlonglong>("a");
        QTest::addColumn<qlonglong>("b");
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("expected");
        QTest::newRow("two shared") << 1234LL << 1256LL << 4 << 2;
        QTest::newRow("none shared") << 1234LL << 2234LL << 4 << 0;
        QTest::newRow("all but last") << 123451LL << 123459LL << 6 << 5;
        QTest::newRow("length 17") << 5LL << 7LL << 17 << -1;
        QTest::newRow("negative") << -20LL << -10LL << 2 << -1;
    }

    void integerDigits()
    {
        QFETCH(qlonglong, a);
        QFETCH(qlonglong, b);
        QFETCH(int, length);
        QFETCH(int, expected);
        PriceBased2dPlotScaleDraw draw(QwtPlot::xBottom);
        QCOMPARE(draw.findEqualDigitsInIntegerPart(a, b, length), expected);
    }

    void fractionDigits_data()
    {
        QTest::addColumn<double>("a");
        QTest::addColumn<double>("b");
        QTest::addColumn<int>("expected");
        QTest::newRow("two shared") << 1234.5671 << 1234.5689 << 2;
        QTest::newRow("equal") << 0.1 << 0.1 << -1;
        QTest::newRow("descending") << 2.5 << 1.5 << -1;
        QTest::newRow("same fraction capped") << 0.25 << 1.25 << 10;
        QTest::newRow("beyond 1e16") << 1.0 << 2e16 << -1;
        QTest::newRow("near-whole fraction is zero") << 3.9999999999 << 4.05 << 1;
    }

    void fractionDigits()
    {
        QFETCH(double, a);
        QFETCH(double, b);
        QFETCH(int, expected);
        PriceBased2dPlotScaleDraw draw(QwtPlot::xBottom);
        QCOMPARE(draw.findEqualDigitsInFractionPart(a, b), expected);
    }

    void equalDigitsNum_data()
    {
        QTest::addColumn<QList<double>>("labels");
        QTest::addColumn<int>("expected");
        QTest::newRow("shared fraction") << QList<double>{1234.5671, 1234.5689} << 6;
        QTest::newRow("length change resets") << QList<double>{10.51, 10.52, 100.5} << 0;
        QTest::newRow("raised after reset") << QList<double>{9.5, 10.5, 10.6} << 2;
        QTest::newRow("single label") << QList<double>{5} << NoPairCount;
        QTest::newRow("negative pair gives nothing") << QList<double>{-20, -10} << NoPairCount;
        QTest::newRow("fuzzy duplicate") << QList<double>{10, 10 + 1e-13} << -1;
    }

    void equalDigitsNum()
    {
        QFETCH(QList<double>, labels);
        QFETCH(int, expected);
        // Before the first paint every candidate is a label, so the labels are exactly these majors.
        QScopedPointer<PriceBased2dPlotScaleDraw> draw(
            laidOutDraw(division(labels.first() - 1, labels.last() + 1, labels), 400, false));
        draw->updateLabels();
        QCOMPARE(draw->labels().size(), labels.size());
        QCOMPARE(draw->equalDigitsNum(), expected);
    }

    void labelsBeforeFirstPaintAndWithoutQuote()
    {
        const QList<double> ticks = steps(0, 100, 1);
        QScopedPointer<PriceBased2dPlotScaleDraw> draw(laidOutDraw(division(0, 100, ticks), 200, false));
        draw->updateLabels();
        QCOMPARE(draw->labels(), ticks); // overlapping, but the axis has not been painted yet
        QCOMPARE(draw->curKotirIndex(), -1);

        // An enabled quote display without a quote shows nothing at all.
        draw->setCurKotirEnabled(true);
        draw->updateLabels();
        QVERIFY(draw->labels().isEmpty());
        QCOMPARE(draw->curKotirIndex(), -1);
        QCOMPARE(draw->equalDigitsNum(), -1);

        draw->setCurKotirValue(50.5);
        draw->updateLabels();
        QCOMPARE(draw->labels(), ticks);
        QCOMPARE(draw->curKotirIndex(), 51);
        QCOMPARE(draw->curKotirFlags(), 0x3u);
    }

    void singlePairWithQuoteDropsNeighbour()
    {
        QScopedPointer<PriceBased2dPlotScaleDraw> draw(
            laidOutDraw(division(0, 100, steps(0, 100, 10)), 1000, true));
        draw->setCurKotirValue(41);
        draw->setCurKotirEnabled(true);
        draw->updateLabels();

        // Only 40 and the quote collide: the quote wins, nothing else moves.
        QCOMPARE(draw->labels(), (QList<double>{0, 10, 20, 30, 50, 60, 70, 80, 90, 100}));
        QCOMPARE(draw->curKotirFlags(), 0x3u);
        QCOMPARE(draw->labelGap(), 8);

        // The same with the quote below its neighbour.
        draw->setCurKotirValue(49);
        draw->updateLabels();
        QCOMPARE(draw->labels(), (QList<double>{0, 10, 20, 30, 40, 60, 70, 80, 90, 100}));

        // With the quote display off one removal cannot settle it, so the labels are halved: odd
        // positions below the quote, even ones from it upwards.
        draw->setCurKotirEnabled(false);
        draw->setCurKotirValue(41);
        draw->updateLabels();
        QCOMPARE(draw->labels(), (QList<double>{10, 30, 60, 80, 100}));
        QCOMPARE(draw->curKotirIndex(), 2);
        QVERIFY(draw->overlappedLabels(draw->labels()).isEmpty());
    }

    void renderedPlotShowsRedQuoteWithoutOverlap()
    {
        TestPlot plot;
        plot.resize(340, 240); // narrow enough to need the halving passes
        plot.setAxisScale(QwtPlot::xBottom, 55, 95);
        const double quote = 74.35;
        plot.setCurKotirValue(quote);
        plot.setCurKotirEnabled(true);
        plot.replot();
        plot.grab(); // the first paint of the axis turns overlap removal on
        plot.updateScaleLabels();
        const QImage image = plot.grab().toImage();

        PriceBased2dPlotScaleDraw* draw = plot.xScaleDraw();
        QVERIFY(draw->axisPainted());
        QCOMPARE(draw->curKotirFlags(), 0x3u);
        const QwtScaleWidget* axis = plot.axisWidget(QwtPlot::xBottom);
        const auto rectOf = [&](double value) {
            return draw->boundingLabelRect(axis->font(), value).translated(axis->geometry().topLeft());
        };
        QVERIFY(redPixels(image, rectOf(quote)) > 5);

        QList<double> drawn;
        for (double value : draw->labels()) {
            if (draw->scaleDiv().contains(value))
                drawn << value;
        }
        QVERIFY(drawn.size() >= 3);
        drawn << quote;
        for (int i = 0; i < drawn.size(); ++i) {
            if (drawn.at(i) != quote)
                QCOMPARE(redPixels(image, rectOf(drawn.at(i))), 0);
            for (int j = i + 1; j < drawn.size(); ++j)
                QVERIFY2(!rectOf(drawn.at(i)).intersects(rectOf(drawn.at(j))),
                         qPrintable(QStringLiteral("%1 and %2 overlap").arg(drawn.at(i)).arg(drawn.at(j))));
        }
    }
};

PLOT2D_TEST_MAIN(TestScaleDraw)

#include "tst_scaledraw.moc"
