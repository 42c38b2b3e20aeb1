#include "boarddirectory.h"

#include "datastore.h"
#include "fieldconstvalue.h"
#include "icore.h"
#include "table.h"

BoardDirectory* BoardDirectory::i()
{
    static BoardDirectory directory;
    return &directory;
}

bool BoardDirectory::isAnonymById(int stockId, int boardId) const
{
    const Table* table = ICore::instance()->dataStore()->table(QStringLiteral("boards"));
    const int stockColumn = table ? table->columnIndex(QStringLiteral("stock_id")) : -1;
    const int boardColumn = table ? table->columnIndex(QStringLiteral("board_id")) : -1;
    const int anonymColumn = table ? table->columnIndex(QStringLiteral("anonym")) : -1;
    if (stockColumn < 0 || boardColumn < 0 || anonymColumn < 0)
        return false;
    const QList<Record> rows = table->masterIndex();
    for (const Record& row : rows) {
        if (table->dataPtr(row, boardColumn).toInteger() == boardId &&
            table->dataPtr(row, stockColumn).toInteger() == stockId)
            return table->dataPtr(row, anonymColumn).toChar() == FieldConstValue::Anonyms::Anonym;
    }
    return false;
}
