#include "testsupport.h"

#include <plot2d/platform.h>

#include <QSignalSpy>
#include <QTemporaryDir>

namespace {

const QByteArray s_header =
    "sec_id:2,sectype:5:1,base_code:5:20,strike:4:5,sess_id:1,board_id:1,fut_isin_id:1,"
    "expdate:6,option_type:5:1\n";

QList<double> strikes(const StrikeByBaseCodeModel& model)
{
    QList<double> result;
    for (int row = 0; row < model.rowCount(); ++row)
        result.append(model.strike(row).toDouble());
    return result;
}

} // namespace

class TestPlatformDirectories : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    Table* load(const QByteArray& rows, const QString& name = QStringLiteral("options"))
    {
        QString error;
        const QString path =
            TestSupport::writeFile(m_dir.path(), name + QStringLiteral(".csv"), s_header + rows);
        Table* table = ICore::instance()->dataStore()->loadCsv(name, path, &error);
        if (!table)
            qWarning("%s", qPrintable(error));
        return table;
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_dir.isValid()); }
    void cleanup() { TestSupport::clearData(); }

    void directoriesOverSampleData()
    {
        QString error;
        QVERIFY2(TestSupport::loadSampleData(&error), qPrintable(error));
        const Table* securities = ICore::instance()->dataStore()->table(QStringLiteral("securities"));
        QVERIFY(securities);
        QCOMPARE(securities->rowCount(), 3 + 41 * 2);

        const Record future = SecurityDirectory::i()->recordByIsinId(1001, 1);
        QVERIFY(future);
        QCOMPARE(future.value(QStringLiteral("sec_code")).toString(), QStringLiteral("BR-1.27"));
        QCOMPARE(securities->dataPtr(future, securities->columnIndex(QStringLiteral("cur_kotir"))).toDouble(),
                 74.35);
        QVERIFY(!SecurityDirectory::i()->recordByIsinId(1001, 2));
        QVERIFY(!SecurityDirectory::i()->recordByIsinId(4242, 1));
        QCOMPARE(SecurityDirectory::i()->decimalsById(1, 1, 1001), 2);
        QCOMPARE(SecurityDirectory::i()->decimalsById(1, 2, 1001), -1);
        QCOMPARE(SecurityDirectory::i()->decimalsById(1, 1, 4242), -1);

        QVERIFY(BoardDirectory::i()->isAnonymById(1, 1));
        QVERIFY(!BoardDirectory::i()->isAnonymById(1, 2));
        QVERIFY(!BoardDirectory::i()->isAnonymById(2, 1));

        // The directories look the tables up on each call: a cleared store knows nothing.
        TestSupport::clearData();
        QVERIFY(!SecurityDirectory::i()->recordByIsinId(1001, 1));
        QCOMPARE(SecurityDirectory::i()->decimalsById(1, 1, 1001), -1);
        QVERIFY(!BoardDirectory::i()->isAnonymById(1, 1));
        QVERIFY(TestSupport::loadSampleData());
        QVERIFY(SecurityDirectory::i()->recordByIsinId(1001, 1));
    }

    void decimalsOfPriceStep_data()
    {
        QTest::addColumn<QByteArray>("step");
        QTest::addColumn<int>("decimals");
        QTest::newRow("hundredth") << QByteArray("0.01") << 2;
        QTest::newRow("half") << QByteArray("0.5") << 1;
        QTest::newRow("ten") << QByteArray("10") << 0;
        QTest::newRow("trailing zeros written") << QByteArray("0.02500") << 3;
        QTest::newRow("finest") << QByteArray("0.00001") << 5;
        QTest::newRow("none") << QByteArray() << -1;
    }
    void decimalsOfPriceStep()
    {
        QFETCH(QByteArray, step);
        QFETCH(int, decimals);
        const QString path =
            TestSupport::writeFile(m_dir.path(), QStringLiteral("securities.csv"),
                                   "sec_id:2,stock_id:1,board_id:1,price_step:4:5\n7,1,3," + step + "\n");
        QVERIFY(ICore::instance()->dataStore()->loadCsv(QStringLiteral("securities"), path));
        QCOMPARE(SecurityDirectory::i()->decimalsById(1, 3, 7), decimals);
    }

    void sampleStrikes()
    {
        QVERIFY(TestSupport::loadSampleData());
        StrikeByBaseCodeModel model(ICore::instance()->dataStore()->table(QStringLiteral("securities")));
        QCOMPARE(model.rowCount(), 0);
        model.setBaseCode(QStringLiteral("BR"));
        QCOMPARE(model.rowCount(), 41);
        QCOMPARE(model.columnCount(), 1);
        QCOMPARE(model.strike(0), decimal(55, 0));
        QCOMPARE(model.strike(40), decimal(95, 0));
        QCOMPARE(model.strike(41), decimal::zero);
        QCOMPARE(model.minStep(), 1.0);
        QCOMPARE(model.data(model.index(3, 0)).toDouble(), 58.0);
        const Record option = model.record(model.index(3, 0));
        QVERIFY(option);
        QCOMPARE(option.value(QStringLiteral("sectype")).toString(), QStringLiteral("O"));
        QCOMPARE(option.value(QStringLiteral("strike")).value<decimal>(), decimal(58, 0));
        QVERIFY(!model.record(QModelIndex()));
    }

    void strikeModelFollowsTable()
    {
        Table* table = load("1,O,BR,100,5,1,9,2027-01-25,C\n"
                            "2,O,BR,110,5,1,9,2027-01-25,C\n"
                            "3,O,BR,120,5,1,9,2027-01-25,C\n"
                            "4,O,BR,130,0,1,9,2026-12-25,C\n" // expired series
                            "5,O,SI,105,5,1,9,2027-01-25,C\n" // another base code
                            "6,F,BR,,5,1,,2027-01-29,\n");
        QVERIFY(table);
        StrikeByBaseCodeModel model(table);
        model.setBaseCode(QStringLiteral("BR"));
        QCOMPARE(strikes(model), QList<double>({100, 110, 120}));
        QCOMPARE(model.minStep(), 10.0);
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);

        // A new strike arrives as one insertion at its place; a second option on a known strike
        // changes nothing.
        QVERIFY(load("7,O,BR,105,5,1,9,2027-01-25,P\n8,O,BR,110,5,1,9,2027-01-25,P\n"));
        QCOMPARE(strikes(model), QList<double>({100, 105, 110, 120}));
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(inserted.at(0).at(1).toInt(), 1);
        QCOMPARE(inserted.at(0).at(2).toInt(), 1);
        QCOMPARE(model.minStep(), 5.0);

        // Removing one of two options of a strike keeps it; removing the last one drops it.
        QVERIFY(table->removeByKey(2));
        QCOMPARE(removed.count(), 0);
        QCOMPARE(model.record(model.index(2, 0)).value(0).toLongLong(), 8LL);
        QVERIFY(table->removeByKey(8));
        QCOMPARE(removed.count(), 1);
        QCOMPARE(removed.at(0).at(1).toInt(), 2);
        QCOMPARE(strikes(model), QList<double>({100, 105, 120}));

        // A strike moving past others changes the order: a reset.
        QVERIFY(load("1,O,BR,125,5,1,9,2027-01-25,C\n"));
        QCOMPARE(strikes(model), QList<double>({105, 120, 125}));
        QCOMPARE(reset.count(), 1);
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(removed.count(), 1);

        model.sort(0, Qt::DescendingOrder);
        QCOMPARE(reset.count(), 2);
        QCOMPARE(strikes(model), QList<double>({125, 120, 105}));
        QCOMPARE(model.minStep(), 5.0);
        QVERIFY(load("9,O,BR,110,5,1,9,2027-01-25,C\n"));
        QCOMPARE(strikes(model), QList<double>({125, 120, 110, 105}));
        QCOMPARE(inserted.count(), 2);
        QCOMPARE(inserted.at(1).at(1).toInt(), 2);

        table->clear();
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(removed.count(), 2);
        QCOMPARE(model.minStep(), 0.0);
    }

    void modelSurvivesTableRemoval()
    {
        Table* table = load("1,O,BR,100,5,1,9,2027-01-25,C\n2,O,BR,110,5,1,9,2027-01-25,C\n");
        QVERIFY(table);
        StrikeByBaseCodeModel model(table);
        model.setBaseCode(QStringLiteral("BR"));
        QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
        TestSupport::clearData();
        QVERIFY(!model.table());
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(removed.count(), 1);
    }

    void maxSessionFilter_data()
    {
        QTest::addColumn<FilterParams>("filter");
        QTest::addColumn<QList<double>>("expected");
        QTest::addColumn<int>("newerSessionRows");
        FilterParams any;
        FilterParams board;
        board.boardId = 2;
        FilterParams future;
        future.futIsinId = 8;
        FilterParams expiry;
        expiry.expDate = 20270225;
        FilterParams puts;
        puts.optionType = 'P';
        FilterParams nothing;
        nothing.expDate = 20270125; // the older session's expiry
        QTest::newRow("no filter") << any << QList<double>({60, 65, 70, 75, 80}) << 1;
        QTest::newRow("board") << board << QList<double>({75, 80}) << 1;
        QTest::newRow("futures") << future << QList<double>({60, 65, 70}) << 1;
        QTest::newRow("expiry") << expiry << QList<double>({60, 65, 70, 75}) << 1;
        QTest::newRow("puts") << puts << QList<double>({65, 80}) << 1;
        QTest::newRow("older session only") << nothing << QList<double>() << 0;
    }
    void maxSessionFilter()
    {
        QFETCH(FilterParams, filter);
        QFETCH(QList<double>, expected);
        QFETCH(int, newerSessionRows);
        Table* table = load("1,O,BR,50,5,1,7,2027-01-25,C\n"
                            "2,O,BR,55,5,1,7,2027-01-25,P\n"
                            "3,O,BR,60,6,1,8,2027-02-25,C\n"
                            "4,O,BR,65,6,1,8,2027-02-25,P\n"
                            "5,O,BR,70,6,1,8,2027-02-25 18:50:00,C\n"
                            "6,O,BR,75,6,2,9,2027-02-25,C\n"
                            "7,O,BR,80,6,2,9,2027-03-25,P\n"
                            "8,O,SI,90,8,1,5,2027-02-25,C\n");
        QVERIFY(table);
        StrikeByMaxSessionModel model(table);
        model.setBaseCode(QStringLiteral("BR"));
        QCOMPARE(model.maxSession(), 6);
        model.setFilterParams(filter);
        QCOMPARE(model.filterParams(), filter);
        QCOMPARE(strikes(model), expected);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
        model.setFilterParams(filter);
        QCOMPARE(reset.count() + inserted.count() + removed.count(), 0);

        // A newer session replaces the strikes shown.
        QVERIFY(load("9,O,BR,100,7,1,8,2027-02-25,C\n10,O,BR,100,7,2,9,2027-02-25,P\n"));
        QCOMPARE(model.maxSession(), 7);
        QCOMPARE(model.rowCount(), newerSessionRows);
    }

    void queuedConnectionsCarryPlatformTypes()
    {
        QVERIFY(QMetaType::type("FilterParams") != QMetaType::UnknownType);
        QVERIFY(QMetaType::type("decimal") != QMetaType::UnknownType);
        Table* table = load("1,O,BR,100,5,1,9,2027-01-25,C\n");
        QVERIFY(table);
        QList<Record> received;
        connect(
            table, &Table::rowsInserted, this, [&received](const QList<Record>& rows) { received = rows; },
            Qt::QueuedConnection);
        QVERIFY(load("2,O,BR,110,5,1,9,2027-01-25,C\n"));
        QVERIFY(received.isEmpty());
        QTRY_COMPARE(received.size(), 1);
        QCOMPARE(received.at(0).value(0).toLongLong(), 2LL);
    }
};

PLOT2D_TEST_MAIN(TestPlatformDirectories)
#include "tst_platform_directories.moc"
