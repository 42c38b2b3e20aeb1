#include "securitydirectory.h"

#include "datastore.h"
#include "fieldstypes.h"
#include "icore.h"
#include "table.h"

namespace {

Table* securities()
{
    return ICore::instance()->dataStore()->table(QStringLiteral("securities"));
}

// The number of places a decimal really uses: 0.01000 stored with five places gives 2.
int significantPlaces(const decimal& value)
{
    qint64 mantissa = value.mantissa();
    int places = value.decimals();
    while (places > 0 && mantissa % 10 == 0) {
        mantissa /= 10;
        --places;
    }
    return qMax(places, 0);
}

} // namespace

SecurityDirectory* SecurityDirectory::i()
{
    static SecurityDirectory directory;
    return &directory;
}

Record SecurityDirectory::recordByIsinId(int isinId, int boardId) const
{
    const Table* table = securities();
    const int isinColumn = table ? table->columnIndex(QStringLiteral("isin_id")) : -1;
    const int boardColumn = table ? table->columnIndex(QStringLiteral("board_id")) : -1;
    if (isinColumn < 0 || boardColumn < 0)
        return Record();
    const QList<Record> rows = table->masterIndex();
    for (const Record& row : rows) {
        bool hasIsin = false;
        bool hasBoard = false;
        const Field isin = table->dataPtr(row, isinColumn, &hasIsin);
        const Field board = table->dataPtr(row, boardColumn, &hasBoard);
        if (hasIsin && hasBoard && isin.toInteger() == isinId && board.toInteger() == boardId)
            return row;
    }
    return Record();
}

int SecurityDirectory::decimalsById(int stockId, int boardId, long long secId) const
{
    const Table* table = securities();
    const int stockColumn = table ? table->columnIndex(QStringLiteral("stock_id")) : -1;
    const int boardColumn = table ? table->columnIndex(QStringLiteral("board_id")) : -1;
    const int stepColumn = table ? table->columnIndex(QStringLiteral("price_step")) : -1;
    if (stockColumn < 0 || boardColumn < 0 || stepColumn < 0)
        return -1;
    const Record row = table->find(secId);
    bool hasStep = false;
    const Field step = table->dataPtr(row, stepColumn, &hasStep);
    if (!hasStep || step.type() != FieldsTypes::Decimal)
        return -1;
    if (table->dataPtr(row, stockColumn).toInteger() != stockId ||
        table->dataPtr(row, boardColumn).toInteger() != boardId)
        return -1;
    return significantPlaces(step.toDecimal());
}
