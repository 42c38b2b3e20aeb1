#include "plotfixture.h"

#include <plot2d/pricebased2dplotpanner.h>
#include <plot2d/pricebased2dplotscaledraw.h>
#include <plot2d/pricebased2dplotscaleengine.h>

#include <qwt_plot_canvas.h>
#include <qwt_scale_widget.h>

#include <QPointer>
#include <QProcess>
#include <QSignalSpy>

namespace {

const char MissingBidAskArg[] = "--missing-bid-ask-child";
const char NoTableArg[] = "--no-securities-table-child";

// Runs in the child process: builds a plot over a broken schema, which must not return.
int runSchemaChild(bool withTable)
{
    QTemporaryDir dir;
    if (withTable)
        PlotFixture::load(dir, PlotFixture::row({{"sec_id", "1"}, {"isin_id", "1001"}}, {"bid", "ask"}),
                          {"bid", "ask"});
    TestPlot plot(false);
    return 0;
}

} // namespace

class TestPlotConstruction : public QObject
{
    Q_OBJECT

public:
    TestPlotConstruction()
    {
        // The schema check is fatal, so it is exercised in a child run of this binary.
        const QStringList args = QCoreApplication::arguments();
        if (args.contains(QLatin1String(MissingBidAskArg)))
            ::exit(runSchemaChild(true));
        if (args.contains(QLatin1String(NoTableArg)))
            ::exit(runSchemaChild(false));
    }

private Q_SLOTS:
    void init() { QVERIFY(TestSupport::loadSampleData()); }
    void cleanup() { TestSupport::clearData(); }

    void missingColumnsAreFatal_data()
    {
        QTest::addColumn<QString>("childArg");
        QTest::addColumn<QString>("positions");
        QString all;
        for (int i = 0; i < 21; ++i)
            all += QString::number(i) + QLatin1Char(' ');
        QTest::newRow("bid and ask missing") << QString(MissingBidAskArg) << QStringLiteral("13 14 ");
        QTest::newRow("no securities table") << QString(NoTableArg) << all;
    }

    void missingColumnsAreFatal()
    {
        QFETCH(QString, childArg);
        QFETCH(QString, positions);
        TestSupport::clearData();

        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {childArg});
        QVERIFY(child.waitForFinished(60000));
        QVERIFY(child.exitStatus() == QProcess::CrashExit || child.exitCode() != 0);
        const QString err = QString::fromLatin1(child.readAllStandardError());
        const QString expected =
            QStringLiteral("ASSERT failure in CHECK_COLUMNS_FUNC!\nUnsetted struct members "
                           "found! Members position: %1\nFile "
                           "../../../src/plot2d/pricebased2dplot, Line 1170")
                .arg(positions);
        QVERIFY2(err.contains(expected), qPrintable(err));
    }

    void bindsColumnsByName()
    {
        TestPlot plot(false);
        QVERIFY(plot.securitiesTable());
        // The sample file orders its columns differently from the positions.
        QCOMPARE(plot.securitiesColumn(PriceBased2dPlot::SecStockId), 2);
        QCOMPARE(plot.securitiesColumn(PriceBased2dPlot::SecSecId), 0);
        QCOMPARE(plot.securitiesColumn(PriceBased2dPlot::SecLasttime), 21);
    }

    void withoutSetUpThereAreNoTools()
    {
        TestPlot plot(false);
        QVERIFY(!plot.panner());
        QVERIFY(!plot.xScaleDraw());
        QVERIFY(!plot.yScaleDraw());
        QVERIFY(!plot.scaleEngine());
        QVERIFY(!dynamic_cast<PriceBased2dPlotScaleDraw*>(plot.axisScaleDraw(QwtPlot::xBottom)));
        QVERIFY(plot.canvas()->findChildren<PriceBased2dPlotPanner*>().isEmpty());

        // The filter has nothing to do, but painting must still work.
        plot.show();
        QVERIFY(QTest::qWaitForWindowExposed(&plot));
        plot.axisWidget(QwtPlot::xBottom)->repaint();
        QCOMPARE(plot.minimumSizeHint(), QSize(20, 20));
    }

    void setUpInstallsTools()
    {
        TestPlot plot;
        QPointer<PriceBased2dPlotPanner> panner = plot.panner();
        QVERIFY(panner);
        QCOMPARE(panner->parent(), plot.canvas());
        Qt::MouseButton button = Qt::NoButton;
        Qt::KeyboardModifiers modifiers = Qt::ShiftModifier;
        panner->getMouseButton(button, modifiers);
        QCOMPARE(button, Qt::LeftButton);
        QCOMPARE(modifiers, Qt::KeyboardModifiers(Qt::NoModifier));
        QVERIFY(plot.autoScaleEnabled());
        QCOMPARE(plot.axisScaleDraw(QwtPlot::xBottom), plot.xScaleDraw());
        QCOMPARE(plot.axisScaleDraw(QwtPlot::yLeft), plot.yScaleDraw());
        QCOMPARE(plot.axisScaleEngine(QwtPlot::xBottom), plot.scaleEngine());
        QCOMPARE(plot.xScaleDraw()->axis(), int(QwtPlot::xBottom));
        QCOMPARE(plot.yScaleDraw()->axis(), int(QwtPlot::yLeft));
        QCOMPARE(plot.scaleEngine()->plot(), &plot);

        const QString sheet = QStringLiteral("QWidget { background-color: #ffffff }");
        QCOMPARE(plot.styleSheet(), sheet);
        QCOMPARE(plot.axisWidget(QwtPlot::xBottom)->styleSheet(), sheet);
        QCOMPARE(plot.axisWidget(QwtPlot::yLeft)->styleSheet(), sheet);
        QCOMPARE(plot.canvasBackground().color(), QColor(Qt::white));
        QCOMPARE(plot.axisWidget(QwtPlot::yLeft)->cursor().shape(), Qt::ArrowCursor);
        QVERIFY(!plot.autoReplot());
    }

    void relaysPannerSignals()
    {
        TestPlot plot;
        QSignalSpy labels(&plot, &PriceBased2dPlot::updateAxisLabels);
        QSignalSpy autoScale(&plot, qOverload<bool>(&PriceBased2dPlot::autoScaleEnabled));

        Q_EMIT plot.panner()->updateLabels();
        QCOMPARE(labels.count(), 1);
        QCOMPARE(autoScale.count(), 0);

        Q_EMIT plot.panner()->autoScaleEnabled(false);
        QCOMPARE(autoScale.count(), 1);
        QCOMPARE(autoScale.at(0).at(0).toBool(), false);
        QCOMPARE(labels.count(), 1);
        // Relaying does not touch the flag: only listeners switch it.
        QVERIFY(plot.autoScaleEnabled());
        plot.setAutoScaleEnabled(false);
        QVERIFY(!plot.panner()->autoScaleEnabled());
    }

    void labelsAreUpdatedOnFirstAxisPaint()
    {
        TestPlot plot;
        PriceBased2dPlotScaleDraw* draw = plot.xScaleDraw();
        QVERIFY(!draw->axisPainted());
        plot.show();
        QVERIFY(QTest::qWaitForWindowExposed(&plot));
        QTRY_VERIFY(draw->axisPainted());

        // Paints of other widgets do not trip the flag; the axis does once it is cleared again.
        draw->setAxisPainted(false);
        plot.axisWidget(QwtPlot::yLeft)->repaint();
        QVERIFY(!draw->axisPainted());
        plot.axisWidget(QwtPlot::xBottom)->repaint();
        QVERIFY(draw->axisPainted());
    }

    void canvasObserversConfigurePicker()
    {
        TestPlot plot;
        auto* picker = PlotFixture::attachPicker(&plot);
        picker->setTrackerPen(QPen(Qt::green));
        plot.setCanvasObservers();
        QCOMPARE(picker->trackerMode(), QwtPicker::AlwaysOn);
        QCOMPARE(picker->rubberBand(), QwtPicker::CrossRubberBand);
        QCOMPARE(picker->trackerPen().color(), QColor(Qt::black));
        QCOMPARE(picker->rubberBandPen().color(), QColor(Qt::black));
        QCOMPARE(plot.panner()->cursor().shape(), Qt::ClosedHandCursor);

        plot.resetTrackerMode();
        QCOMPARE(picker->trackerMode(), QwtPicker::AlwaysOff);
        plot.setTrackerMode();
        QCOMPARE(picker->trackerMode(), QwtPicker::AlwaysOn);
    }
};

PLOT2D_TEST_MAIN(TestPlotConstruction)
#include "tst_plot_construction.moc"
