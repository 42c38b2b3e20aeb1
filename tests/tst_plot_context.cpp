#include "plotfixture.h"

#include <plot2d/dbcommon.h>
#include <plot2d/securitydirectory.h>

#include <QTemporaryDir>

#include <cmath>

using PlotFixture::row;

class TestPlotContext : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    static int isinOf(const Record& record)
    {
        return record.isNull() ? -1 : record.value(QStringLiteral("isin_id")).toInt();
    }

private Q_SLOTS:
    void cleanup() { TestSupport::clearData(); }

    void selectionStaysEitherOr()
    {
        QVERIFY(TestSupport::loadSampleData());
        TestPlot plot(false);

        plot.setBaseCode(QStringLiteral("BR"));
        plot.setIsinId(0);
        plot.setBoardId(-5);
        QCOMPARE(plot.baseCode(), QStringLiteral("BR"));
        QCOMPARE(isinOf(plot.getFuture()), 1001);

        plot.setIsinId(1002);
        QCOMPARE(plot.baseCode(), QString());
        QCOMPARE(plot.boardId(), -1);
        QVERIFY(plot.getFuture().isNull());
        plot.setBoardId(1);
        QCOMPARE(isinOf(plot.getFuture()), 1002);

        plot.setBaseCode(QString());
        QCOMPARE(plot.isinId(), 1002);
        plot.setBaseCode(QStringLiteral("BR"));
        QCOMPARE(plot.isinId(), -1);
        QCOMPARE(plot.boardId(), -1);

        // The virtual future ignores the plot's own selection.
        QCOMPARE(isinOf(plot.getVirtualFuture(1002, 1)), 1002);
        QVERIFY(plot.getVirtualFuture(0, 1).isNull());
        QVERIFY(plot.getVirtualFuture(1002, 0).isNull());
    }

    void nearestExpiringFuture()
    {
        // Key order is index order; every row but 5 and 6 is disqualified or expires later.
        const QByteArray rows = row({{"sec_id", "1"}, {"isin_id", "1"}, {"expdate", "2026-01-01"}, {"board_id", "2"}})
                                + row({{"sec_id", "2"}, {"isin_id", "2"}, {"expdate", "2026-01-02"}, {"sess_id", "0"}})
                                + row({{"sec_id", "3"}, {"isin_id", "3"}, {"expdate", "2026-01-03"}, {"sectype", "O"}})
                                + row({{"sec_id", "4"}, {"isin_id", "4"}, {"expdate", "2026-01-04"}, {"base_code", "br"}})
                                + row({{"sec_id", "5"}, {"isin_id", "5"}, {"expdate", "2026-03-01"}})
                                + row({{"sec_id", "6"}, {"isin_id", "6"}, {"expdate", "2026-03-01"}})
                                + row({{"sec_id", "7"}, {"isin_id", "7"}, {"expdate", "2026-06-01"}});
        QVERIFY(PlotFixture::load(m_dir, rows));
        TestPlot plot(false);
        QVERIFY(plot.getMinimumDateExerciseFuture().isNull());
        plot.setBaseCode(QStringLiteral("BR"));
        QCOMPARE(isinOf(plot.getMinimumDateExerciseFuture()), 5);
        QCOMPARE(isinOf(plot.getFuture()), 5);
        plot.setBaseCode(QStringLiteral("SI"));
        QVERIFY(plot.getFuture().isNull());
    }

    void quoteOrder_data()
    {
        QTest::addColumn<QByteArray>("real");
        QTest::addColumn<QByteArray>("cur");
        QTest::addColumn<QByteArray>("old");
        QTest::addColumn<double>("min");
        QTest::addColumn<double>("max");
        QTest::addColumn<QString>("expected");

        QTest::newRow("real first") << QByteArray("74.5") << QByteArray("74.35") << QByteArray("74.1") << 50.0 << 100.0
                                    << "74.50000";
        QTest::newRow("a present zero counts") << QByteArray("0") << QByteArray("74.35") << QByteArray() << 50.0
                                               << 100.0 << "0.00000";
        QTest::newRow("then current") << QByteArray() << QByteArray("74.35") << QByteArray("74.1") << 50.0 << 100.0
                                      << "74.35000";
        QTest::newRow("then old") << QByteArray() << QByteArray() << QByteArray("74.1") << 50.0 << 100.0
                                  << "74.10000";
        QTest::newRow("then the middle") << QByteArray() << QByteArray() << QByteArray() << 100.0 << 110.0
                                         << "105.00000";
        QTest::newRow("empty interval") << QByteArray("74.5") << QByteArray() << QByteArray() << 1.0 << -1.0 << "0";
        QTest::newRow("degenerate interval") << QByteArray("74.5") << QByteArray() << QByteArray() << 80.0 << 80.0
                                             << "0";
    }

    void quoteOrder()
    {
        QFETCH(QByteArray, real);
        QFETCH(QByteArray, cur);
        QFETCH(QByteArray, old);
        QFETCH(double, min);
        QFETCH(double, max);
        QFETCH(QString, expected);
        QVERIFY(PlotFixture::load(
            m_dir, row({{"sec_id", "1"}, {"isin_id", "1"}, {"cur_kotir_real", real}, {"cur_kotir", cur}, {"old_kotir", old}})));
        TestPlot plot(false);
        PriceInterval interval;
        interval.min = min;
        interval.max = max;
        plot.setPriceInterval(interval);
        QCOMPARE(plot.priceInterval(), interval);

        const decimal kotir = plot.getKotirFromFutureRecord(SecurityDirectory::i()->recordByIsinId(1, 1));
        if (expected == QLatin1String("0"))
            QVERIFY(kotir.isZero());
        else
            QCOMPARE(kotir.toString(), expected);
        QVERIFY(plot.getKotirFromFutureRecord(Record()).isZero());
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
        QTest::newRow("ordered") << QByteArray("F") << QByteArray("0.25") << QByteArray("0.45") << 0.25 << 0.45;
        QTest::newRow("inverted within defaults swaps") << QByteArray("F") << QByteArray("0.3") << QByteArray("0.2")
                                                        << 0.2 << 0.3;
        QTest::newRow("high below default min keeps") << QByteArray("F") << QByteArray("0.3")
                                                      << QByteArray("0.001") << 0.3 << 0.3;
        QTest::newRow("low above default max keeps") << QByteArray("F") << QByteArray("5") << QByteArray("0.3") << 5.0
                                                     << 5.0;
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
        QVERIFY(PlotFixture::load(m_dir, row({{"sec_id", "1"}, {"isin_id", "1"}, {"sectype", sectype},
                                              {"volat_min", low}, {"volat_max", high}})));
        TestPlot plot(false);
        const std::pair<double, double> bounds = plot.volatMinMax(SecurityDirectory::i()->recordByIsinId(1, 1));
        QCOMPARE(bounds.first, expectedLow);
        QCOMPARE(bounds.second, expectedHigh);
    }

    void volatilityOfForeignRecords()
    {
        QVERIFY(TestSupport::loadSampleData());
        TestPlot plot(false);
        Table* boards = ICore::instance()->dataStore()->table(QStringLiteral("boards"));
        const std::pair<double, double> defaults(gc_dVolatMinDefault, gc_dVolatMaxDefault);
        QCOMPARE(plot.volatMinMax(boards->masterIndex().first()), defaults);
        QCOMPARE(plot.volatMinMax(Record()), defaults);
    }
};

PLOT2D_TEST_MAIN(TestPlotContext)
#include "tst_plot_context.moc"
