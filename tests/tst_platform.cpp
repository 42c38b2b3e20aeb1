#include "testsupport.h"

#include <functional>
#include <limits>

using Conversion = std::function<QVariant(const Field&)>;
Q_DECLARE_METATYPE(Conversion)

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

// One row as the table reads it, cells separated by '|'.
QString cells(const Table* table, const Record& row)
{
    QStringList result;
    for (int column = 0; column < table->columnCount(); ++column) {
        bool has = false;
        const Field field = table->dataPtr(row, column, &has);
        result.append(has ? field.toString() : QStringLiteral("<null>"));
    }
    return result.join(QLatin1Char('|'));
}

// Every row in master-index order, for before/after comparisons; a failed load dumps as one marker.
QStringList dump(const Table* table)
{
    if (!table)
        return {QStringLiteral("<no table>")};
    QStringList lines;
    for (const Record& row : table->masterIndex())
        lines.append(cells(table, row));
    return lines;
}

QStringList keys(const QList<Record>& rows)
{
    QStringList result;
    for (const Record& row : rows)
        result.append(row.value(0).toString());
    return result;
}

// The keys of every row announced by the spied signal, over all its emissions.
QStringList announcedKeys(const QSignalSpy& spy)
{
    QStringList result;
    for (const QList<QVariant>& emission : spy)
        result += keys(emission.at(0).value<QList<Record>>());
    return result;
}

// datetime's reading of `text` as QDateTime gives it: the first of the accepted forms that matches,
// its wall-clock time taken as UTC.
QPair<bool, qint64> qtDatetime(const QString& text)
{
    for (const char* format :
         {"yyyy.MM.dd HH:mm:ss.zzz", "yyyy-MM-dd HH:mm:ss", "yyyy.MM.dd", "yyyy-MM-dd"}) {
        QDateTime parsed = QDateTime::fromString(text, QLatin1String(format));
        if (parsed.isValid()) {
            parsed.setTimeSpec(Qt::UTC);
            return {true, parsed.toMSecsSinceEpoch()};
        }
    }
    QDateTime invalid;
    invalid.setTimeSpec(Qt::UTC);
    return {false, invalid.toMSecsSinceEpoch()};
}

const QByteArray s_quotes = "key:2,name:5:12,price:4:2,moment:6\n"
                            "30,c,1.5,2024-01-03\n"
                            "10,a,0.25,2024.01.01 09:00:00.000\n"
                            "20,\"b, quoted\",,2024-01-02 10:00:00\n";

} // namespace

class TestPlatform : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    DataStore* store() const { return ICore::instance()->dataStore(); }

    Table* load(const QByteArray& content, const QString& name = QStringLiteral("quotes"))
    {
        return TestSupport::loadTable(m_dir, name, content);
    }
    // One row per key; every column holds the same kind of value in every row it is not null.
    Field value(qint64 key, const char* column)
    {
        Table* table = store()->table(QStringLiteral("values"));
        if (!table)
            table = load("key:2,i32:1,i64:2,real:3,dec:4:3,text:5:40,moment:6,boards:7\n"
                         "1,7,5000000000,2.5,12.345,2024-03-15,2024-03-15 10:30:00,1;2\n"
                         "2,-7,-5000000000,-0.5,-0.010,2024.03.15 10:30:00.250,,\n"
                         "3,,,,,,,\n",
                         QStringLiteral("values"));
        return table->dataPtr(table->find(key), table->columnIndex(QLatin1String(column)));
    }
    Table* loadOptions(const QByteArray& rows)
    {
        return TestSupport::loadTable(m_dir, QStringLiteral("options"), s_header + rows);
    }

private Q_SLOTS:
    void cleanup() { TestSupport::clearData(); }

    void loadCsvReadsTypedCellsAndNulls()
    {
        QSignalSpy added(store(), &DataStore::tableAdded);
        Table* table = load(s_quotes);
        QCOMPARE(added.count(), 1);
        QCOMPARE(dump(table), QStringList({"10|a|0.25|2024-01-01 09:00:00.000",
                                           "20|b, quoted|<null>|2024-01-02 10:00:00.000",
                                           "30|c|1.50|2024-01-03 00:00:00.000"}));
        // A quoted empty cell is an empty text, an unquoted one a null field.
        QCOMPARE(dump(load("key:1,t:5:4\n1,\"\"\n2,\n3,\"a\"\"b\"\n", QStringLiteral("empty"))),
                 QStringList({"1|", "2|<null>", "3|a\"b"}));
        // A byte-order mark, CRLF line ends and blank lines; only the file's first mark is dropped.
        QCOMPARE(dump(load("\xEF\xBB\xBFkey:5:4,t:5:4\r\n\r\n  \r\n2,b\r\n\xEF\xBB\xBF"
                           "3,c\r\n1,a",
                           QStringLiteral("windows"))),
                 QStringList({"1|a", "2|b", QStringLiteral("\uFEFF3|c")}));

        QString error;
        const QString absent = m_dir.filePath(QStringLiteral("absent.csv"));
        QVERIFY(!store()->loadCsv(QStringLiteral("absent"), absent, &error));
        QVERIFY2(error.startsWith(absent + QStringLiteral(":1:1: ")), qPrintable(error));
    }

    void loadCsvErrorsChangeNothing_data()
    {
        // A row replacing key 10 precedes the faulty line: a late error must not have applied it.
        const QByteArray head = "key:2,name:5:12,price:4:2,moment:6\n10,changed,9.99,\n";
        TestSupport::columns<QByteArray, QString, bool>({"content", "position", "failsForNewName"});
        QTest::newRow("bad header") << QByteArray("key:2,name\n1,a\n") << ":1:2: " << true;
        QTest::newRow("duplicate column") << QByteArray("key:2,a:1,a:1\n") << ":1:3: " << true;
        QTest::newRow("columns differ")
            << QByteArray("key:2,name:5:12,price:4:3,moment:6\n10,x,1,\n") << ":1:3: " << false;
        QTest::newRow("too few cells") << QByteArray(head + "\n40,d,1\n") << ":4:4: " << true;
        QTest::newRow("bad datetime") << QByteArray(head + "40,d,1,03.01.2024\n") << ":3:4: " << true;
        QTest::newRow("text too long") << QByteArray(head + "40,thirteen char,1,\n") << ":3:2: " << true;
        QTest::newRow("bad key") << QByteArray(head + "4x,d,1,\n") << ":3:1: " << true;
        QTest::newRow("unterminated quote") << QByteArray(head + "40,\"d,1,\n") << ":3:2: " << true;
        QTest::newRow("malformed line after a bad cell")
            << QByteArray(head + "40,d,x,\n41,\"e\n") << ":4:2: " << true;
        QTest::newRow("repeated key, written differently")
            << QByteArray(head + "40,d,1,\n0010,e,2,\n") << ":4:1: the key \"10\" is already on line 2"
            << true;
        QTest::newRow("NaN key, which equals every key")
            << QByteArray("key:3,v:1\n1,1\nnan,2\n") << ":1:1: " << true;
        QTest::newRow("huge cell cut") << QByteArray(head + "40,d," + QByteArray(2000000, '9') + ",\n")
                                       << ":3:3: \"" + QString(40, QLatin1Char('9')) +
                                              "...\" (2000000 characters) is not a valid decimal"
                                       << true;
    }
    void loadCsvErrorsChangeNothing()
    {
        const auto [content, position, failsForNewName] =
            TestSupport::fetch<QByteArray, QString, bool>({"content", "position", "failsForNewName"});
        Table* table = load(s_quotes);
        QVERIFY(table);
        const QStringList before = dump(table);
        QSignalSpy inserted(table, &Table::rowsInserted);
        QSignalSpy changed(table, &Table::rowsChanged);
        QSignalSpy added(store(), &DataStore::tableAdded);

        const QString path = TestSupport::writeFile(m_dir.path(), QStringLiteral("bad.csv"), content);
        QString error;
        QVERIFY(!store()->loadCsv(QStringLiteral("quotes"), path, &error));
        QVERIFY2(error.startsWith(path + position), qPrintable(error.left(200)));
        QCOMPARE(dump(table), before);
        QCOMPARE(inserted.count() + changed.count() + added.count(), 0);

        QCOMPARE(store()->loadCsv(QStringLiteral("fresh"), path) == nullptr, failsForNewName);
        QCOMPARE(store()->tableNames().contains(QStringLiteral("fresh")), !failsForNewName);
    }

    // Every change is announced once per kind, with the rows it touched.
    void tableAnnouncesEveryChangeOnce()
    {
        Table* table = load(s_quotes);
        QVERIFY(table);
        const Record handle = table->find(20);
        QSignalSpy inserted(table, &Table::rowsInserted);
        QSignalSpy changed(table, &Table::rowsChanged);
        QSignalSpy removed(table, &Table::rowsRemoved);

        // A reload replaces rows in place: a handle taken before sees the new values, nulls included.
        QVERIFY(load("key:2,name:5:12,price:4:2,moment:6\n20,b2,7.25,\n50,z,,\n"));
        QCOMPARE(announcedKeys(inserted), QStringList({"50"}));
        QCOMPARE(announcedKeys(changed), QStringList({"20"}));
        QCOMPARE((QList<int>{inserted.count(), changed.count(), removed.count()}), (QList<int>{1, 1, 0}));
        QCOMPARE(cells(table, handle), QStringLiteral("20|b2|7.25|<null>"));

        Record fresh = table->newRecord();
        QVERIFY(fresh.setValue(QStringLiteral("key"), 15) && fresh.setValue(1, QStringLiteral("n")));
        QVERIFY(!fresh.setValue(QStringLiteral("name"), QStringLiteral("much too long")));
        QVERIFY(!fresh.setValue(QStringLiteral("price"), QStringLiteral("abc")));
        const Record stored = table->insert(fresh);
        QCOMPARE(keys(table->masterIndex()), QStringList({"10", "15", "20", "30", "50"}));
        // Stored rows change only through insert, so that every change is announced.
        QVERIFY(!Record(stored).setValue(1, QStringLiteral("m")));

        QVERIFY(table->insert(table->newRecord()).isNull()); // no key
        Table other(QStringLiteral("other"), table->fieldDefs());
        Record foreign = other.newRecord();
        foreign.setValue(0, 99);
        QVERIFY(table->insert(foreign).isNull());
        QCOMPARE(inserted.count(), 2); // the refused records announced nothing

        QVERIFY(table->remove(stored));
        QVERIFY(!stored.isAttached());
        QVERIFY(!table->removeByKey(15));
        QVERIFY(table->removeByKey(30));
        QCOMPARE(announcedKeys(removed), QStringList({"15", "30"}));
        QCOMPARE(keys(table->masterIndex()), QStringList({"10", "20", "50"}));

        // Fields of another table's record, or of unknown columns, are invalid.
        bool has = true;
        QVERIFY(!table->dataPtr(foreign, 0, &has).isValid());
        QVERIFY(!has);
    }

    // A batch is merged in one pass; inserting its records one at a time is the reference.
    void batchInsertMatchesOneByOne_data()
    {
        QTest::addColumn<QString>("keyType");
        QTest::newRow("integer key") << "2";
        QTest::newRow("text key") << "5:6";
        QTest::newRow("decimal key") << "4:1";
    }
    void batchInsertMatchesOneByOne()
    {
        QFETCH(QString, keyType);
        const QVector<FieldDef> columns = {
            {keyType.section(':', 0, 0).toInt(), keyType.section(':', 1).toInt(), "k"},
            {FieldsTypes::Integer, 0, "v"}};
        Table batch(QStringLiteral("batch"), columns);
        Table single(QStringLiteral("single"), columns);
        QRandomGenerator random(20261124);
        for (int round = 0; round < 4; ++round) {
            // Keys from a small range, so that a batch repeats its own keys and the stored ones.
            QList<Record> batchRecords, singleRecords;
            for (int i = 0; i < 300; ++i) {
                const int key = random.bounded(400) - (round == 0 ? 0 : 200);
                const bool keyless = random.bounded(50) == 0;
                for (Table* table : {&batch, &single}) {
                    Record record = table->newRecord();
                    if (!keyless)
                        record.setValue(0, QString::number(key));
                    record.setValue(1, round * 1000 + i);
                    (table == &batch ? batchRecords : singleRecords).append(record);
                }
            }
            QSignalSpy batchInserted(&batch, &Table::rowsInserted);
            QSignalSpy batchChanged(&batch, &Table::rowsChanged);
            QSignalSpy singleInserted(&single, &Table::rowsInserted);
            QSignalSpy singleChanged(&single, &Table::rowsChanged);
            const QList<Record> batchStored = batch.insert(batchRecords);
            QList<Record> singleStored;
            for (const Record& record : qAsConst(singleRecords))
                singleStored << single.insert(record);
            QCOMPARE(batchInserted.count(), 1);
            QCOMPARE(batchChanged.count(), 1);
            QCOMPARE(announcedKeys(batchInserted), announcedKeys(singleInserted));
            QCOMPARE(announcedKeys(batchChanged), announcedKeys(singleChanged));
            QCOMPARE(keys(batchStored), keys(singleStored));
            QCOMPARE(dump(&batch), dump(&single));
        }
    }

    void datetimeTextAsQtReadsIt()
    {
        // Edges of the canonical forms and look-alikes that QDateTime reads or refuses in its own way.
        QStringList texts = QStringLiteral("0001-01-01|0000-01-01|+024-01-05|2024-1-05|1600-02-29|1700-02-29|"
                                           "2000-02-29|2100-02-29|9999-12-31 23:59:59|2024.01.05 10:11:12.05|"
                                           "2024-01-05 10:11:12.000|2024.01.05-10:11:12.000|2024-01.05|"
                                           "\uFF12\uFF10\uFF12\uFF14-01-05|15.03.2024|2024-03-15 10:30|")
                                .split(QLatin1Char('|'));
        QRandomGenerator random(7);
        const auto two = [&](int limit) {
            return QString::number(random.bounded(limit)).rightJustified(2, '0');
        };
        for (int i = 0; i < 3000; ++i) {
            const QString date = QString::number(random.bounded(1, 10000)).rightJustified(4, '0') +
                                 (i % 2 ? "." : "-") + two(14) + (i % 2 ? "." : "-") + two(33);
            const QString time = two(25) + ":" + two(61) + ":" + two(61);
            const QString millis = QString::number(random.bounded(1000)).rightJustified(3, '0');
            texts << date << date + " " + time << date + " " + time + "." + millis;
        }
        for (const QString& text : qAsConst(texts)) {
            const QPair<bool, qint64> expected = qtDatetime(text);
            QCOMPARE(datetime::isValidText(text), expected.first);
            QVERIFY2(datetime(text).toMSecsSinceEpoch() == expected.second, qPrintable(text));
        }
    }

    void directoriesLookTheTablesUpOnEachCall()
    {
        QString error;
        QVERIFY2(TestSupport::loadSampleData(&error), qPrintable(error));
        const Record future = SecurityDirectory::i()->recordByIsinId(1001, 1);
        QCOMPARE(future.value(QStringLiteral("sec_code")).toString(), QStringLiteral("BR-1.27"));
        QVERIFY(!SecurityDirectory::i()->recordByIsinId(1001, 2));
        QVERIFY(!SecurityDirectory::i()->recordByIsinId(4242, 1));
        QCOMPARE(SecurityDirectory::i()->decimalsById(1, 2, 1001), -1);

        QVERIFY(BoardDirectory::i()->isAnonymById(1, 1));
        QVERIFY(!BoardDirectory::i()->isAnonymById(1, 2));

        // The directories look the tables up on each call: a cleared store knows nothing.
        TestSupport::clearData();
        QVERIFY(!SecurityDirectory::i()->recordByIsinId(1001, 1));
        QCOMPARE(SecurityDirectory::i()->decimalsById(1, 1, 1001), -1);
        QVERIFY(!BoardDirectory::i()->isAnonymById(1, 1));
    }

    void strikeModelFollowsTableChangesInPlace()
    {
        Table* table = loadOptions("1,O,BR,100,5,1,9,2027-01-25,C\n"
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
        const auto counts = [&] { return QList<int>{inserted.count(), removed.count(), reset.count()}; };

        // A new strike arrives as one insertion at its place; a second option on a known strike
        // changes nothing.
        QVERIFY(loadOptions("7,O,BR,105,5,1,9,2027-01-25,P\n8,O,BR,110,5,1,9,2027-01-25,P\n"));
        QCOMPARE(strikes(model), QList<double>({100, 105, 110, 120}));
        QCOMPARE(counts(), (QList<int>{1, 0, 0}));
        QCOMPARE(inserted.at(0).mid(1), (QVariantList{1, 1}));
        QCOMPARE(model.minStep(), 5.0);

        // Removing one of two options of a strike keeps it; removing the last one drops it.
        QVERIFY(table->removeByKey(2));
        QCOMPARE(model.record(model.index(2, 0)).value(0).toLongLong(), 8LL);
        QVERIFY(table->removeByKey(8));
        QCOMPARE(counts(), (QList<int>{1, 1, 0}));
        QCOMPARE(removed.at(0).at(1).toInt(), 2);
        QCOMPARE(strikes(model), QList<double>({100, 105, 120}));

        // A strike moving past others changes the order: a reset.
        QVERIFY(loadOptions("1,O,BR,125,5,1,9,2027-01-25,C\n"));
        QCOMPARE(strikes(model), QList<double>({105, 120, 125}));
        QCOMPARE(counts(), (QList<int>{1, 1, 1}));

        // Sorted descending, a new strike is still inserted at its place.
        model.sort(0, Qt::DescendingOrder);
        QVERIFY(loadOptions("9,O,BR,110,5,1,9,2027-01-25,C\n"));
        QCOMPARE(strikes(model), QList<double>({125, 120, 110, 105}));
        QCOMPARE(counts(), (QList<int>{2, 1, 2}));
        QCOMPARE(inserted.at(1).at(1).toInt(), 2);

        table->clear();
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(removed.count(), 2);
        QCOMPARE(model.minStep(), 0.0);
    }

    void maxSessionModelShowsTheNewestSessionFiltered_data()
    {
        TestSupport::columns<FilterParams, QList<double>, int>({"filter", "expected", "newerSessionRows"});
        FilterParams any, board, future, puts, nothing;
        board.boardId = 2;
        future.futIsinId = 8;
        puts.optionType = 'P';
        nothing.expDate = 20270125; // the older session's expiry
        QTest::newRow("no filter") << any << QList<double>({60, 65, 70, 75, 80}) << 1;
        QTest::newRow("board") << board << QList<double>({75, 80}) << 1;
        QTest::newRow("futures") << future << QList<double>({60, 65, 70}) << 1;
        QTest::newRow("puts") << puts << QList<double>({65, 80}) << 1;
        QTest::newRow("older session only") << nothing << QList<double>() << 0;
    }
    void maxSessionModelShowsTheNewestSessionFiltered()
    {
        const auto [filter, expected, newerSessionRows] =
            TestSupport::fetch<FilterParams, QList<double>, int>({"filter", "expected", "newerSessionRows"});
        Table* table = loadOptions("1,O,BR,50,5,1,7,2027-01-25,C\n"
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
        model.setFilterParams(filter);
        QCOMPARE(strikes(model), expected);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
        model.setFilterParams(filter); // the same filter again changes nothing
        QCOMPARE(reset.count() + inserted.count() + removed.count(), 0);

        // A newer session replaces the strikes shown.
        QVERIFY(loadOptions("9,O,BR,100,7,1,8,2027-02-25,C\n10,O,BR,100,7,2,9,2027-02-25,P\n"));
        QCOMPARE(model.maxSession(), 7);
        QCOMPARE(model.rowCount(), newerSessionRows);
    }

    // Text is read exactly (an invalid text leaves the result alone); a double is rounded half away
    // from zero, as it is written in decimal.
    void decimalFromTextOrDouble_data()
    {
        TestSupport::columns<QVariant, int, bool, qint64>({"input", "places", "valid", "mantissa"});
        QTest::newRow("sign and spaces") << QVariant(" +1.5 ") << 2 << true << qint64(150);
        QTest::newRow("no integer digits") << QVariant("-.5") << 2 << true << qint64(-50);
        QTest::newRow("no fraction digits") << QVariant("7.") << 2 << true << qint64(700);
        QTest::newRow("extra zero places") << QVariant("1.230") << 2 << true << qint64(123);
        QTest::newRow("largest") << QVariant("92233720368547758.07") << 2 << true
                                 << std::numeric_limits<qint64>::max();
        QTest::newRow("overflow") << QVariant("92233720368547758.08") << 2 << false << qint64(0);
        QTest::newRow("lost places") << QVariant("1.234") << 2 << false << qint64(0);
        QTest::newRow("point only") << QVariant(".") << 2 << false << qint64(0);
        QTest::newRow("two signs") << QVariant("+-1") << 2 << false << qint64(0);
        QTest::newRow("exponent") << QVariant("1e3") << 2 << false << qint64(0);
        QTest::newRow("other digits") << QVariant("\u0661") << 2 << false << qint64(0);
        QTest::newRow("half up") << QVariant(2.5) << 0 << true << qint64(3);
        QTest::newRow("negative half away from zero") << QVariant(-2.5) << 0 << true << qint64(-3);
        QTest::newRow("decimal half seen as written") << QVariant(0.285) << 2 << true << qint64(29);
        QTest::newRow("more places than digits") << QVariant(74.35) << 5 << true << qint64(7435000);
        QTest::newRow("tiny") << QVariant(1e-9) << 5 << true << qint64(0);
        QTest::newRow("nan") << QVariant(std::numeric_limits<double>::quiet_NaN()) << 2 << true << qint64(0);
        QTest::newRow("out of range") << QVariant(1e17) << 5 << true << qint64(0);
    }
    void decimalFromTextOrDouble()
    {
        const auto [input, places, valid, mantissa] =
            TestSupport::fetch<QVariant, int, bool, qint64>({"input", "places", "valid", "mantissa"});
        decimal value(-1, 0);
        if (input.type() == QVariant::String)
            QCOMPARE(decimal::fromString(input.toString(), short(places), &value), valid);
        else
            value = decimal::fromDouble(input.toDouble(), short(places));
        QCOMPARE(value.mantissa(), valid ? mantissa : qint64(-1));
        QCOMPARE(int(value.decimals()), valid ? places : 0);
    }

    void decimalCompareAcrossScales_data()
    {
        TestSupport::columns<decimal, decimal, int>({"a", "b", "expected"});
        QTest::newRow("equal across scales") << decimal(1250, 2) << decimal(12500000, 6) << 0;
        QTest::newRow("negative") << decimal(-1, 0) << decimal(-99999, 5) << -1;
        QTest::newRow("rescale would overflow 64 bits")
            << decimal::maximum << decimal(std::numeric_limits<qint64>::max(), 5) << 1;
        QTest::newRow("scales 30 apart, coarse positive")
            << decimal(1, 0) << decimal(std::numeric_limits<qint64>::max(), 30) << 1;
        QTest::newRow("scales 30 apart, coarse zero") << decimal(0, 0) << decimal(-5, 30) << 1;
        QTest::newRow("zero against zero") << decimal(0, 3) << decimal::zero << 0;
    }
    void decimalCompareAcrossScales()
    {
        const auto [a, b, expected] = TestSupport::fetch<decimal, decimal, int>({"a", "b", "expected"});
        QCOMPARE(decimal::compare(a, b), expected);
        QCOMPARE(decimal::compare(b, a), -expected);
    }

    void fieldsWidenAndSaturate()
    {
        QCOMPARE(value(1, "i64").toInteger(), std::numeric_limits<int>::max());
        QCOMPARE(value(2, "i64").toInteger(), std::numeric_limits<int>::min());
        QCOMPARE(value(1, "i64").toInteger64(), qint64(5000000000));
        QCOMPARE(value(2, "i32").toInteger64(), qint64(-7));
        QCOMPARE(value(2, "i64").toDouble(), -5e9);
        QCOMPARE(value(1, "dec").toDouble(), 12.345);
        QCOMPARE(value(2, "dec").toDecimal(), decimal(-10, 3));
        QCOMPARE(value(2, "text").toDatetime().toMSecsSinceEpoch(),
                 qtDatetime("2024.03.15 10:30:00.250").second);
        QCOMPARE(value(1, "text").toChar(), '2');
        QCOMPARE(value(3, "text").toChar(), '\0');
        QCOMPARE(value(1, "boards").toString(), QStringLiteral("1;2"));
    }

    void refusedConversionsThrow_data()
    {
        TestSupport::columns<QByteArray, Conversion>({"column", "conversion"});
        const Conversion toDecimal = [](const Field& f) { return QVariant::fromValue(f.toDecimal()); };
        const Conversion toInteger = [](const Field& f) { return QVariant(f.toInteger()); };
        const Conversion toDouble = [](const Field& f) { return QVariant(f.toDouble()); };
        const Conversion toDatetime = [](const Field& f) {
            return QVariant(f.toDatetime().toMSecsSinceEpoch());
        };
        const Conversion toChar = [](const Field& f) { return QVariant(int(f.toChar())); };
        QTest::newRow("decimal of int32") << QByteArray("i32") << toDecimal;
        QTest::newRow("decimal of double") << QByteArray("real") << toDecimal;
        QTest::newRow("integer of double") << QByteArray("real") << toInteger;
        QTest::newRow("double of text") << QByteArray("text") << toDouble;
        QTest::newRow("datetime of int64") << QByteArray("i64") << toDatetime;
        QTest::newRow("char of int32") << QByteArray("i32") << toChar;
    }
    void refusedConversionsThrow()
    {
        const auto [column, convert] = TestSupport::fetch<QByteArray, Conversion>({"column", "conversion"});
        QTest::ignoreMessage(QtWarningMsg, "Exception: Incorrect type conversion.");
        try {
            convert(value(1, column.constData()));
            QFAIL("no exception");
        } catch (const Exception& e) {
            QCOMPARE(e.message(), QStringLiteral("Incorrect type conversion."));
        }
        // A null field gives the neutral value, whatever its type; a throw here fails the test too.
        const QVariant neutral = convert(value(3, column.constData()));
        QVERIFY(neutral.toString() == QLatin1String("0") || neutral.value<decimal>().isZero());
    }
};

PLOT2D_TEST_MAIN(TestPlatform)
#include "tst_platform.moc"
