// Mouse presses and moves go through the window system, so that the pressed button is carried
// by the moves and ignored events propagate from the scale widgets to the plot as in real use.
#define QTEST_QPA_MOUSE_HANDLING

#include "testsupport.h"

#include <plot2d/plot2dcommon.h>
#include <plot2d/pricebased2dplotpanner.h>

#include <qwt_scale_map.h>
#include <qwt_scale_widget.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>

using TestSupport::validCurve;

class TestPlotMouse : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TestPlot> m_plot;
    PriceBased2dPlotPicker* m_picker = nullptr;
    PriceBased2dPlotPanner* m_panner = nullptr;
    std::unique_ptr<QSignalSpy> m_labels;
    std::unique_ptr<QSignalSpy> m_autoScale;

    QwtInterval range(int axis) const { return m_plot->axisScaleDiv(axis).interval(); }

    // A curve every 10 in X from `left` to `right`, rising from -200 to 200.
    static QVector<QPointF> rising(double left, double right)
    {
        QVector<QPointF> samples;
        for (double x = left; x <= right; x += 10.0)
            samples << QPointF(x, -200.0 + 400.0 * (x - left) / (right - left));
        return samples;
    }

    // Shown plot with the curve, X 100..200 and Y -100..100.
    bool setUpPlot(const QVector<QPointF>& samples = rising(0.0, 1000.0))
    {
        m_plot.reset(new TestPlot);
        m_plot->setBaseCode(QStringLiteral("BR"));
        m_picker = TestSupport::attachPicker(m_plot.get());
        validCurve(m_plot.get(), QStringLiteral("c"), 9, samples);
        m_panner = m_plot->panner();
        // The panner's announcements as the plot relays them, one to one.
        m_labels.reset(new QSignalSpy(m_plot.get(), &PriceBased2dPlot::updateAxisLabels));
        m_autoScale.reset(new QSignalSpy(m_plot.get(), qOverload<bool>(&PriceBased2dPlot::autoScaleEnabled)));
        if (!TestSupport::show(m_plot.get()))
            return false;
        setRanges(100.0, 200.0, -100.0, 100.0);
        return true;
    }

    // (x min, x max, y min, y max)
    using View = std::array<double, 4>;

    View view() const
    {
        const QwtInterval x = range(QwtPlot::xBottom), y = range(QwtPlot::yLeft);
        return {x.minValue(), x.maxValue(), y.minValue(), y.maxValue()};
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

    static bool same(const View& a, const View& b)
    {
        return std::equal(a.cbegin(), a.cend(), b.cbegin(), Plot2dCommon::fuzzyEqual);
    }

    void setRanges(double xLow, double xHigh, double yLow, double yHigh)
    {
        m_plot->setAxisScale(QwtPlot::xBottom, xLow, xHigh);
        m_plot->setAxisScale(QwtPlot::yLeft, yLow, yHigh);
        m_plot->replot();
    }

    void wheel(const QPoint& plotPos, const QPoint& angleDelta,
               Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QWidget* target = m_plot->childAt(plotPos);
        QVERIFY(target);
        TestSupport::wheel(target, target->mapFrom(m_plot.get(), plotPos), angleDelta, modifiers);
        m_plot->updateAxes();
    }

private Q_SLOTS:
    void init() { QVERIFY(TestSupport::loadSampleData()); }
    void cleanup()
    {
        m_labels.reset();
        m_autoScale.reset();
        m_plot.reset();
        TestSupport::clearData();
    }

    // One notch over the canvas about (150, 0): no modifier zooms both axes about the cursor, Control
    // X only (Y follows autoscale), Shift Y only. Zooming Y asks for autoscale off, once.
    void wheelOverCanvasZoomsAboutTheCursor_data()
    {
        TestSupport::columns<QPoint, int, double, double, int>(
            {"delta", "modifiers", "xWidth", "yWidth", "autoScaleOffs"});
        QTest::newRow("in") << QPoint(0, 120) << int(Qt::NoModifier) << 90.0 << 180.0 << 1;
        QTest::newRow("out") << QPoint(0, -120) << int(Qt::NoModifier) << 110.0 << 220.0 << 1;
        QTest::newRow("control: x only") << QPoint(0, 120) << int(Qt::ControlModifier) << 90.0 << 32.0 << 0;
        QTest::newRow("shift: y only") << QPoint(0, 120) << int(Qt::ShiftModifier) << 100.0 << 180.0 << 1;
    }

    void wheelOverCanvasZoomsAboutTheCursor()
    {
        const auto [delta, modifiers, xWidth, yWidth, autoScaleOffs] =
            TestSupport::fetch<QPoint, int, double, double, int>(
                {"delta", "modifiers", "xWidth", "yWidth", "autoScaleOffs"});
        QVERIFY(setUpPlot());
        // The plot point whose anchor, as the wheel computes it over the canvas, is (150, 0).
        const QPoint pos(qRound(m_plot->canvasMap(QwtPlot::xBottom).transform(150.0)),
                         qRound(m_plot->canvasMap(QwtPlot::yLeft).transform(0.0)));
        const QPointF anchor = m_picker->transformedPoint(pos);
        QVERIFY(qAbs(anchor.x() - 150.0) < 1.0);
        wheel(pos, delta, Qt::KeyboardModifiers(modifiers));

        // The anchor keeps its relative place: 100..200 about 150 becomes 105..195 for one notch in.
        const double lower = anchor.x() - xWidth * (anchor.x() - 100.0) / 100.0;
        QCOMPARE(range(QwtPlot::xBottom).minValue(), lower);
        QCOMPARE(range(QwtPlot::xBottom).maxValue(), lower + xWidth);
        QCOMPARE(range(QwtPlot::yLeft).width(), yWidth);
        if (modifiers == Qt::ControlModifier) // the curve's extent over the new view
            QCOMPARE(range(QwtPlot::yLeft).minValue(), -156.0);
        QCOMPARE(m_autoScale->count(), autoScaleOffs);
        QVERIFY(m_autoScale->isEmpty() || !m_autoScale->at(0).at(0).toBool());
        QVERIFY(m_plot->autoScaleEnabled()); // only asked: a listener switches it

        // With autoscale off nothing asks to switch it off again.
        m_plot->setAutoScaleEnabled(false);
        wheel(pos, delta, Qt::KeyboardModifiers(modifiers));
        QCOMPARE(m_autoScale->count(), autoScaleOffs);
        QCOMPARE(m_labels->count(), 2);
    }

    // The cursor on a scale over the lower bound of the view (100 on X, -100 on Y) anchors that
    // axis there; deliberately the anchor then becomes the new upper bound. A tilt wheel or touchpad
    // counts its larger component, a fast wheel zooms by 0.89 for any number of notches.
    void wheelOverAScaleZoomsThatAxis_data()
    {
        TestSupport::columns<int, QPoint, double, double>({"axis", "delta", "lower", "upper"});
        const int x = QwtPlot::xBottom;
        QTest::newRow("x, one notch in") << x << QPoint(0, 120) << 10.0 << 100.0;
        QTest::newRow("x, one notch out") << x << QPoint(0, -120) << -10.0 << 100.0;
        QTest::newRow("x, two notches in") << x << QPoint(0, 240) << 11.0 << 100.0;
        QTest::newRow("x, sideways in") << x << QPoint(120, 0) << 10.0 << 100.0;
        QTest::newRow("y, mostly sideways out")
            << int(QwtPlot::yLeft) << QPoint(-150, 120) << -320.0 << -100.0;
    }

    void wheelOverAScaleZoomsThatAxis()
    {
        const auto [axis, delta, lower, upper] =
            TestSupport::fetch<int, QPoint, double, double>({"axis", "delta", "lower", "upper"});
        QVERIFY(setUpPlot());
        QwtScaleWidget* scale = m_plot->axisWidget(axis);
        const int start = qRound(m_plot->canvasMap(axis).p1());
        const QPoint local =
            axis == QwtPlot::xBottom ? QPoint(start, scale->height() / 2) : QPoint(scale->width() / 2, start);
        const QPoint pos = m_plot->mapFromGlobal(scale->mapToGlobal(local));
        QCOMPARE(m_plot->mousePositionOnXScale(pos), axis == QwtPlot::xBottom);
        QCOMPARE(m_plot->mousePositionOnYScale(pos), axis == QwtPlot::yLeft);
        wheel(pos, delta);
        QCOMPARE(range(axis).minValue(), lower);
        QCOMPARE(range(axis).maxValue(), upper);
    }

    // With the zoom flag off neither the wheel nor a drag on a scale moves the view.
    void zoomFlagOffLeavesWheelAndScaleDragsAlone()
    {
        QVERIFY(setUpPlot());
        m_plot->setZoomEnabled(false);
        const View before = view();
        wheel(m_plot->canvas()->geometry().center(), QPoint(0, 120));
        QwtScaleWidget* scale = m_plot->axisWidget(QwtPlot::yLeft);
        const QPoint start(scale->width() / 2, scale->height() / 2);
        QTest::mousePress(scale, Qt::LeftButton, Qt::NoModifier, start);
        QTest::mouseMove(scale, start + QPoint(0, -10));
        QTest::mouseRelease(scale, Qt::LeftButton, Qt::NoModifier, start + QPoint(0, -10));
        QVERIFY(same(view(), before));
    }

    // Dragging a scale by 10 px from its middle; only the Y scale asks for autoscale off.
    void dragOnScaleZoomsThatAxis()
    {
        QVERIFY(setUpPlot(rising(100.0, 300.0)));
        QSignalSpy autoScale(m_plot.get(), qOverload<bool>(&PriceBased2dPlot::autoScaleEnabled));
        auto drag = [&](int axis, const QPoint& by, double lower, double upper, int autoScaleOffs) {
            setRanges(100.0, 200.0, -100.0, 100.0);
            QwtScaleWidget* scale = m_plot->axisWidget(axis);
            const QPoint start(scale->width() / 2, scale->height() / 2);
            QTest::mousePress(scale, Qt::LeftButton, Qt::NoModifier, start);
            QTest::mouseMove(scale, start + by);
            QCOMPARE(range(axis).minValue(), lower);
            QCOMPARE(range(axis).maxValue(), upper);
            QCOMPARE(autoScale.count(), autoScaleOffs);
            QTest::mouseRelease(scale, Qt::LeftButton, Qt::NoModifier, start + by);
        };
        drag(QwtPlot::xBottom, QPoint(-10, 0), 105.0, 195.0, 0); // left zooms in by 5 % on each side
        drag(QwtPlot::xBottom, QPoint(10, 0), 100.0, 210.0, 0);  // right zooms out only where curves are cut
        drag(QwtPlot::yLeft, QPoint(0, -10), -90.0, 90.0, 1);
    }

    void dragOnCanvasPansAndAsksAutoscaleOffOnce()
    {
        QVERIFY(setUpPlot({{0, 0}, {100, 50}}));
        setRanges(40, 60, 10, 20);
        View expected = shifted(30, -20);
        QWidget* canvas = m_plot->canvas();
        QTest::mousePress(canvas, Qt::LeftButton, Qt::NoModifier, QPoint(200, 150));
        QTest::mouseMove(canvas, QPoint(230, 130));
        QTest::mouseRelease(canvas, Qt::LeftButton, Qt::NoModifier, QPoint(230, 130));
        QVERIFY(same(view(), expected));
        QCOMPARE(m_labels->count(), 1);
        QCOMPARE(m_autoScale->count(), 1);
        QCOMPARE(m_autoScale->at(0).at(0).toBool(), false);
        QVERIFY(m_plot->autoScaleEnabled()); // relaying the request does not switch the flag

        m_panner->setAutoScaleEnabled(false);
        expected = shifted(-10, 5);
        m_panner->moveCanvas(-10, 5);
        QVERIFY(same(view(), expected));
        QCOMPARE(m_labels->count(), 2);
        QCOMPARE(m_autoScale->count(), 1);
    }

    // No curves, or a view beside them: nothing moves and nothing is announced.
    void panIsRefusedWithoutCurvesOrBesideThem()
    {
        QVERIFY(setUpPlot({}));
        setRanges(40, 60, 10, 20);
        m_panner->moveCanvas(10, 10);
        QVERIFY(same(view(), {40, 60, 10, 20}));
        validCurve(m_plot.get(), QStringLiteral("d"), 9, {{0, 0}, {100, 50}});
        setRanges(200, 300, 10, 20);
        m_panner->moveCanvas(10, 0);
        QVERIFY(same(view(), {200, 300, 10, 20}));
        QCOMPARE(m_labels->count() + m_autoScale->count(), 0);
    }

    void panStopsTenPercentPastCurvesEnd()
    {
        QVERIFY(setUpPlot({{0, 0}, {100, 50}}));
        setRanges(5, 25, 10, 20);
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
        setRanges(5, 31, 10, 20);
        const double shift = 9 * pixelsPerUnit(QwtPlot::xBottom);
        QCOMPARE(m_panner->getShiftUntilValue(0.0, QwtPlot::xBottom, 0, shift), shift * 2 / 3);
        QCOMPARE(m_panner->getShiftUntilValue(0.0, QwtPlot::xBottom, 2, shift),
                 std::numeric_limits<double>::max());
    }

    // Flat curves stand for a band of a quarter of the view's height above and below their level.
    void flatCurvesBoundPanningByAQuarterOfTheView()
    {
        QVERIFY(setUpPlot({{0, 10}, {50, 10}, {100, 10}}));
        setRanges(40, 60, 10.2, 12.2);
        // One unit down would put the lower bound at 9.2, beyond the band's 9.5 by more than 0.2.
        m_panner->moveCanvas(0, -qRound(pixelsPerUnit(QwtPlot::yLeft)));
        const double yMin = view()[2];
        QVERIFY2(yMin > 9.3 && yMin < 9.5, qPrintable(QString::number(yMin)));
        QCOMPARE(view()[0], 40.0);
        QCOMPARE(m_labels->count(), 1);
    }
};

PLOT2D_TEST_MAIN(TestPlotMouse)
#include "tst_plot_mouse.moc"
