#include "plotfixture.h"

#include <plot2d/pricebased2dplotlegend.h>

#include <qwt_plot_grid.h>
#include <qwt_plot_marker.h>
#include <qwt_symbol.h>

#include <QSignalSpy>

#include <memory>

using PlotFixture::validCurve;

// A sender that is not a legend but has the legend's signal.
class FakeLegend : public QObject
{
    Q_OBJECT
Q_SIGNALS:
    void visibilityChanged(const QString& labelText, bool visible);
};

class TestPlotCurves : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(TestSupport::loadSampleData()); }
    void cleanup() { TestSupport::clearData(); }

    void curveAndMarkerLists()
    {
        TestPlot plot;
        auto* a = validCurve(&plot, QStringLiteral("a"), 9, {{1, 1}, {2, 2}});
        auto* untyped = validCurve(&plot, QStringLiteral("u"), -1, {{1, 1}});
        auto* b = validCurve(&plot, QStringLiteral("b"), 9, {{1, 1}});
        auto* plain = new QwtPlotCurve(QStringLiteral("plain"));
        for (QwtPlotItem* item : std::initializer_list<QwtPlotItem*>{a, untyped, plain, b})
            item->attach(&plot);

        QCOMPARE(plot.attachedCurves(-1), (QList<PriceBased2dPlotCurve*>{a, untyped, b}));
        QCOMPARE(plot.attachedCurves(9), (QList<PriceBased2dPlotCurve*>{a, b}));
        QVERIFY(plot.attachedCurves(10).isEmpty());

        auto* bare = new QwtPlotMarker();
        bare->attach(&plot);
        QVERIFY(plot.createMarkers(0, a).isEmpty());
        QVERIFY(plot.createMarkers(5, nullptr).isEmpty());
        QVERIFY(plot.attachedMarkers().isEmpty());

        a->setPen(QPen(QBrush(Qt::darkGreen), 2.0));
        const QList<QwtPlotMarker*> made = plot.createMarkers(2, a);
        QCOMPARE(made.size(), 2);
        QCOMPARE(plot.attachedMarkers(), made);
        const QwtSymbol* symbol = made.first()->symbol();
        QCOMPARE(symbol->style(), QwtSymbol::Rect);
        QCOMPARE(symbol->size(), QSize(4, 4));
        QCOMPARE(symbol->pen().color(), QColor(Qt::darkGreen));
        QCOMPARE(symbol->pen().widthF(), 4.0);
        QVERIFY(!made.first()->testItemAttribute(QwtPlotItem::Legend));
        QVERIFY(made.first()->testRenderHint(QwtPlotItem::RenderAntialiased));
    }

    void curvesRectangle()
    {
        TestPlot plot;
        auto* line = validCurve(&plot, QStringLiteral("q"), 0, {{50, -100}, {50, 100}});
        auto* hidden = validCurve(&plot, QStringLiteral("h"), 9, {{0, -50}, {500, 50}});
        line->attach(&plot);
        hidden->attach(&plot);
        hidden->QwtPlotCurve::setVisible(false);
        QCOMPARE(plot.curvesRectangle(), QRectF(0, 0, 0, 0));

        validCurve(&plot, QStringLiteral("a"), 9, {{60, 1}, {80, 3}})->attach(&plot);
        validCurve(&plot, QStringLiteral("b"), 10, {{70, -2}, {90, 2}})->attach(&plot);
        QCOMPARE(plot.curvesRectangle(), QRectF(60, -2, 30, 5));
    }

    void quoteLinePoints_data()
    {
        QTest::addColumn<QVector<QPointF>>("line");
        QTest::addColumn<double>("yLow");
        QTest::addColumn<double>("yHigh");
        QTest::addColumn<double>("kotir");
        QTest::addColumn<QVector<QPointF>>("expected");

        const QVector<QPointF> at95 = {{95, 3}, {95, 4}};
        QTest::newRow("flat span widened") << at95 << 2.0 << 2.0 << 100.0 << QVector<QPointF>{{100, 0.8}, {100, 3.2}};
        QTest::newRow("kept price, stretched") << at95 << 0.0 << 10.0 << -1.0
                                               << QVector<QPointF>{{95, -1.0}, {95, 11.0}};
        QTest::newRow("zero price is a price") << at95 << 0.0 << 10.0 << 0.0 << QVector<QPointF>{{0, -1.0}, {0, 11.0}};
        QTest::newRow("slanted line kept") << QVector<QPointF>{{95, 3}, {96, 4}} << 0.0 << 10.0 << -1.0
                                           << QVector<QPointF>{{95, 3}, {96, 4}};
        QTest::newRow("negative x kept") << QVector<QPointF>{{-5, 3}, {-5, 4}} << 0.0 << 10.0 << -1.0
                                         << QVector<QPointF>{{-5, 3}, {-5, 4}};
        QTest::newRow("three samples kept") << QVector<QPointF>{{95, 3}, {95, 4}, {95, 5}} << 0.0 << 10.0 << 100.0
                                            << QVector<QPointF>{{95, 3}, {95, 4}, {95, 5}};
        QTest::newRow("clamped to half the largest double")
            << at95 << -1e308 << 1e308 << 95.0
            << QVector<QPointF>{{95, -8.988465674311579e307}, {95, 8.988465674311579e307}};
    }

    void quoteLinePoints()
    {
        QFETCH(QVector<QPointF>, line);
        QFETCH(double, yLow);
        QFETCH(double, yHigh);
        QFETCH(double, kotir);
        QFETCH(QVector<QPointF>, expected);

        TestPlot plot;
        plot.setAxisScaleDiv(QwtPlot::yLeft, QwtScaleDiv(2.0, 2.0));
        auto* curve = validCurve(&plot, QStringLiteral("q"), 0, line);
        curve->attach(&plot);
        // Only the first quote line moves.
        auto* second = validCurve(&plot, QStringLiteral("q2"), 0, {{1, 1}, {1, 2}});
        second->attach(&plot);
        plot.updateCurKotirPoints(yLow, yHigh, kotir);

        QCOMPARE(int(curve->dataSize()), expected.size());
        for (int i = 0; i < expected.size(); ++i)
            QCOMPARE(curve->sample(i), expected.at(i));
        QCOMPARE(second->sample(0), QPointF(1, 1));
    }

    void onlyTheLegendShowsCurves()
    {
        TestPlot plot;
        auto* a = validCurve(&plot, QStringLiteral("a"), 9, {{60, 1}, {80, 3}});
        auto* twin = validCurve(&plot, QStringLiteral("a"), 9, {{60, 5}, {80, 6}});
        a->attach(&plot);
        twin->attach(&plot);

        plot.setCurveVisible(QStringLiteral("a"), false);
        FakeLegend fake;
        connect(&fake, &FakeLegend::visibilityChanged, &plot, &PriceBased2dPlot::setCurveVisible);
        Q_EMIT fake.visibilityChanged(QStringLiteral("a"), false);
        QVERIFY(a->isVisible());

        auto* legend = new PriceBased2dPlotLegend(&plot);
        connect(legend, &PriceBased2dPlotLegend::visibilityChanged, &plot, &PriceBased2dPlot::setCurveVisible);
        Q_EMIT legend->visibilityChanged(QString(), false);
        QVERIFY(a->isVisible());
        Q_EMIT legend->visibilityChanged(QStringLiteral("a"), false);
        QVERIFY(!a->isVisible());
        QVERIFY(twin->isVisible());
        // Hiding a data curve rescales Y to what is left.
        QCOMPARE(plot.axisScaleDiv(QwtPlot::yLeft).lowerBound(), 5.0);
        QCOMPARE(plot.axisScaleDiv(QwtPlot::yLeft).upperBound(), 6.0);
    }

    void grid()
    {
        TestPlot plot;
        plot.setGridEnabled(true); // no grid: nothing to do
        auto* grid = new QwtPlotGrid();
        grid->attach(&plot);

        plot.setGridEnabled(false);
        QVERIFY(grid->xEnabled() && grid->yEnabled());
        QVERIFY(!grid->xMinEnabled() && !grid->yMinEnabled());
        QCOMPARE(grid->majorPen().color(), QColor(QStringLiteral("#b2beb5")));
        QCOMPARE(grid->majorPen().widthF(), 1.0);

        plot.setGridEnabled(true);
        QVERIFY(grid->xMinEnabled() && grid->yMinEnabled());
        QCOMPARE(grid->majorPen().widthF(), 2.0);
        QCOMPARE(grid->minorPen().color(), QColor(QStringLiteral("#cccccc")));
        QCOMPARE(grid->minorPen().widthF(), 1.0);

        plot.setGridVisible(false);
        QVERIFY(!grid->isVisible());
    }

    void trackerColour()
    {
        TestPlot plot;
        auto* picker = PlotFixture::attachPicker(&plot);
        plot.setTrackerColor(Qt::blue);
        QCOMPARE(plot.getTrackerColor(), QColor(Qt::blue));
        QCOMPARE(picker->rubberBandPen(), QPen(QBrush(Qt::blue), 1.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));

        // An invalid colour means black, and is applied again each time.
        plot.setTrackerColor(QColor());
        QCOMPARE(plot.getTrackerColor(), QColor(Qt::black));
        picker->setRubberBandPen(QPen(Qt::yellow));
        plot.setTrackerColor(QColor());
        QCOMPARE(picker->rubberBandPen().color(), QColor(Qt::black));
        // The same colour again is left alone.
        picker->setRubberBandPen(QPen(Qt::yellow));
        plot.setTrackerColor(Qt::black);
        QCOMPARE(picker->rubberBandPen().color(), QColor(Qt::yellow));
    }
};

PLOT2D_TEST_MAIN(TestPlotCurves)
#include "tst_plot_curves.moc"
