#include "plotfixture.h"

#include <plot2d/pricebased2dplotpanner.h>
#include <plot2d/pricebased2dplotscaledraw.h>

#include <qwt_scale_widget.h>

#include <QProcess>
#include <QSignalSpy>

class TestPlotConstruction : public QObject
{
    Q_OBJECT

public:
    TestPlotConstruction()
    {
        // The schema check is fatal, so it runs in a child of this binary: build a plot over a
        // broken schema, which must not return.
        const QStringList args = QCoreApplication::arguments();
        if (args.contains(QLatin1String("--no-bid-ask-child"))) {
            QTemporaryDir dir;
            PlotFixture::load(dir, PlotFixture::row({{"sec_id", "1"}}, {"bid", "ask"}), {"bid", "ask"});
            TestPlot plot(false);
            ::exit(0);
        }
        if (args.contains(QLatin1String("--no-table-child"))) {
            TestPlot plot(false);
            ::exit(0);
        }
    }

private Q_SLOTS:
    void cleanup() { TestSupport::clearData(); }

    void missingColumnsAreFatal_data()
    {
        QTest::addColumn<QString>("childArg");
        QTest::addColumn<QString>("positions");
        QString all;
        for (int i = 0; i < 21; ++i)
            all += QString::number(i) + QLatin1Char(' ');
        QTest::newRow("bid and ask") << "--no-bid-ask-child"
                                     << "13 14 ";
        QTest::newRow("no table") << "--no-table-child" << all;
    }

    void missingColumnsAreFatal()
    {
        QFETCH(QString, childArg);
        QFETCH(QString, positions);
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {childArg});
        QVERIFY(child.waitForFinished(60000));
        QVERIFY(child.exitStatus() == QProcess::CrashExit || child.exitCode() != 0);
        const QString err = QString::fromLatin1(child.readAllStandardError());
        QVERIFY2(
            err.contains(
                QStringLiteral("ASSERT failure in CHECK_COLUMNS_FUNC!\nUnsetted struct members found! "
                               "Members position: %1\nFile ../../../src/plot2d/pricebased2dplot, Line 1170")
                    .arg(positions)),
            qPrintable(err));
    }

    void setUpDecidesTheTools()
    {
        QVERIFY(TestSupport::loadSampleData());
        TestPlot bare(false);
        QVERIFY(!bare.panner() && !bare.xScaleDraw() && !bare.yScaleDraw() && !bare.scaleEngine());
        QVERIFY(!dynamic_cast<PriceBased2dPlotScaleDraw*>(bare.axisScaleDraw(QwtPlot::xBottom)));
        bare.show();
        QVERIFY(QTest::qWaitForWindowExposed(&bare));
        bare.axisWidget(QwtPlot::xBottom)->repaint(); // the filter has nothing to do
        QCOMPARE(bare.minimumSizeHint(), QSize(20, 20));

        TestPlot plot;
        QCOMPARE(plot.panner()->parent(), plot.canvas());
        QCOMPARE(plot.axisScaleDraw(QwtPlot::xBottom), plot.xScaleDraw());
        QCOMPARE(plot.axisScaleDraw(QwtPlot::yLeft), plot.yScaleDraw());
        QCOMPARE(plot.axisWidget(QwtPlot::yLeft)->styleSheet(),
                 QStringLiteral("QWidget { background-color: #ffffff }"));
        QVERIFY(plot.autoScaleEnabled());
        QVERIFY(!plot.autoReplot());

        // The panner's signals are relayed one to one; relaying does not switch the flag.
        QSignalSpy labels(&plot, &PriceBased2dPlot::updateAxisLabels);
        QSignalSpy autoScale(&plot, qOverload<bool>(&PriceBased2dPlot::autoScaleEnabled));
        Q_EMIT plot.panner()->updateLabels();
        Q_EMIT plot.panner()->autoScaleEnabled(false);
        QCOMPARE(labels.count(), 1);
        QCOMPARE(autoScale.count(), 1);
        QCOMPARE(autoScale.at(0).at(0).toBool(), false);
        QVERIFY(plot.autoScaleEnabled());
    }

    void labelsAreUpdatedOnFirstAxisPaint()
    {
        QVERIFY(TestSupport::loadSampleData());
        TestPlot plot;
        PriceBased2dPlotScaleDraw* draw = plot.xScaleDraw();
        QVERIFY(!draw->axisPainted());
        plot.show();
        QVERIFY(QTest::qWaitForWindowExposed(&plot));
        QTRY_VERIFY(draw->axisPainted());

        // Only a paint of the bottom axis trips the flag again once it is cleared.
        draw->setAxisPainted(false);
        plot.axisWidget(QwtPlot::yLeft)->repaint();
        QVERIFY(!draw->axisPainted());
        plot.axisWidget(QwtPlot::xBottom)->repaint();
        QVERIFY(draw->axisPainted());
    }
};

PLOT2D_TEST_MAIN(TestPlotConstruction)
#include "tst_plot_construction.moc"
