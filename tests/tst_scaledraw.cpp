#include "testsupport.h"

#include <plot2d/pricebased2dplotscaledraw.h>

#include <qwt_plot.h>
#include <qwt_scale_div.h>
#include <qwt_scale_widget.h>

#include <QImage>
#include <QScopedPointer>

#include <cmath>
#include <limits>

Q_DECLARE_METATYPE(QwtScaleDiv)

namespace {

const int NoPairCount = std::numeric_limits<int>::min();

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

bool isRed(QRgb pixel)
{
    return qRed(pixel) > 160 && qGreen(pixel) < 90 && qBlue(pixel) < 90;
}

int redPixels(const QImage& image, const QRect& rect)
{
    int count = 0;
    const QRect clipped = rect.intersected(image.rect());
    for (int y = clipped.top(); y <= clipped.bottom(); ++y) {
        for (int x = clipped.left(); x <= clipped.right(); ++x)
            count += isRed(image.pixel(x, y)) ? 1 : 0;
    }
    return count;
}

} // namespace

class TestScaleDraw : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void labelCandidates_data();
    void labelCandidates();
    void integerDigits_data();
    void integerDigits();
    void fractionDigits_data();
    void fractionDigits();
    void equalDigitsNum_data();
    void equalDigitsNum();
    void fractionLength();
    void labelsBeforeFirstPaintAndWithoutQuote();
    void singlePairWithQuoteDropsNeighbour();
    void halvingKeepsOppositePhasesAroundQuote();
    void denseAxisIsThinnedWithoutOverlap();
    void ticksShrinkedComparesTexts();
    void renderedPlotShowsRedQuoteWithoutOverlap();
};

void TestScaleDraw::labelCandidates_data()
{
    QTest::addColumn<QwtScaleDiv>("div");
    QTest::addColumn<QList<double>>("expected");
    QTest::newRow("medium on major once")
        << division(0, 40, {10, 20, 30}, {15, 20, 25}) << QList<double>{10, 15, 20, 25, 30};
    QTest::newRow("unsorted input") << division(0, 40, {30, 10}, {25}) << QList<double>{10, 25, 30};
    QTest::newRow("minor ticks never") << QwtScaleDiv(0, 40, {1, 2}, {}, {10}) << QList<double>{10};
    QTest::newRow("empty") << QwtScaleDiv() << QList<double>();
    QTest::newRow("inverted interval") << division(40, 0, {10, 20}) << QList<double>();
}

void TestScaleDraw::labelCandidates()
{
    QFETCH(QwtScaleDiv, div);
    QFETCH(QList<double>, expected);
    PriceBased2dPlotScaleDraw draw(QwtPlot::xBottom);
    QCOMPARE(draw.getTicks(div), expected);
}

void TestScaleDraw::integerDigits_data()
{
    QTest::addColumn<qlonglong>("a");
    QTest::addColumn<qlonglong>("b");
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("expected");
    QTest::newRow("two shared") << 1234LL << 1256LL << 4 << 2;
    QTest::newRow("none shared") << 1234LL << 2234LL << 4 << 0;
    QTest::newRow("one digit") << 5LL << 7LL << 1 << 0;
    QTest::newRow("identical") << 7LL << 7LL << 1 << 0;
    QTest::newRow("all but last") << 123451LL << 123459LL << 6 << 5;
    QTest::newRow("length 17") << 5LL << 7LL << 17 << -1;
    QTest::newRow("length 0") << 5LL << 7LL << 0 << -1;
    QTest::newRow("negative") << -20LL << -10LL << 2 << -1;
}

void TestScaleDraw::integerDigits()
{
    QFETCH(qlonglong, a);
    QFETCH(qlonglong, b);
    QFETCH(int, length);
    QFETCH(int, expected);
    PriceBased2dPlotScaleDraw draw(QwtPlot::xBottom);
    QCOMPARE(draw.findEqualDigitsInIntegerPart(a, b, length), expected);
}

void TestScaleDraw::fractionDigits_data()
{
    QTest::addColumn<double>("a");
    QTest::addColumn<double>("b");
    QTest::addColumn<int>("expected");
    QTest::newRow("two shared") << 1234.5671 << 1234.5689 << 2;
    QTest::newRow("first differs") << 0.1 << 0.2 << 0;
    QTest::newRow("equal") << 0.1 << 0.1 << -1;
    QTest::newRow("descending") << 2.5 << 1.5 << -1;
    QTest::newRow("same fraction capped") << 0.25 << 1.25 << 10;
    QTest::newRow("beyond 1e16") << 1.0 << 2e16 << -1;
    QTest::newRow("near-whole fraction is zero") << 3.9999999999 << 4.05 << 1;
}

void TestScaleDraw::fractionDigits()
{
    QFETCH(double, a);
    QFETCH(double, b);
    QFETCH(int, expected);
    PriceBased2dPlotScaleDraw draw(QwtPlot::xBottom);
    QCOMPARE(draw.findEqualDigitsInFractionPart(a, b), expected);
}

void TestScaleDraw::equalDigitsNum_data()
{
    QTest::addColumn<QList<double>>("labels");
    QTest::addColumn<int>("expected");
    QTest::newRow("shared fraction") << QList<double>{1234.5671, 1234.5689} << 6;
    QTest::newRow("shared integer") << QList<double>{1234, 1256} << 2;
    QTest::newRow("length change resets") << QList<double>{10.51, 10.52, 100.5} << 0;
    QTest::newRow("raised after reset") << QList<double>{9.5, 10.5, 10.6} << 2;
    QTest::newRow("single label") << QList<double>{5} << NoPairCount;
    QTest::newRow("negative pair gives nothing") << QList<double>{-20, -10} << NoPairCount;
    QTest::newRow("fuzzy duplicate") << QList<double>{10, 10 + 1e-13} << -1;
    QTest::newRow("beyond 1e16") << QList<double>{1e17, 2e17} << -1;
}

void TestScaleDraw::equalDigitsNum()
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

void TestScaleDraw::fractionLength()
{
    QScopedPointer<PriceBased2dPlotScaleDraw> draw(
        laidOutDraw(division(1234.5, 1234.6, {1234.5671, 1234.5689}), 400, false));
    QCOMPARE(draw->maxFractionLength(), 0); // not counted yet
    draw->updateLabels();
    QCOMPARE(draw->equalDigitsNum(), 6);
    QCOMPARE(draw->maxFractionLength(), 4);

    QScopedPointer<PriceBased2dPlotScaleDraw> integers(
        laidOutDraw(division(0, 40, {10, 20, 30}), 400, false));
    integers->updateLabels();
    QVERIFY(integers->equalDigitsNum() >= 0);
    QCOMPARE(integers->maxFractionLength(), 0);
}

void TestScaleDraw::labelsBeforeFirstPaintAndWithoutQuote()
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

void TestScaleDraw::singlePairWithQuoteDropsNeighbour()
{
    const QList<double> ticks = steps(0, 100, 10);
    QScopedPointer<PriceBased2dPlotScaleDraw> draw(laidOutDraw(division(0, 100, ticks), 1000, true));
    draw->setCurKotirValue(41);
    draw->setCurKotirEnabled(true);
    draw->updateLabels();

    // Only 40 and the quote collide: the quote wins, nothing else moves.
    QList<double> expected = ticks;
    expected.removeOne(40);
    QCOMPARE(draw->labels(), expected);
    QCOMPARE(draw->curKotirFlags(), 0x3u);
    QCOMPARE(draw->labelGap(), 8);

    // The same with the quote below its neighbour.
    draw->setCurKotirValue(49);
    draw->updateLabels();
    expected = ticks;
    expected.removeOne(50);
    QCOMPARE(draw->labels(), expected);

    const auto pair = std::make_pair(30.0, 41.0);
    QList<double> values{10, 30, 50};
    draw->setCurKotirEnabled(false);
    draw->updateCurKotirStatus();
    QVERIFY(!draw->removeOneTick(pair, values));
    QCOMPARE(values.size(), 3);
}

void TestScaleDraw::halvingKeepsOppositePhasesAroundQuote()
{
    // The same collision with the quote display off cannot be settled by one removal, so the
    // labels are halved: odd positions below the quote, even ones from it upwards.
    QScopedPointer<PriceBased2dPlotScaleDraw> draw(
        laidOutDraw(division(0, 100, steps(0, 100, 10)), 1000, true));
    draw->setCurKotirValue(41);
    draw->updateLabels();
    QCOMPARE(draw->labels(), (QList<double>{10, 30, 60, 80, 100}));
    QCOMPARE(draw->curKotirIndex(), 2);
    QVERIFY(draw->overlappedLabels(draw->labels()).isEmpty());
}

void TestScaleDraw::denseAxisIsThinnedWithoutOverlap()
{
    const QList<double> ticks = steps(0, 100, 1);
    QScopedPointer<PriceBased2dPlotScaleDraw> draw(laidOutDraw(division(0, 100, ticks), 400, true));
    draw->setCurKotirValue(50.5);
    draw->setCurKotirEnabled(true);
    draw->updateLabels();

    const QList<double> labels = draw->labels();
    QVERIFY(labels.size() > 2);
    QVERIFY(labels.size() < ticks.size() / 4);
    for (double value : labels)
        QVERIFY(ticks.contains(value));
    // Neither neighbour of the quote keeps its label; both sides keep some.
    QVERIFY(!labels.contains(50) && !labels.contains(51));
    QVERIFY(labels.first() < 50.5 && labels.last() > 50.5);
    QVERIFY(draw->overlappedLabels(labels).isEmpty());
    const int below =
        static_cast<int>(std::count_if(labels.begin(), labels.end(), [](double v) { return v < 50.5; }));
    QCOMPARE(draw->curKotirIndex(), below);
}

void TestScaleDraw::ticksShrinkedComparesTexts()
{
    PriceBased2dPlotScaleDraw left(QwtPlot::yLeft);
    left.setScaleDiv(division(0, 10, {2, 4}));
    left.setPrecision(0);
    QVERIFY(left.ticksShrinked(division(100, 101, {100.001, 100.002}))); // both read "100"
    QVERIFY(!left.ticksShrinked(division(100, 102, {100.2, 101.2})));
    QVERIFY(left.ticksShrinked(division(1, 2, {1.0, 1.0 + 1e-9})));
    QVERIFY(!left.ticksShrinked(division(1, 2, {1.5})));
    QVERIFY(!left.ticksShrinked(QwtScaleDiv())); // own division: "2" and "4"

    // Pairs with an empty text are skipped; with none compared the ticks count as distinct.
    left.setConversionEnabled(true);
    QVERIFY(!left.ticksShrinked(division(100, 101, {100.001, 100.002})));

    // The bottom axis judges by the labels it shows, not by the division offered.
    QScopedPointer<PriceBased2dPlotScaleDraw> bottom(laidOutDraw(division(0, 40, {10, 20, 30}), 400, false));
    bottom->setPrecision(0);
    bottom->updateLabels();
    QVERIFY(!bottom->ticksShrinked(division(100, 101, {100.001, 100.002})));
}

void TestScaleDraw::renderedPlotShowsRedQuoteWithoutOverlap()
{
    QString error;
    QVERIFY2(TestSupport::loadSampleData(&error), qPrintable(error));
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
        const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/axis-labels.png");
        QVERIFY(image.save(path));
        qInfo("axis labels rendered to %s", qPrintable(path));

        const QPoint offset = plot.axisWidget(QwtPlot::xBottom)->geometry().topLeft();
        const QFont font = plot.axisWidget(QwtPlot::xBottom)->font();
        QVERIFY(redPixels(image, draw->boundingLabelRect(font, quote).translated(offset)) > 5);

        QList<double> drawn;
        for (double value : draw->labels()) {
            if (draw->scaleDiv().contains(value))
                drawn << value;
        }
        QVERIFY(drawn.size() >= 3);
        drawn << quote;
        for (int i = 0; i < drawn.size(); ++i) {
            const QRect rect = draw->boundingLabelRect(font, drawn.at(i)).translated(offset);
            if (drawn.at(i) != quote)
                QCOMPARE(redPixels(image, rect), 0);
            for (int j = i + 1; j < drawn.size(); ++j) {
                const QRect other = draw->boundingLabelRect(font, drawn.at(j)).translated(offset);
                QVERIFY2(!rect.intersects(other),
                         qPrintable(QStringLiteral("%1 and %2 overlap").arg(drawn.at(i)).arg(drawn.at(j))));
            }
        }
    }
    TestSupport::clearData();
}

PLOT2D_TEST_MAIN(TestScaleDraw)

#include "tst_scaledraw.moc"
