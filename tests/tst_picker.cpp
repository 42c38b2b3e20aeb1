#include "testsupport.h"
#include "toolfixture.h"

#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotlegend.h>
#include <plot2d/pricebased2dplotpicker.h>

#include <qwt_scale_map.h>

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
        m_plot->resize(640, 480);
        m_picker = new PriceBased2dPlotPicker(m_plot->canvas());
        m_picker->setPriceStep();
        return true;
    }

    void setView(double xMin, double xMax, double yMin, double yMax)
    {
        m_plot->setAxisScale(QwtPlot::xBottom, xMin, xMax);
        m_plot->setAxisScale(QwtPlot::yLeft, yMin, yMax);
        m_plot->updateAxes();
    }

    PriceBased2dPlotCurve* addCurve(const QString& title, const QVector<QPointF>& samples)
    {
        auto* curve = new PriceBased2dPlotCurve(m_plot.get(), title);
        curve->setDataType(9);
        curve->setSamples(samples);
        curve->attach(m_plot.get());
        return curve;
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<TestPlot> m_plot;
    PriceBased2dPlotPicker* m_picker = nullptr;

private Q_SLOTS:
    void init()
    {
        m_dir.reset(new QTemporaryDir);
        QVERIFY(m_dir->isValid());
    }

    void cleanup()
    {
        m_plot.reset();
        TestSupport::clearData();
        m_dir.reset();
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

        // Without a usable step no point is ever picked.
        auto* curve = addCurve(QStringLiteral("Value"), {{1, 5}});
        setView(0, 10, 0, 10);
        const ClosestPointCalcParams params{0, 10, 0, 10, 1, 5};
        const bool usable = expected > 0.0;
        QCOMPARE(m_picker->getClosestPointParams(curve, params).index, usable ? 0 : -1);
        m_picker->setMousePrice(1.0);
        m_picker->setMouseValue(5.0);
        QCOMPARE(m_picker->getClosestCurveParams({curve}).curve, usable ? curve : nullptr);
    }

    void refreshTimer()
    {
        QVERIFY(setUpPlot("0.5"));
        const int ownMethods =
            m_picker->metaObject()->methodCount() - QwtPlotPicker::staticMetaObject.methodCount();
        QCOMPARE(ownMethods, 1);
        QCOMPARE(m_picker->metaObject()->method(QwtPlotPicker::staticMetaObject.methodCount()).name(),
                 QByteArray("setPriceStep"));

        QVERIFY(ToolFixture::addSecurities(*m_dir, ToolFixture::futureRow("0.25")));
        QCOMPARE(m_picker->priceStep(), 0.5);
        m_picker->initTimer();
        QCOMPARE(m_picker->priceStep(), 0.25);
        QPointer<QTimer> timer = m_picker->timer();
        QVERIFY(timer);
        QCOMPARE(timer->parent(), m_picker);
        QCOMPARE(timer->interval(), 1000);
        QVERIFY(timer->isActive());

        QVERIFY(ToolFixture::addSecurities(*m_dir, ToolFixture::futureRow("0.1")));
        QTRY_COMPARE_WITH_TIMEOUT(m_picker->priceStep(), 0.1, 3000);

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
        auto* curve = addCurve(QStringLiteral("Value"), {{-0.5, 5}, {0, 5}, {101.25, 5}, {101.5, 5}});
        setView(-1, 103, 0, 10);

        m_picker->setMousePrice(mousePrice);
        m_picker->setMouseValue(5.0);
        const ClosestPointInfo info = m_picker->getClosestCurveParams({curve});
        QCOMPARE(info.curve, curve);
        QCOMPARE(info.index, index);
        // Deliberately left unset.
        QCOMPARE(info.distance, -1.0);
    }

    void ties()
    {
        QVERIFY(setUpPlot("0.5"));
        auto* first = addCurve(QStringLiteral("First"), {{1, 5}, {3, 5}});
        auto* second = addCurve(QStringLiteral("Second"), {{1, 5}, {3, 5}});
        auto* hidden = addCurve(QStringLiteral("Hidden"), {{2, 5}});
        hidden->setVisible(false);
        setView(0, 10, 0, 10);
        m_picker->setMousePrice(2.0);
        m_picker->setMouseValue(5.0);

        ClosestPointInfo info = m_picker->getClosestCurveParams({nullptr, hidden, first, second});
        QCOMPARE(info.curve, first);
        QCOMPARE(info.index, 0);
        info = m_picker->getClosestCurveParams({second, first});
        QCOMPARE(info.curve, second);
        QCOMPARE(info.index, 0);
        QCOMPARE(m_picker->getClosestCurveParams({hidden}).curve, nullptr);
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
        QTest::newRow("flat x") << ClosestPointCalcParams{1, 1, 0, 10, 0, 0} << -1 << -1.0;
        QTest::newRow("inverted y") << ClosestPointCalcParams{0, 10, 10, 0, 0, 0} << -1 << -1.0;
    }

    void closestPoint()
    {
        QFETCH(ClosestPointCalcParams, params);
        QFETCH(int, index);
        QFETCH(double, distance);
        QVERIFY(setUpPlot("0.5"));
        auto* curve = addCurve(QStringLiteral("Value"), {{1, 5}, {2, 7}, {20, 5}});

        const ClosestPointInfo info = m_picker->getClosestPointParams(curve, params);
        QCOMPARE(info.index, index);
        QCOMPARE(info.distance, distance);
        QCOMPARE(info.curve, nullptr);
        QCOMPARE(m_picker->getClosestPointParams(nullptr, params).index, -1);
    }

    void usedCurves()
    {
        QVERIFY(setUpPlot("0.5"));
        auto* first = addCurve(QStringLiteral("First"), {{1, 5}, {3, 5}});
        auto* second = addCurve(QStringLiteral("Second"), {{1, 6}, {3, 6}});
        addCurve(QStringLiteral("Empty"), {});
        QVERIFY(m_picker->usedCurves().isEmpty());

        auto* legend = new PriceBased2dPlotLegend(m_plot.get());
        m_plot->insertLegend(legend);
        QCOMPARE(m_picker->usedCurves(), (QList<PriceBased2dPlotCurve*>{first, second}));
        legend->setCheckBoxChecked(QStringLiteral("First"), false);
        QCOMPARE(m_picker->usedCurves(), QList<PriceBased2dPlotCurve*>{second});
    }

    void transformedPoint()
    {
        QVERIFY(setUpPlot("0.5"));
        m_plot->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_plot.get()));
        setView(100, 200, -5, 5);
        const QwtScaleMap x = m_plot->canvasMap(QwtPlot::xBottom);
        const QwtScaleMap y = m_plot->canvasMap(QwtPlot::yLeft);
        const QPointF widgetPoint(x.transform(150), y.transform(2.5));

        const QPointF point = m_picker->transformedPoint(widgetPoint);
        QCOMPARE(point.x(), 150.0);
        QCOMPARE(point.y(), 2.5);
    }

    void renderedText()
    {
        QVERIFY(setUpPlot("0.5"));
        QFont plotFont(QStringLiteral("DejaVu Serif"));
        plotFont.setPointSize(20);
        m_plot->setFont(plotFont);

        const QwtText empty = m_picker->renderedText(QString());
        QVERIFY(empty.isEmpty());
        QVERIFY(!empty.testPaintAttribute(QwtText::PaintUsingTextFont));

        const QwtText text = m_picker->renderedText(QStringLiteral("101.5; 3.2"));
        QCOMPARE(text.text(), QStringLiteral("101.5; 3.2"));
        QVERIFY(text.testPaintAttribute(QwtText::PaintUsingTextFont));
        QCOMPARE(text.font().family(), m_plot->font().family());
        // 1.2 x the application's 9 pt, rounded.
        QCOMPARE(text.font().pointSize(), 11);
        QCOMPARE(text.renderFlags() & (Qt::AlignLeft | Qt::AlignHCenter), int(Qt::AlignLeft));
        QCOMPARE(text.renderFlags() & Qt::AlignVertical_Mask,
                 QwtText().renderFlags() & Qt::AlignVertical_Mask);

        m_picker->setTrackerText(text);
        QCOMPARE(m_picker->trackerText(QPoint(5, 5)).text(), text.text());
        QCOMPARE(m_picker->trackerText(QPoint(-100, 900)).text(), text.text());
    }
};

PLOT2D_TEST_MAIN(TestPicker)
#include "tst_picker.moc"
