#include "testsupport.h"
#include "toolfixture.h"

#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotlegend.h>
#include <plot2d/pricebased2dplotpicker.h>

#include <QPointer>
#include <QTimer>

#include <memory>

using ClosestPointCalcParams = PriceBased2dPlotPicker::ClosestPointCalcParams;
using ClosestPointInfo = PriceBased2dPlotPicker::ClosestPointInfo;
Q_DECLARE_METATYPE(ClosestPointCalcParams)

class TestPicker : public QObject
{
    Q_OBJECT

private:
    // A plot on the fixture's futures with the given price_step (empty for a null field).
    bool setUpPlot(const QByteArray& priceStep, bool selectFuture = true)
    {
        if (!ToolFixture::load(*m_dir, ToolFixture::futureRow(priceStep)))
            return false;
        m_plot.reset(new TestPlot(true));
        if (selectFuture) {
            m_plot->setIsinId(1001);
            m_plot->setBoardId(1);
        }
        m_picker = new PriceBased2dPlotPicker(m_plot->canvas());
        m_picker->initTimer();
        m_plot->setAxisScale(QwtPlot::xBottom, -1, 103);
        m_plot->setAxisScale(QwtPlot::yLeft, 0, 10);
        m_plot->updateAxes();
        return true;
    }

    PriceBased2dPlotCurve* addCurve(const QVector<QPointF>& samples)
    {
        auto* curve = new PriceBased2dPlotCurve(m_plot.get(), QStringLiteral("Curve %1").arg(++m_curveCount));
        curve->setDataType(9);
        curve->setLegendAttribute(QwtPlotCurve::LegendShowLine);
        curve->setSamples(samples);
        curve->attach(m_plot.get());
        return curve;
    }

    ClosestPointInfo closestAt(double price, double value, const QList<PriceBased2dPlotCurve*>& curves)
    {
        m_picker->setMousePrice(price);
        m_picker->setMouseValue(value);
        return m_picker->getClosestCurveParams(curves);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<TestPlot> m_plot;
    PriceBased2dPlotPicker* m_picker = nullptr;
    int m_curveCount = 0;

private Q_SLOTS:
    void init() { m_dir.reset(new QTemporaryDir); }

    void cleanup()
    {
        m_plot.reset();
        TestSupport::clearData();
    }

    void priceStep_data()
    {
        QTest::addColumn<QByteArray>("priceStepField");
        QTest::addColumn<bool>("selectFuture");
        QTest::addColumn<double>("expected");

        QTest::newRow("futures price step") << QByteArray("0.5") << true << 0.5;
        QTest::newRow("null price step") << QByteArray() << true << 0.0;
        QTest::newRow("no futures") << QByteArray("0.5") << false << -1.0;
    }

    void priceStep()
    {
        QFETCH(QByteArray, priceStepField);
        QFETCH(bool, selectFuture);
        QFETCH(double, expected);
        QVERIFY(setUpPlot(priceStepField, selectFuture));
        QCOMPARE(m_picker->priceStep(), expected);
        QPointer<QTimer> timer = m_picker->timer();
        QVERIFY(timer && timer->isActive());

        // Without a usable step no point is ever picked.
        auto* curve = addCurve({{1, 5}});
        const bool usable = expected > 0.0;
        QCOMPARE(m_picker->getClosestPointParams(curve, {0, 10, 0, 10, 1, 5}).index, usable ? 0 : -1);
        QCOMPARE(closestAt(1.0, 5.0, {curve}).curve, usable ? curve : nullptr);

        delete m_picker;
        QVERIFY(timer.isNull());
    }

    // The mouse price snaps to the price step of 0.5 with qRound's rule before the search.
    void snapping_data()
    {
        QTest::addColumn<double>("mousePrice");
        QTest::addColumn<int>("index");

        QTest::newRow("101.26 to 101.5") << 101.26 << 3;
        QTest::newRow("101.24 to 101") << 101.24 << 2;
        QTest::newRow("-0.25 to 0") << -0.25 << 1;
        QTest::newRow("-0.26 to -0.5") << -0.26 << 0;
    }

    void snapping()
    {
        QFETCH(double, mousePrice);
        QFETCH(int, index);
        QVERIFY(setUpPlot("0.5"));
        auto* curve = addCurve({{-0.5, 5}, {0, 5}, {101.25, 5}, {101.5, 5}});

        const ClosestPointInfo info = closestAt(mousePrice, 5.0, {curve});
        QCOMPARE(info.curve, curve);
        QCOMPARE(info.index, index);
        QCOMPARE(info.distance, -1.0);
    }

    void ties()
    {
        QVERIFY(setUpPlot("0.5"));
        auto* first = addCurve({{1, 5}, {3, 5}});
        auto* second = addCurve({{1, 5}, {3, 5}});
        auto* hidden = addCurve({{2, 5}});
        hidden->setVisible(false);

        ClosestPointInfo info = closestAt(2.0, 5.0, {nullptr, hidden, first, second});
        QCOMPARE(info.curve, first);
        QCOMPARE(info.index, 0);
        QCOMPARE(closestAt(2.0, 5.0, {second, first}).curve, second);
    }

    void closestPoint_data()
    {
        QTest::addColumn<ClosestPointCalcParams>("params");
        QTest::addColumn<int>("index");
        QTest::addColumn<double>("distance");

        // Samples (1, 5), (2, 7), (20, 5); distances are sums of absolute percentages of the spans.
        QTest::newRow("percent sum") << ClosestPointCalcParams{0, 10, 0, 10, 2, 6} << 1 << 10.0;
        QTest::newRow("nearest sample outside") << ClosestPointCalcParams{0, 10, 0, 10, 20, 5} << 0 << 190.0;
        QTest::newRow("zero y span unscaled") << ClosestPointCalcParams{0, 10, 5, 5, 1, 0.3} << 0 << 0.3;
        QTest::newRow("all outside") << ClosestPointCalcParams{30, 40, 0, 10, 0, 0} << -1 << -1.0;
    }

    void closestPoint()
    {
        QFETCH(ClosestPointCalcParams, params);
        QFETCH(int, index);
        QFETCH(double, distance);
        QVERIFY(setUpPlot("0.5"));
        const ClosestPointInfo info =
            m_picker->getClosestPointParams(addCurve({{1, 5}, {2, 7}, {20, 5}}), params);
        QCOMPARE(info.index, index);
        QCOMPARE(info.distance, distance);
    }

    void usedCurvesAndText()
    {
        QVERIFY(setUpPlot("0.5"));
        auto* curve = addCurve({{1, 5}, {3, 5}});
        addCurve({}); // never valid
        QVERIFY(m_picker->usedCurves().isEmpty());
        auto* legend = new PriceBased2dPlotLegend(m_plot.get());
        m_plot->insertLegend(legend);
        QCOMPARE(m_picker->usedCurves(), QList<PriceBased2dPlotCurve*>{curve});
        legend->setCheckBoxChecked(curve->title().text(), false);
        QVERIFY(m_picker->usedCurves().isEmpty());

        const QwtText empty = m_picker->renderedText(QString());
        QVERIFY(!empty.testPaintAttribute(QwtText::PaintUsingTextFont));
        const QwtText text = m_picker->renderedText(QStringLiteral("101.5"));
        QVERIFY(text.testPaintAttribute(QwtText::PaintUsingTextFont));
        QCOMPARE(text.font().pointSize(), 11); // 1.2 x 9 pt
        QCOMPARE(text.renderFlags(), int(Qt::AlignLeft | Qt::AlignVCenter));

        m_picker->setTrackerText(text);
        QCOMPARE(m_picker->trackerText(QPoint(-100, 900)).text(), QStringLiteral("101.5"));
    }
};

PLOT2D_TEST_MAIN(TestPicker)
#include "tst_picker.moc"
