#include "testsupport.h"

#include <plot2d/plot2dcommon.h>
#include <plot2d/pricebased2dplotpointmanager.h>
#include <plot2d/strikebybasecodemodel.h>

#include <algorithm>
#include <functional>
#include <memory>

using ClosestPointCalcParams = PriceBased2dPlotPicker::ClosestPointCalcParams;
using ClosestPointInfo = PriceBased2dPlotPicker::ClosestPointInfo;
Q_DECLARE_METATYPE(ClosestPointCalcParams)

class TestTools : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<TestPlot> m_plot;
    PriceBased2dPlotPicker* m_picker = nullptr;
    PriceBased2dPlotPointManager* m_manager = nullptr;

    // A plot over the fixture's futures and `rows`, with the futures selected if `selectFuture`.
    bool loadPlot(const QByteArray& rows, bool selectFuture = true)
    {
        if (!TestSupport::load(m_dir, rows))
            return false;
        m_plot.reset(new TestPlot(true));
        if (selectFuture) {
            m_plot->setIsinId(1001);
            m_plot->setBoardId(1);
        }
        return true;
    }

    // A picker over the futures with the given price_step (empty for a null field), X -1..103.
    bool setUpPicker(const QByteArray& priceStep, bool selectFuture = true)
    {
        if (!loadPlot(TestSupport::futureRow(priceStep), selectFuture))
            return false;
        m_picker = new PriceBased2dPlotPicker(m_plot->canvas());
        m_picker->initTimer();
        m_plot->setAxisScale(QwtPlot::xBottom, -1, 103);
        m_plot->setAxisScale(QwtPlot::yLeft, 0, 10);
        m_plot->updateAxes();
        return true;
    }

    bool setUpManager(const QByteArray& optionRows, bool byMaxSession = false)
    {
        if (!loadPlot(TestSupport::futureRow("0.01") + optionRows))
            return false;
        TestSupport::attachPicker(m_plot.get());
        m_manager = new PriceBased2dPlotPointManager(byMaxSession, m_plot.get());
        return m_manager->model() != nullptr;
    }

    PriceBased2dPlotCurve* addCurve(const QVector<QPointF>& samples)
    {
        return TestSupport::validCurve(m_plot.get(), QString::number(m_plot->itemList().size()), 9, samples);
    }

    ClosestPointInfo closestAt(double price, const QList<PriceBased2dPlotCurve*>& curves)
    {
        m_picker->setMousePrice(price);
        m_picker->setMouseValue(5.0);
        return m_picker->getClosestCurveParams(curves);
    }

private Q_SLOTS:
    void cleanup()
    {
        m_plot.reset();
        TestSupport::clearData();
    }

    void pickerPicksOnlyWithAPriceStep_data()
    {
        TestSupport::columns<QByteArray, bool, double>({"priceStepField", "selectFuture", "expected"});
        QTest::newRow("futures price step") << QByteArray("0.5") << true << 0.5;
        QTest::newRow("null price step") << QByteArray() << true << 0.0;
        QTest::newRow("no futures") << QByteArray("0.5") << false << -1.0;
    }
    void pickerPicksOnlyWithAPriceStep()
    {
        const auto [priceStepField, selectFuture, expected] =
            TestSupport::fetch<QByteArray, bool, double>({"priceStepField", "selectFuture", "expected"});
        QVERIFY(setUpPicker(priceStepField, selectFuture));
        QCOMPARE(m_picker->priceStep(), expected);
        QPointer<QTimer> timer = m_picker->timer();
        QVERIFY(timer && timer->isActive());

        auto* curve = addCurve({{1, 5}});
        const bool usable = expected > 0.0;
        QCOMPARE(m_picker->getClosestPointParams(curve, {0, 10, 0, 10, 1, 5}).index, usable ? 0 : -1);
        QCOMPARE(closestAt(1.0, {curve}).curve, usable ? curve : nullptr);
        delete m_picker;
        QVERIFY(timer.isNull());
    }

    // The mouse price snaps to the price step of 0.5 with qRound's rule before the search.
    void mousePriceSnapsToThePriceStep_data()
    {
        TestSupport::columns<double, int>({"mousePrice", "index"});
        QTest::newRow("101.26 to 101.5") << 101.26 << 5;
        QTest::newRow("101.24 to 101") << 101.24 << 4;
        QTest::newRow("-0.25 to 0") << -0.25 << 1;
        QTest::newRow("-0.26 to -0.5") << -0.26 << 0;
    }
    void mousePriceSnapsToThePriceStep()
    {
        const auto [mousePrice, index] = TestSupport::fetch<double, int>({"mousePrice", "index"});
        QVERIFY(setUpPicker("0.5"));
        auto* curve = addCurve({{-0.5, 5}, {0, 5}, {1, 5}, {3, 5}, {101.25, 5}, {101.5, 5}});
        const ClosestPointInfo info = closestAt(mousePrice, {curve});
        QCOMPARE(info.curve, curve);
        QCOMPARE(info.index, index);
        QCOMPARE(info.distance, -1.0);

        // Ties go to the first listed curve and its first point; hidden and null curves are skipped.
        auto* first = addCurve({{1, 5}, {3, 5}});
        auto* hidden = addCurve({{2, 5}});
        hidden->setVisible(false);
        const ClosestPointInfo tie = closestAt(2.0, {nullptr, hidden, first, curve});
        QCOMPARE(tie.curve, first);
        QCOMPARE(tie.index, 0);
        QCOMPARE(closestAt(2.0, {curve, first}).curve, curve);
    }

    // Samples (1, 5), (2, 7), (20, 5); distances are sums of absolute percentages of the spans.
    void closestPointBySpanPercentages_data()
    {
        TestSupport::columns<ClosestPointCalcParams, int, double>({"params", "index", "distance"});
        QTest::newRow("percent sum") << ClosestPointCalcParams{0, 10, 0, 10, 2, 6} << 1 << 10.0;
        QTest::newRow("nearest sample outside") << ClosestPointCalcParams{0, 10, 0, 10, 20, 5} << 0 << 190.0;
        QTest::newRow("zero y span unscaled") << ClosestPointCalcParams{0, 10, 5, 5, 1, 0.3} << 0 << 0.3;
        QTest::newRow("all outside") << ClosestPointCalcParams{30, 40, 0, 10, 0, 0} << -1 << -1.0;
    }
    void closestPointBySpanPercentages()
    {
        const auto [params, index, distance] =
            TestSupport::fetch<ClosestPointCalcParams, int, double>({"params", "index", "distance"});
        QVERIFY(setUpPicker("0.5"));
        const ClosestPointInfo info =
            m_picker->getClosestPointParams(addCurve({{1, 5}, {2, 7}, {20, 5}}), params);
        QCOMPARE(info.index, index);
        QCOMPARE(info.distance, distance);
    }

    void trackerTextIsLargerAndLeftAligned()
    {
        QVERIFY(setUpPicker("0.5"));
        addCurve({{1, 5}, {3, 5}});
        QVERIFY(m_picker->usedCurves().isEmpty()); // no legend yet
        const QwtText text = m_picker->renderedText(QStringLiteral("101.5"));
        QVERIFY(text.testPaintAttribute(QwtText::PaintUsingTextFont));
        QCOMPARE(text.font().pointSize(), 11); // 1.2 x 9 pt
        QCOMPARE(text.renderFlags(), int(Qt::AlignLeft | Qt::AlignVCenter));
        m_picker->setTrackerText(text);
        QCOMPARE(m_picker->trackerText(QPoint(-100, 900)).text(), QStringLiteral("101.5"));
    }

    void minStepPointsUpToTheCap_data()
    {
        TestSupport::columns<double, double, double, int, QList<double>>(
            {"from", "to", "step", "count", "expected"});
        QTest::newRow("exact end") << 1.0 << 2.0 << 0.25 << 5 << QList<double>{1, 1.25, 1.5, 1.75, 2};
        QTest::newRow("fuzzy end included") << 0.1 << 0.3 << 0.1 << 3 << QList<double>{0.1, 0.2, 0.3};
        QTest::newRow("step wider than width") << 1.0 << 1.5 << 2.0 << 0 << QList<double>{};
        QTest::newRow("negative from") << -1.0 << 2.0 << 1.0 << 0 << QList<double>{};
        QTest::newRow("at the cap") << 1.0 << 100001.0 << 1.0 << 100001 << QList<double>{};
        QTest::newRow("beyond the cap") << 1.0 << 200001.0 << 1.0 << 0 << QList<double>{};
    }
    void minStepPointsUpToTheCap()
    {
        const auto [from, to, step, count, expected] =
            TestSupport::fetch<double, double, double, int, QList<double>>(
                {"from", "to", "step", "count", "expected"});
        const QList<double> points = PriceBased2dPlotPointManager::minStepPoints(from, to, step);
        QCOMPARE(points.size(), count);
        for (int i = 0; i < expected.size(); ++i)
            QVERIFY2(Plot2dCommon::fuzzyEqual(points.at(i), expected.at(i)), qPrintable(QString::number(i)));
    }

    void priceIntervalFromStrikes_data()
    {
        TestSupport::columns<QStringList, QByteArray, PriceInterval>(
            {"strikes", "optionPriceStep", "expected"});
        const auto add = [](const char* tag, const QStringList& strikes, const PriceInterval& expected,
                            const QByteArray& optionPriceStep = "0.01") {
            QTest::newRow(tag) << strikes << optionPriceStep << expected;
        };
        add("one strike", {"100"}, PriceInterval::empty());
        add("uneven strikes", {"100", "105", "120"}, {100, 120, 5, true});
        add("first strike zero", {"0", "10", "20"}, PriceInterval::empty());
        // The option's price step 0.01 gives two decimals: 0.125 rounds to 0.13.
        add("step rounded", {"100", "100.125", "100.25"}, {100, 100.25, 0.13, true});
        add("step rounds to zero", {"100", "100.001", "100.002"}, PriceInterval::empty());
        // Without a price step the options' decimals are unknown.
        add("unknown decimals", {"100", "110"}, PriceInterval::empty(), QByteArray());
    }
    void priceIntervalFromStrikes()
    {
        const auto [strikes, optionPriceStep, expected] =
            TestSupport::fetch<QStringList, QByteArray, PriceInterval>(
                {"strikes", "optionPriceStep", "expected"});
        QVERIFY(setUpManager(TestSupport::optionRows(100, strikes, optionPriceStep)));
        m_manager->updatePriceInterval();
        QVERIFY(m_manager->interval() == expected);
    }

    // Table changes move the interval and announce it once, also to a queued listener; the empty
    // interval is announced only when the plot held another one.
    void tableChangesAnnounceTheIntervalOnce()
    {
        QVERIFY(setUpManager(TestSupport::optionRows(100, {"100"})));
        QSignalSpy spy(m_manager, &PriceBased2dPlotPointManager::priceIntervalChanged);
        QList<PriceInterval> queued;
        QObject receiver;
        connect(
            m_manager, &PriceBased2dPlotPointManager::priceIntervalChanged, &receiver,
            [&queued](const PriceInterval& changed) { queued << changed; }, Qt::QueuedConnection);
        m_manager->updatePriceInterval();
        QCOMPARE(spy.count(), 0);

        QVERIFY(TestSupport::addSecurities(m_dir, TestSupport::optionRows(200, {"110"})));
        QCOMPARE(spy.count(), 1);
        const PriceInterval moved{100, 110, 10, true};
        QVERIFY(m_plot->priceInterval() == moved);
        QTRY_COMPARE(queued.size(), 1);
        QVERIFY(queued.first() == moved);
        QVERIFY(TestSupport::addSecurities(m_dir, TestSupport::row("sec_id=400 isin_id=5000 base_code=SI")));
        QCOMPARE(spy.count(), 1); // another base code

        QVERIFY(m_plot->securitiesTable()->removeByKey(qint64(200)));
        QCOMPARE(spy.count(), 2);
        QVERIFY(qvariant_cast<PriceInterval>(spy.at(1).at(0)) == PriceInterval::empty());
        m_manager->updatePriceInterval();
        QCOMPARE(spy.count(), 2);
    }

    // Strikes 100..200 by 10: m inner points in each strike interval between the strikes framing the
    // view, every price step when few strikes are visible, ten beyond the strikes.
    void plotPointsRefineWithTheView_data()
    {
        TestSupport::columns<double, double, bool, int>({"lo", "hi", "refine", "count"});
        QTest::newRow("framed by 130 and 190") << 140.0 << 180.0 << false << 11 + 6 * 17;
        QTest::newRow("framed by 130 and 150") << 140.0 << 141.5 << false << 11 + 2 * 50;
        QTest::newRow("a hundred price steps") << 140.0 << 141.0 << false << 10001;
        QTest::newRow("whole range") << 0.0 << 1000.0 << false << 111;
        QTest::newRow("beside, not asked") << 300.0 << 400.0 << false << 0;
        QTest::newRow("beside, asked") << 300.0 << 400.0 << true << 111;
    }
    void plotPointsRefineWithTheView()
    {
        const auto [lo, hi, refine, count] =
            TestSupport::fetch<double, double, bool, int>({"lo", "hi", "refine", "count"});
        QVERIFY(setUpManager(TestSupport::optionRows(
            100, {"100", "110", "120", "130", "140", "150", "160", "170", "180", "190", "200"})));
        m_manager->updatePriceInterval();
        m_plot->setAxisScale(QwtPlot::xBottom, lo, hi);
        m_plot->updateAxes();

        const QList<double> points = m_manager->calcPlotPoints(refine);
        QCOMPARE(points.size(), count);
        const bool beyondStrikes = lo < 100.0 || lo > 200.0;
        for (int i = 0; beyondStrikes && i < count; ++i)
            QVERIFY(Plot2dCommon::fuzzyEqual(points.at(i), 100.0 + (i / 11) * 10.0 + (i % 11) * 10.0 / 11.0));
        if (count > 0) {
            QCOMPARE(points.first(), 100.0);
            QVERIFY(Plot2dCommon::fuzzyEqual(points.last(), 200.0));
        }
        QVERIFY(std::adjacent_find(points.cbegin(), points.cend(), std::greater_equal<double>()) ==
                points.cend());

        // Descending strikes or an empty interval give no points.
        m_manager->model()->sort(0, Qt::DescendingOrder);
        m_plot->setPriceInterval(PriceInterval{100, 200, 10, true});
        QVERIFY(m_manager->calcPlotPoints(true).isEmpty());
        m_manager->model()->sort(0, Qt::AscendingOrder);
        m_plot->setPriceInterval(PriceInterval::empty());
        QVERIFY(m_manager->calcPlotPoints(true).isEmpty());
    }

    void maxSessionManagerOwnsItsModel()
    {
        QVERIFY(setUpManager(TestSupport::optionRows(100, {"100", "110"}), true));
        QPointer<StrikeByBaseCodeModel> model = m_manager->model();
        QVERIFY(qobject_cast<StrikeByMaxSessionModel*>(model.data()));
        FilterParams filter;
        filter.futIsinId = 1001;
        m_manager->initCore(filter);
        QVERIFY(m_manager->filterParams() == filter);
        delete m_manager;
        QVERIFY(model.isNull());
    }
};

PLOT2D_TEST_MAIN(TestTools)
#include "tst_tools.moc"
