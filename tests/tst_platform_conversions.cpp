#include "testsupport.h"

#include <functional>
#include <limits>

namespace {

qint64 utcMsecs(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), Qt::UTC).toMSecsSinceEpoch();
}

} // namespace

class TestPlatformConversions : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    Table* m_table = nullptr;

    // One row per key; every column holds the same kind of value in every row it is not null.
    Field field(qint64 key, const char* column) const
    {
        return m_table->dataPtr(m_table->find(key), m_table->columnIndex(QLatin1String(column)));
    }

private Q_SLOTS:
    void init()
    {
        QVERIFY(m_dir.isValid());
        m_table = TestSupport::loadTable(m_dir, QStringLiteral("values"),
                                         "key:2,i32:1,i64:2,real:3,dec:4:3,text:5:40,moment:6,boards:7\n"
                                         "1,7,5000000000,2.5,12.345,2024-03-15,2024-03-15 10:30:00,1;2\n"
                                         "2,-7,-5000000000,-0.5,-0.010,2024.03.15 10:30:00.250,,\n"
                                         "3,,,,,,,\n"
                                         "4,0,123,0,0.000,15.03.2024,1970-01-01,\n");
        QVERIFY(m_table);
    }
    void cleanup() { TestSupport::clearData(); }

    void decimalFromDouble_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("places");
        QTest::addColumn<qint64>("mantissa");
        QTest::newRow("half up") << 2.5 << 0 << qint64(3);
        QTest::newRow("negative half away from zero") << -2.5 << 0 << qint64(-3);
        QTest::newRow("decimal half seen as written") << 0.285 << 2 << qint64(29);
        QTest::newRow("more places than digits") << 74.35 << 5 << qint64(7435000);
        QTest::newRow("tiny") << 1e-9 << 5 << qint64(0);
        QTest::newRow("nan") << std::numeric_limits<double>::quiet_NaN() << 2 << qint64(0);
        QTest::newRow("out of range") << 1e17 << 5 << qint64(0);
    }
    void decimalFromDouble()
    {
        QFETCH(double, value);
        QFETCH(int, places);
        QFETCH(qint64, mantissa);
        const decimal result = decimal::fromDouble(value, static_cast<short>(places));
        QCOMPARE(result.mantissa(), mantissa);
        QCOMPARE(int(result.decimals()), places);
    }

    void decimalCompare_data()
    {
        QTest::addColumn<decimal>("a");
        QTest::addColumn<decimal>("b");
        QTest::addColumn<int>("expected");
        QTest::newRow("equal across scales") << decimal(1250, 2) << decimal(12500000, 6) << 0;
        QTest::newRow("negative") << decimal(-1, 0) << decimal(-99999, 5) << -1;
        QTest::newRow("rescale would overflow 64 bits")
            << decimal::maximum << decimal(std::numeric_limits<qint64>::max(), 5) << 1;
        QTest::newRow("scales 30 apart, coarse positive")
            << decimal(1, 0) << decimal(std::numeric_limits<qint64>::max(), 30) << 1;
        QTest::newRow("scales 30 apart, coarse zero") << decimal(0, 0) << decimal(-5, 30) << 1;
        QTest::newRow("zero against zero") << decimal(0, 3) << decimal::zero << 0;
    }
    void decimalCompare()
    {
        QFETCH(decimal, a);
        QFETCH(decimal, b);
        QFETCH(int, expected);
        QCOMPARE(decimal::compare(a, b), expected);
        QCOMPARE(decimal::compare(b, a), -expected);
    }

    void datetimeText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qint64>("msecs");
        QTest::addColumn<bool>("valid");
        QTest::newRow("dotted with millis")
            << "2024.03.15 10:30:00.250" << utcMsecs(2024, 3, 15, 10, 30, 0, 250) << true;
        QTest::newRow("dashed with seconds")
            << "2024-03-15 23:59:59" << utcMsecs(2024, 3, 15, 23, 59, 59) << true;
        QTest::newRow("dotted date") << "2024.03.15" << utcMsecs(2024, 3, 15) << true;
        QTest::newRow("before the epoch") << "1969-12-31" << qint64(-86400000) << true;
        QDateTime none;
        none.setTimeSpec(Qt::UTC);
        const qint64 invalid = none.toMSecsSinceEpoch();
        QTest::newRow("day first") << "15.03.2024" << invalid << false;
        QTest::newRow("dashed without seconds") << "2024-03-15 10:30" << invalid << false;
        QTest::newRow("impossible date") << "2024-02-30" << invalid << false;
    }
    void datetimeText()
    {
        QFETCH(QString, text);
        QFETCH(qint64, msecs);
        QFETCH(bool, valid);
        QCOMPARE(datetime(text).toMSecsSinceEpoch(), msecs);
        QCOMPARE(datetime::isValidText(text), valid);
    }

    void fieldConversions()
    {
        QCOMPARE(field(1, "i64").toInteger(), std::numeric_limits<int>::max());
        QCOMPARE(field(2, "i64").toInteger(), std::numeric_limits<int>::min());
        QCOMPARE(field(1, "i64").toInteger64(), qint64(5000000000));
        QCOMPARE(field(2, "i32").toInteger64(), qint64(-7));
        QCOMPARE(field(2, "i64").toDouble(), -5e9);
        QCOMPARE(field(1, "dec").toDouble(), 12.345);
        QCOMPARE(field(2, "dec").toDecimal(), decimal(-10, 3));
        QCOMPARE(field(2, "text").toDatetime().toMSecsSinceEpoch(), utcMsecs(2024, 3, 15, 10, 30, 0, 250));
        QCOMPARE(field(1, "text").toChar(), '2');
        QCOMPARE(field(3, "text").toChar(), '\0');
        QCOMPARE(field(1, "boards").toString(), QStringLiteral("1;2"));
    }

    void refusedConversionsThrow_data()
    {
        QTest::addColumn<QByteArray>("column");
        QTest::addColumn<int>("conversion");
        const int ToInteger = 0, ToDouble = 2, ToDecimal = 3, ToDatetime = 4, ToChar = 5; // conversions[]
        QTest::newRow("decimal of int32") << QByteArray("i32") << int(ToDecimal);
        QTest::newRow("decimal of double") << QByteArray("real") << int(ToDecimal);
        QTest::newRow("integer of double") << QByteArray("real") << int(ToInteger);
        QTest::newRow("double of text") << QByteArray("text") << int(ToDouble);
        QTest::newRow("datetime of int64") << QByteArray("i64") << int(ToDatetime);
        QTest::newRow("char of int32") << QByteArray("i32") << int(ToChar);
    }
    void refusedConversionsThrow()
    {
        QFETCH(QByteArray, column);
        QFETCH(int, conversion);
        const Field present = field(1, column.constData());
        const Field null = field(3, column.constData());
        using Conversion = std::function<QVariant(const Field&)>;
        const Conversion conversions[] = {
            [](const Field& f) { return QVariant(f.toInteger()); },
            [](const Field& f) { return QVariant(f.toInteger64()); },
            [](const Field& f) { return QVariant(f.toDouble()); },
            [](const Field& f) { return QVariant::fromValue(f.toDecimal()); },
            [](const Field& f) { return QVariant(f.toDatetime().toMSecsSinceEpoch()); },
            [](const Field& f) { return QVariant(int(f.toChar())); }};
        const Conversion& convert = conversions[conversion];
        QTest::ignoreMessage(QtWarningMsg, "Exception: Incorrect type conversion.");
        try {
            convert(present);
            QFAIL("no exception");
        } catch (const Exception& e) {
            QCOMPARE(e.message(), QStringLiteral("Incorrect type conversion."));
        }
        // A null field gives the neutral value, whatever its type.
        QVERIFY(null.isNull());
        const QVariant neutral = convert(null); // a throw here fails the test too
        QVERIFY(neutral.toString() == QLatin1String("0") || neutral.value<decimal>().isZero());
    }
};

PLOT2D_TEST_MAIN(TestPlatformConversions)
#include "tst_platform_conversions.moc"
