#pragma once

// Internal CSV reader of DataStore::loadCsv; not installed.

#include "field.h"

#include <QString>
#include <QVector>

class Table;
class Record;

namespace CsvLoader {

struct Cell
{
    QString text;
    bool quoted = false; // a quoted empty cell is an empty text, not a null field
};

struct Row
{
    int line = 0;
    QVector<Cell> cells;
};

struct Document
{
    QString path;
    QVector<FieldDef> columns;
    QVector<Row> rows;
};

// "FILE:LINE:COLUMN: message", line and column counted from 1.
QString errorText(const QString& path, int line, int column, const QString& message);

// Reads and splits the file and checks the header. False with `error` set on failure.
bool read(const QString& path, Document* document, QString* error);

// Converts every row into a record of `layout` (a table with the document's columns).
// False with `error` set at the first cell that does not convert.
bool convertRows(const Document& document, const Table& layout, QList<Record>* records, QString* error);

} // namespace CsvLoader
