#include "testsupport.h"
#include "toolfixture.h"

#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotpanner.h>

#include <qwt_scale_div.h>
#include <qwt_scale_map.h>

#include <QSignalSpy>

#include <limits>
#include <memory>

namespace {

struct View
{
    double xMin, xMax, yMin, yMax;
};

} // namespace

class TestPanner : public QObject
{
    Q_OBJECT

private:
    View view() const
    {
        const QwtInterval x = m_plot->axisScaleDiv(QwtPlot::xBottom).interval();
        const QwtInterval y = m_plot->axisScaleDiv(QwtPlot::yLeft).interval();
        return {x.minValue(), x.maxValue(), y.minValue(), y.maxValue()};
    }

    void setView(const View& v)
    {
        m_plot->setAxisScale(QwtPlot::xBottom, v.xMin, v.xMax);
        m_plot->setAxisScale(QwtPlot::yLeft, v.yMin, v.yMax);
        m_plot->replot();
    }

    // What the stock panner makes of a move of (dx, dy) pixels.
    View shifted(const View& v, double dx, double dy) const
    {
        const QwtScaleMap x = m_plot->canvasMap(QwtPlot::xBottom);
        const QwtScaleMap y = m_plot->canvasMap(QwtPlot::yLeft);
        return {x.invTransform(x.transform(v.xMin) - dx), x.invTransform(x.transform(v.xMax) - dx),
                y.invTransform(y.transform(v.yMin) - dy), y.invTransform(y.transform(v.yMax) - dy)};
    }

    double xPixelsPerUnit() const
    {
        const QwtScaleMap x = m_plot->canvasMap(QwtPlot::xBottom);
        return (x.p2() - x.p1()) / (x.s2() - x.s1());
    }

    double yPixelsPerUnit() const
    {
        const QwtScaleMap y = m_plot->canvasMap(QwtPlot::yLeft);
        return qAbs((y.p2() - y.p1()) / (y.s2() - y.s1()));
    }

    void addCurve(const QVector<QPointF>& samples)
    {
        auto* curve = new PriceBased2dPlotCurve(m_plot.get(), QStringLiteral("Value %1").arg(samples.size()));
        curve->setDataType(9);
        curve->setSamples(samples);
        curve->attach(m_plot.get());
    }

    static void compareView(const View& actual, const View& expected)
    {
        QCOMPARE(actual.xMin, expected.xMin);
        QCOMPARE(actual.xMax, expected.xMax);
        QCOMPARE(actual.yMin, expected.yMin);
        QCOMPARE(actual.yMax, expected.yMax);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<TestPlot> m_plot;
    PriceBased2dPlotPanner* m_panner = nullptr;

private Q_SLOTS:
    void init()
    {
        m_dir.reset(new QTemporaryDir);
        QVERIFY(ToolFixture::load(*m_dir, ToolFixture::futureRow("0.01")));
        m_plot.reset(new TestPlot(true));
        m_plot->resize(640, 480);
        m_plot->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_plot.get()));
        m_panner = m_plot->panner();
        QVERIFY(m_panner);
        QVERIFY(m_panner->autoScaleEnabled());
        QCOMPARE(m_panner->pricePlot(), m_plot.get());
    }

    void cleanup()
    {
        m_plot.reset();
        TestSupport::clearData();
        m_dir.reset();
    }

    void refusedPans()
    {
        const View start{40, 60, 10, 20};
        setView(start);
        QSignalSpy labels(m_panner, &PriceBased2dPlotPanner::updateLabels);
        QSignalSpy autoScale(m_panner, QOverload<bool>::of(&PriceBased2dPlotPanner::autoScaleEnabled));

        // No curves: nothing to pan over, whether by call or by dragging.
        m_panner->moveCanvas(10, 10);
        QTest::mousePress(m_plot->canvas(), Qt::LeftButton, Qt::NoModifier, QPoint(200, 150));
        QTest::mouseMove(m_plot->canvas(), QPoint(220, 170));
        QTest::mouseRelease(m_plot->canvas(), Qt::LeftButton, Qt::NoModifier, QPoint(220, 170));
        compareView(view(), start);

        // Curves entirely beside the view.
        addCurve({{0, 0}, {100, 50}});
        const View beside{200, 300, 10, 20};
        setView(beside);
        m_panner->moveCanvas(-10, 0);
        m_panner->moveCanvas(10, 0);
        compareView(view(), beside);

        QCOMPARE(labels.count(), 0);
        QCOMPARE(autoScale.count(), 0);
    }

    void panInsideCurves()
    {
        addCurve({{0, 0}, {100, 50}});
        setView({40, 60, 10, 20});
        QSignalSpy labels(m_panner, &PriceBased2dPlotPanner::updateLabels);
        QSignalSpy autoScale(m_panner, QOverload<bool>::of(&PriceBased2dPlotPanner::autoScaleEnabled));

        View expected = shifted(view(), 25, -15);
        m_panner->moveCanvas(25, -15);
        compareView(view(), expected);
        QCOMPARE(labels.count(), 1);
        QCOMPARE(autoScale.count(), 1);
        QCOMPARE(autoScale.at(0).at(0).toBool(), false);

        m_panner->setAutoScaleEnabled(false);
        expected = shifted(view(), -10, 5);
        m_panner->moveCanvas(-10, 5);
        compareView(view(), expected);
        QCOMPARE(labels.count(), 2);
        QCOMPARE(autoScale.count(), 1);
    }

    void panByDragging()
    {
        addCurve({{0, 0}, {100, 50}});
        setView({40, 60, 10, 20});
        QSignalSpy labels(m_panner, &PriceBased2dPlotPanner::updateLabels);
        QSignalSpy autoScale(m_panner, QOverload<bool>::of(&PriceBased2dPlotPanner::autoScaleEnabled));

        const View expected = shifted(view(), 30, -20);
        QWidget* canvas = m_plot->canvas();
        QTest::mousePress(canvas, Qt::LeftButton, Qt::NoModifier, QPoint(200, 150));
        QTest::mouseMove(canvas, QPoint(215, 140));
        QTest::mouseMove(canvas, QPoint(230, 130));
        QTest::mouseRelease(canvas, Qt::LeftButton, Qt::NoModifier, QPoint(230, 130));
        compareView(view(), expected);
        QCOMPARE(labels.count(), 1);
        QCOMPARE(autoScale.count(), 1);

        // Another button does not pan.
        QTest::mousePress(canvas, Qt::RightButton, Qt::NoModifier, QPoint(200, 150));
        QTest::mouseRelease(canvas, Qt::RightButton, Qt::NoModifier, QPoint(260, 150));
        compareView(view(), expected);
        QCOMPARE(labels.count(), 1);
    }

    void dragStopsPastCurvesEnd()
    {
        addCurve({{0, 0}, {100, 50}});
        setView({5, 25, 10, 20});
        QSignalSpy labels(m_panner, &PriceBased2dPlotPanner::updateLabels);
        QSignalSpy autoScale(m_panner, QOverload<bool>::of(&PriceBased2dPlotPanner::autoScaleEnabled));

        // Eight units to the left would leave three units beyond the curves; two is the margin.
        const int dx = qRound(8 * xPixelsPerUnit());
        m_panner->moveCanvas(dx, 0);
        const View stopped = view();
        QVERIFY2(stopped.xMin < 0.0 && stopped.xMin > -2.0, qPrintable(QString::number(stopped.xMin)));
        QVERIFY(qAbs(stopped.xMax - stopped.xMin - 20.0) < 1e-9);
        QCOMPARE(stopped.yMin, 10.0);
        QCOMPARE(stopped.yMax, 20.0);
        QCOMPARE(labels.count(), 1);
        QCOMPARE(autoScale.count(), 1);

        m_panner->moveCanvas(dx, 0);
        m_panner->moveCanvas(1, 0);
        compareView(view(), stopped);
        QCOMPARE(labels.count(), 1);
        QCOMPARE(autoScale.count(), 1);

        // Back towards the curves is free.
        m_panner->moveCanvas(-dx, 0);
        QVERIFY(view().xMin > stopped.xMin);
    }

    void limitedInXFreeInY()
    {
        addCurve({{0, 0}, {100, 50}});
        setView({-1, 19, 10, 20});
        const View expected = shifted(view(), 0, 30);

        m_panner->moveCanvas(50, 30);
        const View moved = view();
        QCOMPARE(moved.xMin, -1.0);
        QCOMPARE(moved.xMax, 19.0);
        QCOMPARE(moved.yMin, expected.yMin);
        QCOMPARE(moved.yMax, expected.yMax);
        QVERIFY(moved.yMax > 20.0);
    }

    // Flat curves stand for a band of a quarter of the view's height above and below their level.
    void flatCurves()
    {
        addCurve({{0, 10}, {50, 10}, {100, 10}});
        QCOMPARE(m_plot->curvesRectangle().height(), 0.0);
        setView({40, 60, 10.2, 12.2});
        QSignalSpy labels(m_panner, &PriceBased2dPlotPanner::updateLabels);

        // One unit down would put the lower bound at 9.2, below the band's 9.5.
        m_panner->moveCanvas(0, -qRound(yPixelsPerUnit()));
        const View moved = view();
        QVERIFY2(moved.yMin > 9.3 && moved.yMin < 9.5, qPrintable(QString::number(moved.yMin)));
        QCOMPARE(moved.xMin, 40.0);
        QCOMPARE(moved.xMax, 60.0);
        QCOMPARE(labels.count(), 1);
    }

    void shiftSearch()
    {
        addCurve({{0, 0}, {100, 50}});
        setView({5, 31, 10, 20});
        const double shift = 9 * xPixelsPerUnit();
        const double none = std::numeric_limits<double>::max();

        // 4/7 and 2/3 of the shift both end within the margin of 2.6; the coarser fraction wins.
        QCOMPARE(m_panner->getShiftUntilValue(0.0, QwtPlot::xBottom, 0, shift), shift * 2.0 / 3.0);
        // A negative shift moves the upper bound right: 31 + 9 is too far past 33, 31 + 4.5 is not.
        QCOMPARE(m_panner->getShiftUntilValue(33.0, QwtPlot::xBottom, 1, -shift), -shift / 2.0);
        // Past by more than the margin at every candidate.
        QCOMPARE(m_panner->getShiftUntilValue(-20.0, QwtPlot::xBottom, 0, shift), none);
        QCOMPARE(m_panner->getShiftUntilValue(0.0, QwtPlot::xBottom, 2, shift), none);
        m_panner->setAxisEnabled(QwtPlot::xBottom, false);
        QCOMPARE(m_panner->getShiftUntilValue(0.0, QwtPlot::xBottom, 0, shift), none);
    }
};

PLOT2D_TEST_MAIN(TestPanner)
#include "tst_panner.moc"
