#include "testsupport.h"

#include <plot2d/platform.h>

#include <QSignalSpy>
#include <QTemporaryDir>

namespace {

// Every row as text, in master-index order, for before/after comparisons.
QStringList dump(const Table* table)
{
    QStringList lines;
    if (!table)
        return lines;
    const QList<Record> rows = table->masterIndex();
    for (const Record& row : rows) {
        QStringList cells;
        for (int column = 0; column < table->columnCount(); ++column) {
            bool has = false;
            const Field field = table->dataPtr(row, column, &has);
            cells.append(has ? field.toString() : QStringLiteral("<null>"));
        }
        lines.append(cells.join(QLatin1Char('|')));
    }
    return lines;
}

QStringList keys(const QList<Record>& rows)
{
    QStringList result;
    for (const Record& row : rows)
        result.append(row.value(0).toString());
    return result;
}

const QByteArray s_quotes = "key:2,name:5:12,price:4:2,moment:6\n"
                            "30,c,1.5,2024-01-03\n"
                            "10,a,0.25,2024.01.01 09:00:00.000\n"
                            "20,\"b, quoted\",,2024-01-02 10:00:00\n";

} // namespace

class TestPlatformTable : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    DataStore* store() const { return ICore::instance()->dataStore(); }

    Table* load(const QByteArray& content, const QString& name = QStringLiteral("quotes"))
    {
        QString error;
        const QString path = TestSupport::writeFile(m_dir.path(), name + QStringLiteral(".csv"), content);
        Table* table = store()->loadCsv(name, path, &error);
        if (!table)
            qWarning("%s", qPrintable(error));
        return table;
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_dir.isValid()); }
    void cleanup() { TestSupport::clearData(); }

    void masterIndexIsOrderedByKeyType()
    {
        // Numeric keys order by value, not as text; text keys by text.
        const Table* numbers = load("key:2,v:1\n100,1\n-5,2\n9,3\n", QStringLiteral("numbers"));
        QVERIFY(numbers);
        QCOMPARE(keys(numbers->masterIndex()), QStringList({"-5", "9", "100"}));
        const Table* decimals = load("key:4:2,v:1\n10.5,1\n2,2\n-0.25,3\n", QStringLiteral("decimals"));
        QVERIFY(decimals);
        QCOMPARE(dump(decimals).join(' '), QStringLiteral("-0.25|3 2.00|2 10.50|1"));
        const Table* texts = load("key:5:3,v:1\nb,1\nab,2\nB,3\n", QStringLiteral("texts"));
        QVERIFY(texts);
        QCOMPARE(keys(texts->masterIndex()), QStringList({"B", "ab", "b"}));
        QVERIFY(texts->find(QStringLiteral("ab")));
        QVERIFY(!texts->find(QStringLiteral("a")));
    }

    void loadCsvCreatesTable()
    {
        QSignalSpy added(store(), &DataStore::tableAdded);
        Table* table = load(s_quotes);
        QVERIFY(table);
        QCOMPARE(added.count(), 1);
        QCOMPARE(store()->table(QStringLiteral("quotes")), table);
        QCOMPARE(table->columnIndex(QStringLiteral("price")), 2);
        QCOMPARE(table->columnIndex(QStringLiteral("absent")), -1);
        QCOMPARE(table->fieldDefs().at(1).length(), 12);
        QCOMPARE(table->fieldDefs().at(2).decimals(), 2);
        QCOMPARE(dump(table), QStringList({"10|a|0.25|2024-01-01 09:00:00.000",
                                           "20|b, quoted|<null>|2024-01-02 10:00:00.000",
                                           "30|c|1.50|2024-01-03 00:00:00.000"}));
        // A quoted empty cell is an empty text, an unquoted one a null field.
        Table* empty = load("key:1,t:5:4\n1,\"\"\n2,\n3,\"a\"\"b\"\n", QStringLiteral("empty"));
        QVERIFY(empty);
        QCOMPARE(dump(empty), QStringList({"1|", "2|<null>", "3|a\"b"}));
    }

    void loadCsvErrorsChangeNothing_data()
    {
        // A row replacing key 10 precedes the faulty line: a late error must not have applied it.
        const QByteArray head = "key:2,name:5:12,price:4:2,moment:6\n10,changed,9.99,\n";
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("position");
        QTest::addColumn<bool>("failsForNewName");
        QTest::newRow("bad header") << QByteArray("key:2,name\n1,a\n") << ":1:2: " << true;
        QTest::newRow("unknown type code") << QByteArray("key:2,name:9:3\n") << ":1:2: " << true;
        QTest::newRow("duplicate column") << QByteArray("key:2,a:1,a:1\n") << ":1:3: " << true;
        QTest::newRow("columns differ")
            << QByteArray("key:2,name:5:12,price:4:3,moment:6\n10,x,1,\n") << ":1:3: " << false;
        QTest::newRow("too few cells") << QByteArray(head + "\n40,d,1\n") << ":4:4: " << true;
        QTest::newRow("too many cells") << QByteArray(head + "40,d,1,,5\n") << ":3:5: " << true;
        QTest::newRow("bad decimal") << QByteArray(head + "40,d,1.234,\n") << ":3:3: " << true;
        QTest::newRow("bad datetime") << QByteArray(head + "40,d,1,03.01.2024\n") << ":3:4: " << true;
        QTest::newRow("text too long") << QByteArray(head + "40,thirteen char,1,\n") << ":3:2: " << true;
        QTest::newRow("bad key") << QByteArray(head + "4x,d,1,\n") << ":3:1: " << true;
        QTest::newRow("empty key") << QByteArray(head + ",d,1,\n") << ":3:1: " << true;
        QTest::newRow("unterminated quote") << QByteArray(head + "40,\"d,1,\n") << ":3:2: " << true;
    }
    void loadCsvErrorsChangeNothing()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, position);
        QFETCH(bool, failsForNewName);
        Table* table = load(s_quotes);
        QVERIFY(table);
        const QStringList before = dump(table);
        QSignalSpy inserted(table, &Table::rowsInserted);
        QSignalSpy changed(table, &Table::rowsChanged);
        QSignalSpy added(store(), &DataStore::tableAdded);

        const QString path = TestSupport::writeFile(m_dir.path(), QStringLiteral("bad.csv"), content);
        QString error;
        QVERIFY(!store()->loadCsv(QStringLiteral("quotes"), path, &error));
        QVERIFY2(error.startsWith(path + position), qPrintable(error));
        QCOMPARE(dump(table), before);
        QCOMPARE(inserted.count(), 0);
        QCOMPARE(changed.count(), 0);
        QCOMPARE(added.count(), 0);

        QCOMPARE(store()->loadCsv(QStringLiteral("fresh"), path) == nullptr, failsForNewName);
        QCOMPARE(store()->tableNames().contains(QStringLiteral("fresh")), !failsForNewName);
    }

    void missingFileReportsPath()
    {
        QString error;
        const QString path = m_dir.filePath(QStringLiteral("absent.csv"));
        QVERIFY(!store()->loadCsv(QStringLiteral("absent"), path, &error));
        QVERIFY2(error.startsWith(path + QStringLiteral(":1:1: ")), qPrintable(error));
        QVERIFY(store()->tableNames().isEmpty());
    }

    void reloadReplacesRowInPlace()
    {
        Table* table = load(s_quotes);
        QVERIFY(table);
        const Record handle = table->find(20);
        QSignalSpy inserted(table, &Table::rowsInserted);
        QSignalSpy changed(table, &Table::rowsChanged);
        QSignalSpy removed(table, &Table::rowsRemoved);

        QCOMPARE(load("key:2,name:5:12,price:4:2,moment:6\n20,b2,7.25,\n"), table);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(inserted.count(), 0);
        QCOMPARE(removed.count(), 0);
        QCOMPARE(keys(changed.at(0).at(0).value<QList<Record>>()), QStringList({"20"}));
        // The handle taken before the reload sees the new values, the null included.
        QCOMPARE(table->dataPtr(handle, 1).toString(), QStringLiteral("b2"));
        QCOMPARE(table->dataPtr(handle, 2).toDecimal(), decimal(725, 2));
        QVERIFY(table->dataPtr(handle, 3).isNull());
        QCOMPARE(table->rowCount(), 3);

        // New and replaced rows together: one announcement per kind.
        QVERIFY(load("key:2,name:5:12,price:4:2,moment:6\n5,x,,\n10,y,,\n50,z,,\n"));
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(keys(inserted.at(0).at(0).value<QList<Record>>()), QStringList({"5", "50"}));
        QCOMPARE(changed.count(), 2);
        QCOMPARE(keys(changed.at(1).at(0).value<QList<Record>>()), QStringList({"10"}));
    }

    void insertAndRemoveSignalRows()
    {
        Table* table = load(s_quotes);
        QVERIFY(table);
        QSignalSpy inserted(table, &Table::rowsInserted);
        QSignalSpy removed(table, &Table::rowsRemoved);

        Record fresh = table->newRecord();
        QVERIFY(fresh.setValue(QStringLiteral("key"), 15));
        QVERIFY(fresh.setValue(QStringLiteral("name"), QStringLiteral("n")));
        QVERIFY(!fresh.setValue(QStringLiteral("name"), QStringLiteral("much too long")));
        QVERIFY(!fresh.setValue(QStringLiteral("price"), QStringLiteral("abc")));
        QVERIFY(!fresh.setValue(QStringLiteral("nope"), 1));
        const Record stored = table->insert(fresh);
        QVERIFY(stored.isAttached());
        QVERIFY(!fresh.isAttached());
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(keys(table->masterIndex()), QStringList({"10", "15", "20", "30"}));
        // Stored rows change only through insert, so that every change is announced.
        QVERIFY(!Record(stored).setValue(1, QStringLiteral("m")));

        Record keyless = table->newRecord();
        QVERIFY(table->insert(keyless).isNull());
        Table other(QStringLiteral("other"), table->fieldDefs());
        Record foreign = other.newRecord();
        foreign.setValue(0, 99);
        QVERIFY(table->insert(foreign).isNull());
        QCOMPARE(inserted.count(), 1);

        QVERIFY(table->remove(stored));
        QVERIFY(!stored.isAttached());
        QVERIFY(!table->removeByKey(15));
        QVERIFY(table->removeByKey(30));
        QCOMPARE(removed.count(), 2);
        QCOMPARE(keys(removed.at(1).at(0).value<QList<Record>>()), QStringList({"30"}));
        QCOMPARE(keys(table->masterIndex()), QStringList({"10", "20"}));

        // Fields of another table's record, or of unknown columns, are invalid.
        bool has = true;
        QVERIFY(!table->dataPtr(foreign, 0, &has).isValid());
        QVERIFY(!has);
        QVERIFY(!table->dataPtr(table->find(10), 4, &has).isValid());
        Record handle = table->find(10);
        table->freeRow(handle);
        QVERIFY(handle.isNull());
    }

    void removedTableIsAnnounced()
    {
        QPointer<Table> table = load(s_quotes);
        QVERIFY(table);
        QSignalSpy removed(store(), &DataStore::tableRemoved);
        QVERIFY(!store()->createTable(QStringLiteral("quotes"),
                                      {{FieldsTypes::Integer, 0, QStringLiteral("k")}}));
        QCOMPARE(store()->createTable(QStringLiteral("quotes"), table->fieldDefs()), table.data());
        store()->clear();
        QVERIFY(table.isNull());
        QCOMPARE(removed.count(), 1);
        QCOMPARE(removed.at(0).at(0).toString(), QStringLiteral("quotes"));
    }

    void settingsRoundTripThroughIni()
    {
        QByteArray bytes;
        for (int i = 0; i < 256; ++i)
            bytes.append(char(i));
        bytes.append("@ByteArray(\"quoted\")\n=;,");
        const QString path = m_dir.filePath(QStringLiteral("settings.ini"));
        {
            Settings settings(path);
            QCOMPARE(settings.fileName(), path);
            settings.setValue(QStringLiteral("legend/legendItemKeys"), bytes);
            settings.setValue(QStringLiteral("count"), 3);
            settings.sync();
        }
        QVERIFY(QFile::exists(path));
        Settings reread(path);
        const QVariant value = reread.value(QStringLiteral("legend/legendItemKeys"));
        QCOMPARE(value.toByteArray(), bytes);
        QCOMPARE(reread.value(QStringLiteral("count")).toInt(), 3);
        QCOMPARE(reread.value(QStringLiteral("absent"), 7).toInt(), 7);
        reread.remove(QStringLiteral("count"));
        QVERIFY(!reread.contains(QStringLiteral("count")));

        Settings memory;
        QVERIFY(memory.fileName().isEmpty());
        memory.setValue(QStringLiteral("k"), bytes);
        QCOMPARE(memory.value(QStringLiteral("k")).toByteArray(), bytes);
        QVERIFY(memory.contains(QStringLiteral("k")));
    }
};

PLOT2D_TEST_MAIN(TestPlatformTable)
#include "tst_platform_table.moc"
