#include "testsupport.h"

#include <plot2d/dbcommon.h>
#include <plot2d/pricebased2dplotpanner.h>
#include <plot2d/pricebased2dplotscaledraw.h>
#include <plot2d/securitydirectory.h>

#include <qwt_scale_widget.h>

#include <QProcess>

using TestSupport::row;

class TestPlotContext : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

public:
    TestPlotContext()
    {
        // The schema check is fatal, so it runs in a child of this binary: build a plot over a
        // broken schema, which must not return.
        const QStringList args = QCoreApplication::arguments();
        if (args.contains(QLatin1String("--no-bid-ask-child"))) {
            QTemporaryDir dir;
            TestSupport::load(dir, TestSupport::row({{"sec_id", "1"}}, {"bid", "ask"}), {"bid", "ask"});
        }
        if (args.size() > 1 && args.at(1).endsWith(QLatin1String("-child"))) {
            TestPlot plot(false);
            ::exit(0);
        }
    }

private:
    static int isinOf(const Record& record)
    {
        return record.isNull() ? -1 : record.value(QStringLiteral("isin_id")).toInt();
    }

    // A futures record isin 1 with the given fields, as the plot reads it.
    Record future(const QMap<QByteArray, QByteArray>& fields)
    {
        QMap<QByteArray, QByteArray> values = fields;
        values.insert("sec_id", "1");
        values.insert("isin_id", "1");
        if (!TestSupport::load(m_dir, row(values)))
            return Record();
        return SecurityDirectory::i()->recordByIsinId(1, 1);
    }

private Q_SLOTS:
    void cleanup() { TestSupport::clearData(); }

    void missingColumnsAreFatal_data()
    {
        TestSupport::columns<QString, QString>({"childArg", "positions"});
        QTest::newRow("bid and ask") << "--no-bid-ask-child"
                                     << "13 14 ";
        QTest::newRow("no table") << "--no-table-child"
                                  << "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 ";
    }

    void missingColumnsAreFatal()
    {
        const auto [childArg, positions] = TestSupport::fetch<QString, QString>({"childArg", "positions"});
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

    // Without set-up the plot has no tools; with it the draws are on the axes.
    void setUpInstallsTools()
    {
        QVERIFY(TestSupport::loadSampleData());
        TestPlot bare(false);
        QVERIFY(!bare.panner() && !bare.xScaleDraw() && !bare.yScaleDraw() && !bare.scaleEngine());
        QVERIFY(TestSupport::show(&bare));
        bare.axisWidget(QwtPlot::xBottom)->repaint(); // the axis filter has nothing to do
        QCOMPARE(bare.minimumSizeHint(), QSize(20, 20));

        TestPlot plot;
        QCOMPARE(plot.axisScaleDraw(QwtPlot::yLeft), plot.yScaleDraw());

        // Only a paint of the bottom axis tells the draw that its labels were laid out.
        plot.show(); // at its default size, too small for all labels
        QVERIFY(QTest::qWaitForWindowExposed(&plot));
        QTRY_VERIFY(plot.xScaleDraw()->axisPainted());
        plot.xScaleDraw()->setAxisPainted(false);
        plot.axisWidget(QwtPlot::yLeft)->repaint();
        QVERIFY(!plot.xScaleDraw()->axisPainted());
        plot.axisWidget(QwtPlot::xBottom)->repaint();
        QVERIFY(plot.xScaleDraw()->axisPainted());
    }

    void baseCodeSelectsTheNearestExpiringFuture()
    {
        // Key order is index order. Rows 1 to 4 are disqualified (addressed board, expired session,
        // option, other base code); 5 and 6 tie and 5 comes first.
        QVERIFY(TestSupport::load(m_dir, row("sec_id=1 isin_id=1 expdate=2026-01-01 board_id=2") +
                                             row("sec_id=2 isin_id=2 expdate=2026-01-02 sess_id=0") +
                                             row("sec_id=3 isin_id=3 expdate=2026-01-03 sectype=O") +
                                             row("sec_id=4 isin_id=4 expdate=2026-01-04 base_code=br") +
                                             row("sec_id=5 isin_id=5 expdate=2026-03-01") +
                                             row("sec_id=6 isin_id=6 expdate=2026-03-01") +
                                             row("sec_id=7 isin_id=7 expdate=2026-06-01")));
        TestPlot plot(false);
        QVERIFY(plot.getFuture().isNull());
        plot.setBaseCode(QStringLiteral("BR"));
        QCOMPARE(isinOf(plot.getFuture()), 5);

        // Selecting an instrument clears the base code but needs a board as well.
        plot.setBoardId(-5);
        plot.setIsinId(7);
        QCOMPARE(plot.baseCode(), QString());
        QVERIFY(plot.getFuture().isNull());
        plot.setBoardId(1);
        QCOMPARE(isinOf(plot.getFuture()), 7);
    }

    void quoteIsRealThenCurrentThenOldThenMiddle_data()
    {
        TestSupport::columns<QByteArray, QByteArray, QByteArray, double, double, double>(
            {"real", "cur", "old", "min", "max", "expected"});
        const auto add = [](const char* tag, const char* real, const char* cur, const char* old, double min,
                            double max, double expected) {
            QTest::newRow(tag) << QByteArray(real) << QByteArray(cur) << QByteArray(old) << min << max
                               << expected;
        };
        add("real", "74.5", "74.35", "74.1", 50, 100, 74.5);
        add("present zero", "0", "74.35", "", 50, 100, 0);
        add("current", "", "74.35", "74.1", 50, 100, 74.35);
        add("old", "", "", "74.1", 50, 100, 74.1);
        add("middle", "", "", "", 100, 110, 105);
        add("empty interval", "74.5", "", "", 1, -1, 0);
    }

    void quoteIsRealThenCurrentThenOldThenMiddle()
    {
        const auto [real, cur, old, min, max, expected] =
            TestSupport::fetch<QByteArray, QByteArray, QByteArray, double, double, double>(
                {"real", "cur", "old", "min", "max", "expected"});
        const Record record = future({{"cur_kotir_real", real}, {"cur_kotir", cur}, {"old_kotir", old}});
        TestPlot plot(false);
        PriceInterval interval;
        interval.min = min;
        interval.max = max;
        plot.setPriceInterval(interval);
        QCOMPARE(plot.getKotirFromFutureRecord(record).toDouble(), expected);
    }

    void volatilityBoundsAreOrderedAndDefaulted_data()
    {
        TestSupport::columns<QByteArray, QByteArray, QByteArray, double, double>(
            {"sectype", "low", "high", "expectedLow", "expectedHigh"});
        const auto add = [](const char* tag, const char* type, const char* low, const char* high, double l,
                            double h) {
            QTest::newRow(tag) << QByteArray(type) << QByteArray(low) << QByteArray(high) << l << h;
        };
        add("option", "O", "0.3", "0.4", gc_dVolatMinDefault, gc_dVolatMaxDefault);
        add("inverted, swapped", "F", "0.3", "0.2", 0.2, 0.3);
        add("high below default", "F", "0.3", "0.001", 0.3, 0.3);
        add("low above default", "F", "5", "0.3", 5.0, 5.0);
        add("zero low", "F", "0", "0.45", std::max(gc_dVolatMinDefault, 0.00001), 0.45);
        add("zero high", "F", "0.3", "0", 0.3, gc_dVolatMaxDefault);
    }

    void volatilityBoundsAreOrderedAndDefaulted()
    {
        const auto [sectype, low, high, expectedLow, expectedHigh] =
            TestSupport::fetch<QByteArray, QByteArray, QByteArray, double, double>(
                {"sectype", "low", "high", "expectedLow", "expectedHigh"});
        const Record record = future({{"sectype", sectype}, {"volat_min", low}, {"volat_max", high}});
        TestPlot plot(false);
        QCOMPARE(plot.volatMinMax(record), std::make_pair(expectedLow, expectedHigh));
    }
};

PLOT2D_TEST_MAIN(TestPlotContext)
#include "tst_plot_context.moc"
