#include "plotfixture.h"

#include <plot2d/dbcommon.h>
#include <plot2d/securitydirectory.h>

using PlotFixture::row;

class TestPlotContext : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    static int isinOf(const Record& record)
    {
        return record.isNull() ? -1 : record.value(QStringLiteral("isin_id")).toInt();
    }

private Q_SLOTS:
    void cleanup() { TestSupport::clearData(); }

    void nearestExpiringFuture()
    {
        // Key order is index order. Rows 1 to 4 are disqualified (addressed board, expired session,
        // option, other base code); 5 and 6 tie and 5 comes first.
        const QByteArray rows =
            row({{"sec_id", "1"}, {"isin_id", "1"}, {"expdate", "2026-01-01"}, {"board_id", "2"}}) +
            row({{"sec_id", "2"}, {"isin_id", "2"}, {"expdate", "2026-01-02"}, {"sess_id", "0"}}) +
            row({{"sec_id", "3"}, {"isin_id", "3"}, {"expdate", "2026-01-03"}, {"sectype", "O"}}) +
            row({{"sec_id", "4"}, {"isin_id", "4"}, {"expdate", "2026-01-04"}, {"base_code", "br"}}) +
            row({{"sec_id", "5"}, {"isin_id", "5"}, {"expdate", "2026-03-01"}}) +
            row({{"sec_id", "6"}, {"isin_id", "6"}, {"expdate", "2026-03-01"}}) +
            row({{"sec_id", "7"}, {"isin_id", "7"}, {"expdate", "2026-06-01"}});
        QVERIFY(PlotFixture::load(m_dir, rows));
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

    void quoteOrder_data()
    {
        QTest::addColumn<QByteArray>("real");
        QTest::addColumn<QByteArray>("cur");
        QTest::addColumn<QByteArray>("old");
        QTest::addColumn<double>("min");
        QTest::addColumn<double>("max");
        QTest::addColumn<double>("expected");
        QTest::newRow("real") << QByteArray("74.5") << QByteArray("74.35") << QByteArray("74.1") << 50.0
                              << 100.0 << 74.5;
        QTest::newRow("present zero")
            << QByteArray("0") << QByteArray("74.35") << QByteArray() << 50.0 << 100.0 << 0.0;
        QTest::newRow("current") << QByteArray() << QByteArray("74.35") << QByteArray("74.1") << 50.0 << 100.0
                                 << 74.35;
        QTest::newRow("old") << QByteArray() << QByteArray() << QByteArray("74.1") << 50.0 << 100.0 << 74.1;
        QTest::newRow("middle") << QByteArray() << QByteArray() << QByteArray() << 100.0 << 110.0 << 105.0;
        QTest::newRow("empty interval")
            << QByteArray("74.5") << QByteArray() << QByteArray() << 1.0 << -1.0 << 0.0;
        QTest::newRow("flat interval")
            << QByteArray("74.5") << QByteArray() << QByteArray() << 80.0 << 80.0 << 0.0;
    }

    void quoteOrder()
    {
        QFETCH(QByteArray, real);
        QFETCH(QByteArray, cur);
        QFETCH(QByteArray, old);
        QFETCH(double, min);
        QFETCH(double, max);
        QFETCH(double, expected);
        QVERIFY(PlotFixture::load(m_dir, row({{"sec_id", "1"},
                                              {"isin_id", "1"},
                                              {"cur_kotir_real", real},
                                              {"cur_kotir", cur},
                                              {"old_kotir", old}})));
        TestPlot plot(false);
        PriceInterval interval;
        interval.min = min;
        interval.max = max;
        plot.setPriceInterval(interval);
        const decimal kotir = plot.getKotirFromFutureRecord(SecurityDirectory::i()->recordByIsinId(1, 1));
        QCOMPARE(kotir.toDouble(), expected);
    }

    void volatilityBounds_data()
    {
        QTest::addColumn<QByteArray>("sectype");
        QTest::addColumn<QByteArray>("low");
        QTest::addColumn<QByteArray>("high");
        QTest::addColumn<double>("expectedLow");
        QTest::addColumn<double>("expectedHigh");
        const double dMin = gc_dVolatMinDefault;
        const double dMax = gc_dVolatMaxDefault;
        QTest::newRow("option") << QByteArray("O") << QByteArray("0.3") << QByteArray("0.4") << dMin << dMax;
        QTest::newRow("inverted, swapped")
            << QByteArray("F") << QByteArray("0.3") << QByteArray("0.2") << 0.2 << 0.3;
        QTest::newRow("high below default")
            << QByteArray("F") << QByteArray("0.3") << QByteArray("0.001") << 0.3 << 0.3;
        QTest::newRow("low above default")
            << QByteArray("F") << QByteArray("5") << QByteArray("0.3") << 5.0 << 5.0;
        QTest::newRow("zero low") << QByteArray("F") << QByteArray("0") << QByteArray("0.45")
                                  << std::max(dMin, 0.00001) << 0.45;
        QTest::newRow("zero high") << QByteArray("F") << QByteArray("0.3") << QByteArray("0") << 0.3 << dMax;
    }

    void volatilityBounds()
    {
        QFETCH(QByteArray, sectype);
        QFETCH(QByteArray, low);
        QFETCH(QByteArray, high);
        QFETCH(double, expectedLow);
        QFETCH(double, expectedHigh);
        QVERIFY(PlotFixture::load(m_dir, row({{"sec_id", "1"},
                                              {"isin_id", "1"},
                                              {"sectype", sectype},
                                              {"volat_min", low},
                                              {"volat_max", high}})));
        TestPlot plot(false);
        const std::pair<double, double> bounds =
            plot.volatMinMax(SecurityDirectory::i()->recordByIsinId(1, 1));
        QCOMPARE(bounds.first, expectedLow);
        QCOMPARE(bounds.second, expectedHigh);
    }
};

PLOT2D_TEST_MAIN(TestPlotContext)
#include "tst_plot_context.moc"
