#include "testsupport.h"

#include <plot2d/pricebased2dplotpanner.h>

#include <qwt_scale_div.h>
#include <qwt_scale_map.h>

#include <array>
#include <limits>
#include <memory>

class TestPanner : public QObject
{
    Q_OBJECT

private:
    // (x min, x max, y min, y max)
    using View = std::array<double, 4>;

    View view() const
    {
        const QwtInterval x = m_plot->axisScaleDiv(QwtPlot::xBottom).interval();
        const QwtInterval y = m_plot->axisScaleDiv(QwtPlot::yLeft).interval();
        return {x.minValue(), x.maxValue(), y.minValue(), y.maxValue()};
    }

    void setView(const View& v)
    {
        m_plot->setAxisScale(QwtPlot::xBottom, v[0], v[1]);
        m_plot->setAxisScale(QwtPlot::yLeft, v[2], v[3]);
        m_plot->replot();
    }

    // What the stock panner makes of a move of (dx, dy) pixels.
    View shifted(double dx, double dy) const
    {
        const View v = view();
        const QwtScaleMap x = m_plot->canvasMap(QwtPlot::xBottom);
        const QwtScaleMap y = m_plot->canvasMap(QwtPlot::yLeft);
        return {x.invTransform(x.transform(v[0]) - dx), x.invTransform(x.transform(v[1]) - dx),
                y.invTransform(y.transform(v[2]) - dy), y.invTransform(y.transform(v[3]) - dy)};
    }

    double pixelsPerUnit(int axis) const
    {
        const QwtScaleMap map = m_plot->canvasMap(axis);
        return qAbs(map.pDist() / map.sDist());
    }

    void addCurve(const QVector<QPointF>& samples)
    {
        auto* curve = new PriceBased2dPlotCurve(m_plot.get(), QStringLiteral("Value"));
        curve->setDataType(9);
        curve->setSamples(samples);
        curve->attach(m_plot.get());
    }

    static bool same(const View& a, const View& b)
    {
        for (int i = 0; i < 4; ++i) {
            if (!qFuzzyCompare(a[i], b[i]))
                return false;
        }
        return true;
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<TestPlot> m_plot;
    PriceBased2dPlotPanner* m_panner = nullptr;
    std::unique_ptr<QSignalSpy> m_labels;
    std::unique_ptr<QSignalSpy> m_autoScale;

private Q_SLOTS:
    void init()
    {
        m_dir.reset(new QTemporaryDir);
        QVERIFY(TestSupport::load(*m_dir, TestSupport::futureRow("0.01")));
        m_plot.reset(new TestPlot(true));
        m_plot->resize(640, 480);
        m_plot->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_plot.get()));
        m_panner = m_plot->panner();
        QVERIFY(m_panner && m_panner->autoScaleEnabled());
        m_labels.reset(new QSignalSpy(m_panner, &PriceBased2dPlotPanner::updateLabels));
        m_autoScale.reset(
            new QSignalSpy(m_panner, QOverload<bool>::of(&PriceBased2dPlotPanner::autoScaleEnabled)));
    }

    void cleanup()
    {
        m_labels.reset();
        m_autoScale.reset();
        m_plot.reset();
        TestSupport::clearData();
    }

    void refusedPans()
    {
        const View start{40, 60, 10, 20};
        setView(start);
        m_panner->moveCanvas(10, 10);
        QTest::mousePress(m_plot->canvas(), Qt::LeftButton, Qt::NoModifier, QPoint(200, 150));
        QTest::mouseRelease(m_plot->canvas(), Qt::LeftButton, Qt::NoModifier, QPoint(220, 170));
        QVERIFY(same(view(), start));

        addCurve({{0, 0}, {100, 50}});
        setView({200, 300, 10, 20}); // beside the curves
        m_panner->moveCanvas(10, 0);
        QCOMPARE(view()[0], 200.0);
        QCOMPARE(m_labels->count(), 0);
        QCOMPARE(m_autoScale->count(), 0);
    }

    void panInsideCurves()
    {
        addCurve({{0, 0}, {100, 50}});
        setView({40, 60, 10, 20});
        View expected = shifted(30, -20);
        QWidget* canvas = m_plot->canvas();
        QTest::mousePress(canvas, Qt::LeftButton, Qt::NoModifier, QPoint(200, 150));
        QTest::mouseMove(canvas, QPoint(230, 130));
        QTest::mouseRelease(canvas, Qt::LeftButton, Qt::NoModifier, QPoint(230, 130));
        QVERIFY(same(view(), expected));
        QCOMPARE(m_labels->count(), 1);
        QCOMPARE(m_autoScale->count(), 1);
        QCOMPARE(m_autoScale->at(0).at(0).toBool(), false);

        m_panner->setAutoScaleEnabled(false);
        expected = shifted(-10, 5);
        m_panner->moveCanvas(-10, 5);
        QVERIFY(same(view(), expected));
        QCOMPARE(m_labels->count(), 2);
        QCOMPARE(m_autoScale->count(), 1);
    }

    void dragStopsPastCurvesEnd()
    {
        addCurve({{0, 0}, {100, 50}});
        setView({5, 25, 10, 20});
        // Eight units would leave three beyond the curves; the margin is two (10 % of 20).
        const int dx = qRound(8 * pixelsPerUnit(QwtPlot::xBottom));
        m_panner->moveCanvas(dx, 0);
        const View stopped = view();
        QVERIFY2(stopped[0] < 0.0 && stopped[0] > -2.0, qPrintable(QString::number(stopped[0])));
        QVERIFY(qFuzzyCompare(stopped[1] - stopped[0], 20.0));
        QCOMPARE(m_autoScale->count(), 1);

        m_panner->moveCanvas(dx, 0);
        m_panner->moveCanvas(1, 0);
        QVERIFY(same(view(), stopped));
        QCOMPARE(m_labels->count(), 1);

        // Coarse fractions of the shift are tried first: 2/3 wins although 4/7 would also do.
        setView({5, 31, 10, 20});
        const double shift = 9 * pixelsPerUnit(QwtPlot::xBottom);
        QCOMPARE(m_panner->getShiftUntilValue(0.0, QwtPlot::xBottom, 0, shift), shift * 2 / 3);
        QCOMPARE(m_panner->getShiftUntilValue(0.0, QwtPlot::xBottom, 2, shift),
                 std::numeric_limits<double>::max());
    }

    // Flat curves stand for a band of a quarter of the view's height above and below their level.
    void flatCurves()
    {
        addCurve({{0, 10}, {50, 10}, {100, 10}});
        setView({40, 60, 10.2, 12.2});
        // One unit down would put the lower bound at 9.2, beyond the band's 9.5 by more than 0.2.
        m_panner->moveCanvas(0, -qRound(pixelsPerUnit(QwtPlot::yLeft)));
        const double yMin = view()[2];
        QVERIFY2(yMin > 9.3 && yMin < 9.5, qPrintable(QString::number(yMin)));
        QCOMPARE(view()[0], 40.0);
        QCOMPARE(m_labels->count(), 1);
    }
};

PLOT2D_TEST_MAIN(TestPanner)
#include "tst_panner.moc"
