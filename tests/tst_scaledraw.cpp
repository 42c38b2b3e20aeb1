#include "screenpixels.h"
#include "testsupport.h"

#include <plot2d/pricebased2dplotscaledraw.h>
#include <plot2d/pricebased2dplotscaleengine.h>

#include <qwt_scale_div.h>
#include <qwt_scale_widget.h>

#include <cmath>
#include <limits>
#include <type_traits>

namespace {

const int NoPairCount = std::numeric_limits<int>::min();

// Plain members, not const: const is part of the mangled name, and clients built against plain
// members must still link.
static_assert(std::is_same<decltype(&PriceBased2dPlotScaleDraw::findEqualDigitsInIntegerPart),
                           int (PriceBased2dPlotScaleDraw::*)(long long, long long, int)>::value,
              "findEqualDigitsInIntegerPart is a plain member");
static_assert(std::is_same<decltype(&PriceBased2dPlotScaleDraw::findEqualDigitsInFractionPart),
                           int (PriceBased2dPlotScaleDraw::*)(double, double)>::value,
              "findEqualDigitsInFractionPart is a plain member");

QList<double> steps(double from, double to, double step)
{
    QList<double> values;
    for (double v = from; v <= to + step / 2; v += step)
        values << std::round(v / step) * step;
    return values;
}

// A bottom-axis draw with these major ticks laid out over `length` pixels.
PriceBased2dPlotScaleDraw* laidOutDraw(const QList<double>& majors, double length, bool painted)
{
    auto* draw = new PriceBased2dPlotScaleDraw(QwtPlot::xBottom);
    draw->setScaleDiv(QwtScaleDiv(majors.first() - 1, majors.last() + 1, {}, {}, majors));
    draw->setLength(length);
    draw->setAxisPainted(painted);
    return draw;
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
        // Qwt divides 55..125 into majors 60..120 by 20, mediums 70, 90, 110 and minors 55..125 by 10.
        // The nearest major (100) moves onto 95; every level moves by 5 and stays strictly inside.
        engine.setRescaleFactor(decimal(9500000, 5));
        const QwtScaleDiv div = engine.divideScale(55, 125, 10, 4, 20);
        QCOMPARE(div.ticks(QwtScaleDiv::MajorTick), (QList<double>{75, 95, 115}));
        QCOMPARE(div.ticks(QwtScaleDiv::MediumTick), (QList<double>{65, 85, 105}));
        QCOMPARE(div.ticks(QwtScaleDiv::MinorTick), (QList<double>{60, 70, 80, 90, 100, 110, 120}));
        QCOMPARE(div.interval(), QwtInterval(55, 125));

        // A factor on x1 is accepted, and the tick that would land on x1 is dropped.
        engine.setRescaleFactor(decimal(55, 0));
        QCOMPARE(engine.divideScale(55, 125, 10, 4, 20).ticks(QwtScaleDiv::MajorTick),
                 (QList<double>{75, 95, 115}));

        // Majors on both ends of the range: after a shift neither end keeps a tick.
        engine.setRescaleFactor(decimal(1, 0));
        const QwtScaleDiv ends = engine.divideScale(0, 4, 10, 2, 2);
        QCOMPARE(ends.ticks(QwtScaleDiv::MajorTick), (QList<double>{1, 3}));
    }

    void unusableRescaleFactorLeavesDivisionAlone_data()
    {
        TestSupport::columns<qlonglong, int, int>({"mantissa", "decimals", "strikeDecimals"});
        QTest::newRow("zero factor") << 0LL << 2 << 5;
        QTest::newRow("within the last place of a major") << 99999999LL << 6 << 5;
        QTest::newRow("below x1") << 5400LL << 2 << 5;
        QTest::newRow("strike without decimals") << 95LL << 0 << 0;
    }

    void unusableRescaleFactorLeavesDivisionAlone()
    {
        const auto [mantissa, decimals, strikeDecimals] =
            TestSupport::fetch<qlonglong, int, int>({"mantissa", "decimals", "strikeDecimals"});
        TestSupport::clearData();
        QTemporaryDir dir;
        QVERIFY(TestSupport::loadTable(dir, QStringLiteral("securities"),
                                       TestSupport::securitiesHeader().replace(
                                           "strike:4:5", "strike:4:" + QByteArray::number(strikeDecimals)) +
                                           TestSupport::futureRow()));
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

    // Shared leading digits of two labels: integer parts of `length` digits, or fraction parts
    // where no length is given.
    void sharedDigitsOfTwoLabels_data()
    {
        TestSupport::columns<double, double, int, int>({"a", "b", "length", "expected"});
        QTest::newRow("integer, two shared") << 1234.0 << 1256.0 << 4 << 2;
        QTest::newRow("integer, none shared") << 1234.0 << 2234.0 << 4 << 0;
        QTest::newRow("integer, all but last") << 123451.0 << 123459.0 << 6 << 5;
        QTest::newRow("integer, length 17") << 5.0 << 7.0 << 17 << -1;
        QTest::newRow("integer, negative") << -20.0 << -10.0 << 2 << -1;
        QTest::newRow("fraction, two shared") << 1234.5671 << 1234.5689 << 0 << 2;
        QTest::newRow("fraction, equal") << 0.1 << 0.1 << 0 << -1;
        QTest::newRow("fraction, descending") << 2.5 << 1.5 << 0 << -1;
        QTest::newRow("fraction, same fraction capped") << 0.25 << 1.25 << 0 << 10;
        QTest::newRow("fraction, beyond 1e16") << 1.0 << 2e16 << 0 << -1;
        QTest::newRow("fraction, near-whole is zero") << 3.9999999999 << 4.05 << 0 << 1;
    }
    void sharedDigitsOfTwoLabels()
    {
        const auto [a, b, length, expected] =
            TestSupport::fetch<double, double, int, int>({"a", "b", "length", "expected"});
        PriceBased2dPlotScaleDraw draw(QwtPlot::xBottom);
        QCOMPARE(length > 0 ? draw.findEqualDigitsInIntegerPart(qint64(a), qint64(b), length)
                            : draw.findEqualDigitsInFractionPart(a, b),
                 expected);
    }

    void equalDigitsNumOverLabelPairs_data()
    {
        TestSupport::columns<QList<double>, int>({"labels", "expected"});
        QTest::newRow("shared fraction") << QList<double>{1234.5671, 1234.5689} << 6;
        QTest::newRow("length change resets") << QList<double>{10.51, 10.52, 100.5} << 0;
        QTest::newRow("raised after reset") << QList<double>{9.5, 10.5, 10.6} << 2;
        QTest::newRow("single label") << QList<double>{5} << NoPairCount;
        QTest::newRow("negative pair gives nothing") << QList<double>{-20, -10} << NoPairCount;
        QTest::newRow("fuzzy duplicate") << QList<double>{10, 10 + 1e-13} << -1;
    }

    void equalDigitsNumOverLabelPairs()
    {
        const auto [labels, expected] = TestSupport::fetch<QList<double>, int>({"labels", "expected"});
        // Before the first paint every candidate is a label, so the labels are exactly these majors.
        QScopedPointer<PriceBased2dPlotScaleDraw> draw(laidOutDraw(labels, 400, false));
        draw->updateLabels();
        QCOMPARE(draw->equalDigitsNum(), expected);
    }

    void everyTickIsALabelBeforeTheFirstPaint()
    {
        const QList<double> ticks = steps(0, 100, 1);
        QScopedPointer<PriceBased2dPlotScaleDraw> draw(laidOutDraw(ticks, 200, false));
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

    void quoteLabelDropsTheNeighbourItCollidesWith()
    {
        QScopedPointer<PriceBased2dPlotScaleDraw> draw(laidOutDraw(steps(0, 100, 10), 1000, true));
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
        const auto redColumns = [&](double value) {
            return ScreenPixels::columns(image, rectOf(value).intersected(axis->geometry()), Qt::red, 60, 1)
                .size();
        };
        QVERIFY(redColumns(quote) > 2);

        QList<double> drawn;
        for (double value : draw->labels()) {
            if (draw->scaleDiv().contains(value))
                drawn << value;
        }
        QVERIFY(drawn.size() >= 3);
        drawn << quote;
        for (int i = 0; i < drawn.size(); ++i) {
            if (drawn.at(i) != quote)
                QCOMPARE(redColumns(drawn.at(i)), 0);
            for (int j = i + 1; j < drawn.size(); ++j)
                QVERIFY2(!rectOf(drawn.at(i)).intersects(rectOf(drawn.at(j))),
                         qPrintable(QStringLiteral("%1 and %2 overlap").arg(drawn.at(i)).arg(drawn.at(j))));
        }
    }
};

PLOT2D_TEST_MAIN(TestScaleDraw)

#include "tst_scaledraw.moc"
