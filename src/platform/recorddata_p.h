#pragma once

// Internal row storage shared by Record and Table; not installed.

#include "field.h"
#include "record.h"

#include <QPointer>
#include <QSharedPointer>
#include <QString>
#include <QVector>

#include <vector>

class Table;

// The column definitions of a table, shared by every row made for it so that a row handle
// keeps its definitions alive.
struct RowLayout
{
    QVector<FieldDef> defs;
};

// One typed cell; text and board-list columns keep their value in RecordData::texts instead.
union Cell {
    Cell() : i64(0) {}
    qint32 i32;
    qint64 i64;
    double real;
    decimal dec;
    datetime moment;
};

struct RecordData
{
    QSharedPointer<const RowLayout> layout;
    QPointer<const Table> table;
    std::vector<Cell> cells;
    std::vector<QString> texts;
    // One presence bit per column: byte column / 8, mask 1 << column % 8.
    std::vector<unsigned char> flags;
    bool attached = false;

    RecordData(QSharedPointer<const RowLayout> rowLayout, const Table* owner);

    int columnCount() const { return layout->defs.size(); }
    int columnIndex(const QString& name) const;
    bool hasValue(int column) const;
    void setPresent(int column, bool present);
    Field field(int column) const;
    // Copies the values (not the identity) of `other`, keeping every storage address stable.
    void assignValues(const RecordData& other);
};

// Orders two rows of one layout by their first column; a null key sorts first.
int compareKeys(const RecordData& a, const RecordData& b);

// Converts `value` to the column's type into `cell` / `text`; false when it does not convert.
bool convertValue(const FieldDef& def, const QVariant& value, Cell* cell, QString* text);
