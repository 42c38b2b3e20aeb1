#pragma once

#include "testsupport.h"

#include <plot2d/datastore.h>
#include <plot2d/icore.h>

#include <QByteArray>
#include <QStringList>
#include <QTemporaryDir>

// Securities fixtures for the panner, picker and point manager suites: one futures contract
// (isin 1001 on the anonymous board 1, base code "BR") and a call per strike.
namespace ToolFixture {

inline QByteArray securitiesHeader()
{
    return "sec_id:2,isin_id:1,stock_id:1,board_id:1,sec_code:5:25,sectype:5:1,base_code:5:20,expdate:6,"
           "price_step:4:5,strike:4:5,option_type:5:1,sess_id:1,fut_isin_id:1,base_isin_id:1,bid:4:5,"
           "ask:4:5,cur_kotir_real:4:5,cur_kotir:4:5,old_kotir:4:5,volat_min:4:4,volat_max:4:4,lasttime:6\n";
}

// An empty price step gives a null price_step field.
inline QByteArray futureRow(const QByteArray& priceStep)
{
    return "1,1001,1,1,BR-1.27,F,BR,2027-01-29," + priceStep + ",,,7001,,,,,,74.35,74.10,0.25,0.45,\n";
}

inline QByteArray optionRows(int firstSecId, const QStringList& strikes, const QByteArray& priceStep = "0.01")
{
    QByteArray rows;
    int secId = firstSecId;
    for (const QString& strike : strikes) {
        const QByteArray s = strike.toLatin1();
        rows += QByteArray::number(secId) + "," + QByteArray::number(secId + 10000) + ",1,1,BR" + s +
                "C,O,BR,2027-01-25," + priceStep + "," + s + ",C,7001,1001,,1.5,1.6,,,,,,\n";
        ++secId;
    }
    return rows;
}

inline QStringList strikeRange(int from, int to, int step)
{
    QStringList strikes;
    for (int s = from; s <= to; s += step)
        strikes << QString::number(s);
    return strikes;
}

inline Table* loadTable(const QTemporaryDir& dir, const QString& name, const QByteArray& content)
{
    static int fileNumber = 0;
    const QString path =
        TestSupport::writeFile(dir.path(), QStringLiteral("%1_%2.csv").arg(name).arg(++fileNumber), content);
    QString error;
    Table* table = ICore::instance()->dataStore()->loadCsv(name, path, &error);
    if (!table)
        qWarning("%s", qPrintable(error));
    return table;
}

// The boards and the securities (header added here) of one test.
inline bool load(const QTemporaryDir& dir, const QByteArray& securitiesRows)
{
    const QByteArray boards = "board_id:1,stock_id:1,board_code:5:20,anonym:5:1\n1,1,FUT,D\n";
    return loadTable(dir, QStringLiteral("boards"), boards) &&
           loadTable(dir, QStringLiteral("securities"), securitiesHeader() + securitiesRows);
}

// More rows for the loaded securities table; the data layer adds them as one change.
inline bool addSecurities(const QTemporaryDir& dir, const QByteArray& securitiesRows)
{
    return loadTable(dir, QStringLiteral("securities"), securitiesHeader() + securitiesRows);
}

} // namespace ToolFixture
