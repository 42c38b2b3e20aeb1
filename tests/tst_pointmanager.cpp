#include "testsupport.h"
#include "toolfixture.h"

#include <plot2d/pricebased2dplotpicker.h>
#include <plot2d/pricebased2dplotpointmanager.h>
#include <plot2d/strikebybasecodemodel.h>
#include <plot2d/table.h>

#include <qwt_scale_div.h>

#include <QPointer>
#include <QSignalSpy>

#include <memory>

namespace {

PriceInterval makeInterval(double min, double max, double step)
{
    PriceInterval interval;
    interval.min = min;
    interval.max = max;
    interval.step = step;
    interval.valid = true;
    return interval;
}

bool closeTo(double a, double b)
{
    return qAbs(a - b) <= 1e-9 * qMax(1.0, qAbs(b));
}

} // namespace

class TestPointManager : public QObject
{
    Q_OBJECT

private:
    // A plot on the futures of the fixture, with the picker that gives it its price step.
    bool setUpPlot(const QByteArray& optionRows, bool byMaxSession = false)
    {
        if (!ToolFixture::load(*m_dir, ToolFixture::futureRow("0.01") + optionRows))
            return false;
        m_plot.reset(new TestPlot(true));
        m_plot->setIsinId(1001);
        m_plot->setBoardId(1);
        auto* picker = new PriceBased2dPlotPicker(m_plot->canvas());
        m_plot->setPicker(picker);
        picker->setPriceStep();
        m_manager = new PriceBased2dPlotPointManager(byMaxSession, m_plot.get());
        return m_manager->model() != nullptr;
    }

    bool setVisibleX(double lo, double hi)
    {
        m_plot->setAxisScale(QwtPlot::xBottom, lo, hi);
        m_plot->updateAxes();
        const QwtInterval visible = m_plot->axisScaleDiv(QwtPlot::xBottom).interval();
        return visible.minValue() == lo && visible.maxValue() == hi;
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<TestPlot> m_plot;
    PriceBased2dPlotPointManager* m_manager = nullptr;

private Q_SLOTS:
    void init() { m_dir.reset(new QTemporaryDir); }

    void cleanup()
    {
        m_plot.reset();
        TestSupport::clearData();
    }

    void minStepPoints_data()
    {
        QTest::addColumn<double>("from");
        QTest::addColumn<double>("to");
        QTest::addColumn<double>("step");
        QTest::addColumn<int>("count");
        QTest::addColumn<QList<double>>("expected");

        QTest::newRow("exact end") << 1.0 << 2.0 << 0.25 << 5 << QList<double>{1, 1.25, 1.5, 1.75, 2};
        QTest::newRow("end not reached") << 1.0 << 2.0 << 0.3 << 4 << QList<double>{1, 1.3, 1.6, 1.9};
        QTest::newRow("fuzzy end included") << 0.1 << 0.3 << 0.1 << 3 << QList<double>{0.1, 0.2, 0.3};
        QTest::newRow("step wider than width") << 1.0 << 1.5 << 2.0 << 0 << QList<double>{};
        QTest::newRow("negative from") << -1.0 << 2.0 << 1.0 << 0 << QList<double>{};
        QTest::newRow("from zero") << 0.0 << 2.0 << 1.0 << 0 << QList<double>{};
        QTest::newRow("negative step") << 1.0 << 2.0 << -0.5 << 0 << QList<double>{};
        QTest::newRow("at the cap") << 1.0 << 100001.0 << 1.0 << 100001 << QList<double>{};
        QTest::newRow("beyond the cap") << 1.0 << 200001.0 << 1.0 << 0 << QList<double>{};
    }

    void minStepPoints()
    {
        QFETCH(double, from);
        QFETCH(double, to);
        QFETCH(double, step);
        QFETCH(int, count);
        QFETCH(QList<double>, expected);

        const QList<double> points = PriceBased2dPlotPointManager::minStepPoints(from, to, step);
        QCOMPARE(points.size(), count);
        for (int i = 0; i < expected.size(); ++i)
            QVERIFY2(closeTo(points.at(i), expected.at(i)), qPrintable(QString::number(i)));
    }

    void updatePriceInterval_data()
    {
        QTest::addColumn<QStringList>("strikes");
        QTest::addColumn<QByteArray>("optionPriceStep");
        QTest::addColumn<PriceInterval>("expected");

        QTest::newRow("one strike") << QStringList{"100"} << QByteArray("0.01") << PriceInterval::empty();
        QTest::newRow("two strikes") << QStringList{"100", "110"} << QByteArray("0.01")
                                     << makeInterval(100, 110, 10);
        QTest::newRow("three strikes")
            << QStringList{"100", "105", "110"} << QByteArray("0.01") << makeInterval(100, 110, 5);
        QTest::newRow("uneven strikes")
            << QStringList{"100", "105", "120"} << QByteArray("0.01") << makeInterval(100, 120, 5);
        QTest::newRow("first strike zero")
            << QStringList{"0", "10", "20"} << QByteArray("0.01") << PriceInterval::empty();
        // The option's price step 0.01 gives two decimals: 0.125 rounds to 0.13.
        QTest::newRow("step rounded") << QStringList{"100", "100.125", "100.25"} << QByteArray("0.01")
                                      << makeInterval(100, 100.25, 0.13);
        QTest::newRow("step rounds to zero")
            << QStringList{"100", "100.001", "100.002"} << QByteArray("0.01") << PriceInterval::empty();
        // Without a price step the options' decimals are unknown.
        QTest::newRow("unknown decimals")
            << QStringList{"100", "110"} << QByteArray() << PriceInterval::empty();
    }

    void updatePriceInterval()
    {
        QFETCH(QStringList, strikes);
        QFETCH(QByteArray, optionPriceStep);
        QFETCH(PriceInterval, expected);
        QVERIFY(setUpPlot(ToolFixture::optionRows(100, strikes, optionPriceStep)));

        m_manager->updatePriceInterval();
        const PriceInterval interval = m_manager->interval();
        QCOMPARE(interval.min, expected.min);
        QCOMPARE(interval.max, expected.max);
        QCOMPARE(interval.step, expected.step);
        QCOMPARE(interval.valid, expected.valid);
    }

    // The empty interval is written and announced only when the plot held another one.
    void emptyIntervalAnnouncedOnlyOnChange()
    {
        QVERIFY(setUpPlot(ToolFixture::optionRows(100, {"100"})));
        QSignalSpy spy(m_manager, &PriceBased2dPlotPointManager::priceIntervalChanged);

        m_manager->updatePriceInterval();
        QCOMPARE(spy.count(), 0);
        QVERIFY(m_plot->priceInterval() == PriceInterval::empty());

        QVERIFY(ToolFixture::addSecurities(*m_dir, ToolFixture::optionRows(200, {"110"})));
        QCOMPARE(spy.count(), 1);
        QVERIFY(qvariant_cast<PriceInterval>(spy.at(0).at(0)) == makeInterval(100, 110, 10));

        QVERIFY(m_plot->securitiesTable()->removeByKey(qint64(200)));
        QCOMPARE(spy.count(), 2);
        QVERIFY(qvariant_cast<PriceInterval>(spy.at(1).at(0)) == PriceInterval::empty());
        QVERIFY(m_plot->priceInterval() == PriceInterval::empty());

        m_manager->updatePriceInterval();
        QCOMPARE(spy.count(), 2);
    }

    // A strike added to the table moves the interval once; a queued listener gets it too.
    void liveStrikeInsertion()
    {
        QVERIFY(setUpPlot(ToolFixture::optionRows(100, ToolFixture::strikeRange(100, 200, 10))));
        m_manager->updatePriceInterval();
        QVERIFY(m_manager->interval() == makeInterval(100, 200, 10));
        QSignalSpy spy(m_manager, &PriceBased2dPlotPointManager::priceIntervalChanged);
        QObject receiver;
        QList<PriceInterval> queued;
        connect(
            m_manager, &PriceBased2dPlotPointManager::priceIntervalChanged, &receiver,
            [&queued](const PriceInterval& interval) { queued << interval; }, Qt::QueuedConnection);

        QVERIFY(ToolFixture::addSecurities(*m_dir, ToolFixture::optionRows(300, {"210"})));
        QCOMPARE(spy.count(), 1);
        QVERIFY(qvariant_cast<PriceInterval>(spy.at(0).at(0)) == makeInterval(100, 210, 10));
        QVERIFY(m_plot->priceInterval() == makeInterval(100, 210, 10));
        QVERIFY(queued.isEmpty());
        QTRY_COMPARE(queued.size(), 1);
        QVERIFY(queued.first() == makeInterval(100, 210, 10));

        // Another base code's row changes nothing.
        QVERIFY(
            ToolFixture::addSecurities(*m_dir, "400,5000,1,1,SI-1.27,F,SI,2027-01-29,1,,,7001,,,,,,,,,,\n"));
        QCOMPARE(spy.count(), 1);
    }

    void calcPlotPointsModes_data()
    {
        QTest::addColumn<double>("lo");
        QTest::addColumn<double>("hi");
        QTest::addColumn<int>("count");

        // 11 strikes plus m inner points in each strike interval between the framing strikes.
        QTest::newRow("all strikes visible") << 0.0 << 1000.0 << 11 + 10 * 10;
        QTest::newRow("framed by 130 and 190") << 140.0 << 180.0 << 11 + 6 * 17;
        QTest::newRow("framed by 130 and 150") << 140.0 << 141.5 << 11 + 2 * 50;
        // Fine mode: every price step of the strike range.
        QTest::newRow("a hundred price steps") << 140.0 << 141.0 << 10001;
        QTest::newRow("fewer price steps") << 140.0 << 140.5 << 10001;
    }

    void calcPlotPointsModes()
    {
        QFETCH(double, lo);
        QFETCH(double, hi);
        QFETCH(int, count);
        QVERIFY(setUpPlot(ToolFixture::optionRows(100, ToolFixture::strikeRange(100, 200, 10))));
        m_manager->updatePriceInterval();
        QVERIFY(m_manager->interval() == makeInterval(100, 200, 10));
        QCOMPARE(m_plot->priceStep(), 0.01);
        QVERIFY(setVisibleX(lo, hi));

        const QList<double> points = m_manager->calcPlotPoints(false);
        QCOMPARE(points.size(), count);
        QCOMPARE(points.first(), 100.0);
        QVERIFY(closeTo(points.last(), 200.0));
        for (int i = 1; i < points.size(); ++i)
            QVERIFY(points.at(i - 1) < points.at(i));
    }

    void refinedPointsAndRefusals()
    {
        QVERIFY(setUpPlot(ToolFixture::optionRows(100, ToolFixture::strikeRange(100, 200, 10))));
        m_manager->updatePriceInterval();
        QVERIFY(setVisibleX(0, 1000));
        const QList<double> points = m_manager->calcPlotPoints(false);
        QCOMPARE(points.size(), 111);
        for (int i = 0; i < 110; ++i) // ten inner points cut each strike interval into eleven parts
            QVERIFY(closeTo(points.at(i), 100.0 + (i / 11) * 10.0 + (i % 11) * 10.0 / 11.0));

        // Beside the strikes the points come only on request.
        QVERIFY(setVisibleX(300, 400));
        QVERIFY(m_manager->calcPlotPoints(false).isEmpty());
        QCOMPARE(m_manager->calcPlotPoints(true), points);

        m_manager->model()->sort(0, Qt::DescendingOrder);
        m_plot->setPriceInterval(makeInterval(100, 200, 10));
        QVERIFY(m_manager->calcPlotPoints(true).isEmpty());
        m_manager->model()->sort(0, Qt::AscendingOrder);
        m_plot->setPriceInterval(PriceInterval::empty());
        QVERIFY(m_manager->calcPlotPoints(true).isEmpty());
    }

    void maxSessionModel()
    {
        QVERIFY(setUpPlot(ToolFixture::optionRows(100, {"100", "110"}), true));
        QPointer<StrikeByBaseCodeModel> model = m_manager->model();
        FilterParams filter;
        filter.futIsinId = 1001;
        m_manager->initCore(filter);
        QVERIFY(m_manager->filterParams() == filter);
        delete m_manager;
        QVERIFY(model.isNull());
    }
};

PLOT2D_TEST_MAIN(TestPointManager)
#include "tst_pointmanager.moc"
