#include "testsupport.h"

#include <plot2d/platform.h>
#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotlegend.h>
#include <plot2d/pricebased2dplotscaledraw.h>
#include <plot2d/pricebased2dplotscaleengine.h>

#include <QDataStream>
#include <QImage>
#include <QPainter>
#include <QSignalSpy>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

// Inputs the fuzzers found, replayed through the public API so that they stay fixed.
class TestRegressionFuzz : public QObject
{
    Q_OBJECT

private:
    static QByteArray legendValue(qint32 count, const QByteArray& records)
    {
        QByteArray value;
        QDataStream out(&value, QIODevice::WriteOnly);
        out << qint32(1) << qint32(5) << count;
        value.append(records);
        return value;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QString error;
        QVERIFY2(TestSupport::loadSampleData(&error), qPrintable(error));
    }
    void cleanupTestCase() { TestSupport::clearData(); }

    // A saved legend value that announces far more records than it holds: the records after the
    // end of the data read as invalid, and restoring must neither hang nor change any row.
    void legendRestoreWithHugeCount()
    {
        TestPlot plot(true);
        plot.setIsinId(1001);
        auto* curve = new PriceBased2dPlotCurve(&plot, QStringLiteral("Delta"));
        curve->setDataType(9);
        curve->setPen(QPen(Qt::blue));
        curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
        curve->setSamples(QVector<QPointF>{{60.0, 1.0}, {90.0, 2.0}});
        curve->attach(&plot);
        auto* legend = new PriceBased2dPlotLegend(&plot);
        legend->initCore();
        plot.insertLegend(legend);
        QSignalSpy visibility(legend, &PriceBased2dPlotLegend::visibilityChanged);

        QByteArray hiddenDelta;
        QDataStream records(&hiddenDelta, QIODevice::WriteOnly);
        records << true << false << qint32(9);
        Settings settings;
        settings.setValue(QStringLiteral("legendItemKeys"),
                          legendValue(std::numeric_limits<qint32>::max(), hiddenDelta));
        legend->restore(settings);

        bool found = false;
        QVERIFY(!legend->isCheckBoxChecked(QStringLiteral("Delta"), &found));
        QVERIFY(found);
        QCOMPARE(visibility.count(), 1);
    }

    // A non-finite step reached Qwt's tick builder, which then grew a tick list without end.
    void nonFiniteStepIsRefused()
    {
        TestPlot plot(true);
        plot.resize(480, 320);
        for (int axis : {int(QwtPlot::xBottom), int(QwtPlot::yLeft)}) {
            plot.setAxisScale(axis, 10.0, 20.0);
            plot.replot();
            for (double step : {qInf(), -qInf(), qQNaN()}) {
                plot.setAxisScale(axis, 0.0, 1.0, step);
                plot.replot();
                QCOMPARE(plot.axisInterval(axis).minValue(), 10.0);
                QCOMPARE(plot.axisInterval(axis).maxValue(), 20.0);
            }
        }
    }
    // The price axis engine called directly with a NaN step or bound: Qwt's minor tick loop ran on
    // until memory ran out. Nothing can be divided, so the division is empty.
    void engineRefusesNonFiniteDivision()
    {
        TestPlot plot(true);
        PriceBased2dPlotScaleEngine* engine = plot.scaleEngine();
        for (double bad : {qQNaN(), qInf(), -qInf()}) {
            QVERIFY(engine->divideScale(1e-284, 5e-305, 5, 5, bad).isEmpty());
            QVERIFY(engine->divideScale(bad, 10.0, 5, 5).isEmpty());
            QVERIFY(engine->divideScale(0.0, bad, 5, 5).isEmpty());
        }
        QCOMPARE(engine->divideScale(0.0, 10.0, 5, 5).interval(), QwtInterval(0.0, 10.0));
    }

    // A price range a few denormals wide is not fuzzy-flat, but Qwt cannot divide it and would
    // leave the axis empty after the next replot.
    void denormalXRangeIsRefused()
    {
        TestPlot plot(true);
        plot.resize(480, 320);
        plot.setAxisScale(QwtPlot::xBottom, 10.0, 20.0);
        plot.replot();
        plot.setAxisScale(QwtPlot::xBottom, 8.1333e-320, 8.1363e-320);
        plot.replot();
        QCOMPARE(plot.axisInterval(QwtPlot::xBottom).minValue(), 10.0);
        QCOMPARE(plot.axisInterval(QwtPlot::xBottom).maxValue(), 20.0);
    }

    // A price step a millionth of the range gave 10000 major ticks, and merging the medium ticks
    // compared every pair (a paint took over 20 s under the sanitizers). The merge must still drop
    // exactly the medium ticks that are fuzzy equal to a major one, at any magnitude.
    void manyTicksMergeAsPairwise()
    {
        QList<double> majors;
        QList<double> mediums;
        for (int i = 0; i < 10000; ++i) {
            const double major = (i - 5000) * 1e-3 * (i % 3 == 0 ? 1e-300 : 1.0);
            majors.append(major);
            mediums.append(major * (1.0 + 1e-13)); // fuzzy equal to its major
            mediums.append(major + 5e-4);          // between two majors
        }
        mediums.append(qQNaN());
        QList<double> lists[QwtScaleDiv::NTickTypes];
        lists[QwtScaleDiv::MajorTick] = majors;
        lists[QwtScaleDiv::MediumTick] = mediums;
        const QwtScaleDiv div(-10.0, 10.0, lists);

        QList<double> expected = majors;
        for (double medium : mediums) {
            if (std::none_of(majors.cbegin(), majors.cend(),
                             [medium](double major) { return commonFuzzyCompare(medium, major); }))
                expected.append(medium);
        }
        std::stable_sort(expected.begin(), expected.end());
        PriceBased2dPlotScaleDraw draw(QwtPlot::xBottom);
        const QList<double> ticks = draw.getTicks(div);
        QCOMPARE(ticks.size(), expected.size());
        for (int i = 0; i < ticks.size(); ++i)
            QVERIFY2(ticks[i] == expected[i] || (std::isnan(ticks[i]) && std::isnan(expected[i])),
                     qPrintable(QString::number(i)));
    }

    // A flat Y request at a magnitude where widening by one unit changes nothing used to reach
    // Qwt as a flat range, which left the axis empty ([0, 0]) after the next replot.
    void flatYRangeTooLargeToWiden()
    {
        TestPlot plot(true);
        plot.resize(480, 320);
        plot.setAxisScale(QwtPlot::yLeft, 10.0, 20.0);
        plot.replot();
        for (double value : {std::numeric_limits<double>::max(), 1e17, -1e300}) {
            plot.setAxisScale(QwtPlot::yLeft, value, value);
            plot.replot();
            QCOMPARE(plot.axisInterval(QwtPlot::yLeft).minValue(), 10.0);
            QCOMPARE(plot.axisInterval(QwtPlot::yLeft).maxValue(), 20.0);
        }
        plot.setAxisScale(QwtPlot::yLeft, 1e15, 1e15);
        plot.replot();
        QCOMPARE(plot.axisInterval(QwtPlot::yLeft).minValue(), 1e15 - 1.0);
        QCOMPARE(plot.axisInterval(QwtPlot::yLeft).maxValue(), 1e15 + 1.0);
    }

    // A quote from a broken feed, far outside the price axis but below the magnitude at which
    // labels give up: its label rectangle lies beyond int pixel range and must not overflow when
    // the labels are thinned (caught by UBSan in the sanitizer build).
    void quoteFarOutsideTheAxis_data()
    {
        QTest::addColumn<double>("quote");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("1e15 hidden") << 1e15 << false;
        QTest::newRow("1e15 shown") << 1e15 << true;
        QTest::newRow("-1e15 hidden") << -1e15 << false;
        QTest::newRow("just below 1e16") << 9.999999999999998e15 << true;
        QTest::newRow("1e16") << 1e16 << true;
    }
    void quoteFarOutsideTheAxis()
    {
        QFETCH(double, quote);
        QFETCH(bool, enabled);
        TestPlot plot(true);
        plot.setIsinId(1001);
        plot.resize(480, 320);
        plot.setAxisScale(QwtPlot::xBottom, 55.0, 95.0);
        plot.setCurKotirValue(quote);
        plot.setCurKotirEnabled(enabled);
        plot.replot();
        plot.updateAxisWidgets();

        QImage image(plot.size(), QImage::Format_RGB32);
        QPainter painter(&image);
        plot.render(&painter);
        const QwtInterval x = plot.axisInterval(QwtPlot::xBottom);
        QCOMPARE(x.minValue(), 55.0);
        QCOMPARE(x.maxValue(), 95.0);
        QVERIFY(!plot.xScaleDraw()->labels().isEmpty());
    }
};

PLOT2D_TEST_MAIN(TestRegressionFuzz)
#include "tst_regression_fuzz.moc"
