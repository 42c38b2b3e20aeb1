// Mouse presses and moves go through the window system, so that the pressed button is carried
// by the moves and ignored events propagate from the scale widgets to the plot as in real use.
#define QTEST_QPA_MOUSE_HANDLING

#include "testsupport.h"

#include <qwt_scale_widget.h>

#include <QWheelEvent>

#include <memory>

using TestSupport::validCurve;

class TestPlotMouse : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TestPlot> m_plot;
    PriceBased2dPlotPicker* m_picker = nullptr;

    QwtInterval range(int axis) const { return m_plot->axisScaleDiv(axis).interval(); }

    // Shown plot, X 100..200 and Y -100..100; a curve every 10 in X from curvesLeft to curvesRight,
    // rising from -200 to 200.
    bool setUpPlot(double curvesLeft = 0.0, double curvesRight = 1000.0)
    {
        m_plot.reset(new TestPlot);
        m_plot->setBaseCode(QStringLiteral("BR"));
        m_picker = TestSupport::attachPicker(m_plot.get());
        QVector<QPointF> samples;
        for (double x = curvesLeft; x <= curvesRight; x += 10.0)
            samples << QPointF(x, -200.0 + 400.0 * (x - curvesLeft) / (curvesRight - curvesLeft));
        validCurve(m_plot.get(), QStringLiteral("c"), 9, samples)->attach(m_plot.get());
        m_plot->resize(640, 480);
        m_plot->show();
        if (!QTest::qWaitForWindowExposed(m_plot.get()))
            return false;
        setRanges(100.0, 200.0, -100.0, 100.0);
        return true;
    }

    void setRanges(double xLow, double xHigh, double yLow, double yHigh)
    {
        m_plot->setAxisScale(QwtPlot::xBottom, xLow, xHigh);
        m_plot->setAxisScale(QwtPlot::yLeft, yLow, yHigh);
        m_plot->replot();
    }

    // The plot point whose anchor, as the wheel computes it over the canvas, is (x, y).
    QPoint canvasPointFor(double x, double y) const
    {
        return QPoint(qRound(m_plot->canvasMap(QwtPlot::xBottom).transform(x)),
                      qRound(m_plot->canvasMap(QwtPlot::yLeft).transform(y)));
    }

    // Delivered as the window system does: to the widget under the cursor (canvas or scale), and
    // marked spontaneous, since Qt hands only such wheel events on to the parent plot.
    void wheel(const QPoint& plotPos, const QPoint& angleDelta,
               Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QWidget* target = m_plot->childAt(plotPos);
        QVERIFY(target);
        const QPoint global = m_plot->mapToGlobal(plotPos);
        QCursor::setPos(global);
        QWheelEvent event(QPointF(target->mapFromGlobal(global)), QPointF(global), QPoint(), angleDelta,
                          Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
        QSpontaneKeyEvent::setSpontaneous(&event);
        qApp->notify(target, &event); // as QTest does: sendEvent() would clear the mark
        m_plot->updateAxes();
    }

private Q_SLOTS:
    void init() { QVERIFY(TestSupport::loadSampleData()); }
    void cleanup()
    {
        m_plot.reset();
        TestSupport::clearData();
    }

    void wheelOverCanvasZoomsBoth_data()
    {
        QTest::addColumn<QPoint>("delta");
        QTest::addColumn<double>("factor");
        QTest::newRow("one notch") << QPoint(0, 120) << 0.9;
        QTest::newRow("one notch out") << QPoint(0, -120) << 1.1;
        // A tilt wheel or touchpad: the larger component counts.
        QTest::newRow("sideways") << QPoint(120, 0) << 0.9;
        QTest::newRow("mostly sideways out") << QPoint(-150, 120) << 1.1;
    }

    void wheelOverCanvasZoomsBoth()
    {
        QFETCH(QPoint, delta);
        QFETCH(double, factor);
        QVERIFY(setUpPlot());
        const QPoint pos = canvasPointFor(150.0, 0.0);
        const QPointF anchor = m_picker->transformedPoint(pos);
        QVERIFY(qAbs(anchor.x() - 150.0) < 1.0);

        QSignalSpy autoScale(m_plot.get(), qOverload<bool>(&PriceBased2dPlot::autoScaleEnabled));
        QSignalSpy labels(m_plot.get(), &PriceBased2dPlot::updateAxisLabels);
        wheel(pos, delta);

        // The anchor keeps its relative place: 100..200 about 150 becomes 105..195 for one notch.
        const double span = 100.0 * factor;
        const double r = (200.0 - anchor.x()) / (anchor.x() - 100.0);
        const double lower = anchor.x() - span / (r + 1.0);
        QCOMPARE(range(QwtPlot::xBottom).minValue(), lower);
        QCOMPARE(range(QwtPlot::xBottom).maxValue(), lower + span);
        QCOMPARE(range(QwtPlot::yLeft).width(), 200.0 * factor);
        QCOMPARE(autoScale.count(), 1);
        QCOMPARE(autoScale.at(0).at(0).toBool(), false);
        QCOMPARE(labels.count(), 1);

        // With autoscale off nothing asks to switch it off again.
        m_plot->setAutoScaleEnabled(false);
        wheel(pos, delta);
        QCOMPARE(autoScale.count(), 1);
        QCOMPARE(labels.count(), 2);
    }

    void modifiersChooseTheAxis()
    {
        QVERIFY(setUpPlot());
        QSignalSpy autoScale(m_plot.get(), qOverload<bool>(&PriceBased2dPlot::autoScaleEnabled));
        const QPoint pos = canvasPointFor(150.0, 0.0);

        // Control: X only, and Y follows autoscale without switching it off.
        wheel(pos, QPoint(0, 120), Qt::ControlModifier);
        QVERIFY(range(QwtPlot::xBottom).width() < 100.0);
        QCOMPARE(autoScale.count(), 0);
        QCOMPARE(range(QwtPlot::yLeft).minValue(), -156.0);
        QCOMPARE(range(QwtPlot::yLeft).maxValue(), -124.0);

        // Shift: Y only, autoscale off asked for.
        setRanges(100.0, 200.0, -100.0, 100.0);
        wheel(pos, QPoint(0, 120), Qt::ShiftModifier);
        QCOMPARE(range(QwtPlot::xBottom).width(), 100.0);
        QCOMPARE(range(QwtPlot::yLeft).width(), 180.0);
        QCOMPARE(autoScale.count(), 1);
    }

    void anchorOnTheLowerBound()
    {
        QVERIFY(setUpPlot());
        // Over the X scale the anchor is the cursor mapped into the scale widget.
        QwtScaleWidget* scale = m_plot->axisWidget(QwtPlot::xBottom);
        const QPoint local(qRound(m_plot->canvasMap(QwtPlot::xBottom).p1()), scale->height() / 2);
        QCOMPARE(m_picker->transformedPoint(local).x(), 100.0);
        const QPoint pos = m_plot->mapFromGlobal(scale->mapToGlobal(local));
        QVERIFY(m_plot->mousePositionOnXScale(pos));
        QVERIFY(!m_plot->mousePositionOnYScale(pos));

        wheel(pos, QPoint(0, 120));
        // Deliberately, the anchor becomes the new upper bound.
        QCOMPARE(range(QwtPlot::xBottom).minValue(), 10.0);
        QCOMPARE(range(QwtPlot::xBottom).maxValue(), 100.0);
    }

    void wheelOverAScaleZoomsThatAxis_data()
    {
        QTest::addColumn<int>("axis");
        QTest::addColumn<QPoint>("delta");
        QTest::addColumn<double>("span");
        QTest::newRow("x, one notch out") << int(QwtPlot::xBottom) << QPoint(0, -120) << 110.0;
        QTest::newRow("x, sideways") << int(QwtPlot::xBottom) << QPoint(120, 0) << 90.0;
        QTest::newRow("y, mostly sideways out") << int(QwtPlot::yLeft) << QPoint(-150, 120) << 220.0;
    }

    void wheelOverAScaleZoomsThatAxis()
    {
        QFETCH(int, axis);
        QFETCH(QPoint, delta);
        QFETCH(double, span);
        QVERIFY(setUpPlot());
        QwtScaleWidget* scale = m_plot->axisWidget(axis);
        const QPoint pos = m_plot->mapFromGlobal(scale->mapToGlobal(scale->rect().center()));
        QCOMPARE(m_plot->childAt(pos), scale);
        wheel(pos, delta);
        QCOMPARE(range(axis).width(), span);
    }

    // Dragging a scale by 10 px from its middle; only the Y scale asks for autoscale off.
    void dragOnTheScales()
    {
        QVERIFY(setUpPlot(100.0, 300.0));
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
};

PLOT2D_TEST_MAIN(TestPlotMouse)
#include "tst_plot_mouse.moc"
