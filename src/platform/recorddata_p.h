#pragma once

// Internal row storage shared by Record and Table; not installed.

#include "field.h"
#include "record.h"

#include <QPointer>
#include <QSharedPointer>
#include <QString>
#include <QStringView>
#include <QVarLengthArray>
#include <QVector>

#include <vector>

class Table;

// The column definitions of a table, shared by every row made for it so that a row handle
// keeps its definitions alive.
struct RowLayout
{
    QVector<FieldDef> defs;
    // Per column, its place in RecordData::texts, or -1 for a typed column.
    QVector<int> textSlots;
    int textCount = 0;

    explicit RowLayout(const QVector<FieldDef>& columns);
};

// Text and board-list columns hold a QString; the others a Cell.
bool isTextual(const FieldDef& def);

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
    // The values of the textual columns only: a wide table has few of them.
    std::vector<QString> texts;
    // One presence bit per column: byte column / 8, mask 1 << column % 8.
    QVarLengthArray<unsigned char, 8> flags;
    bool attached = false;

    RecordData(QSharedPointer<const RowLayout> rowLayout, const Table* owner);
    static RecordData* of(const Record& record) { return record.d.data(); }

    int columnCount() const { return layout->defs.size(); }
    int columnIndex(const QString& name) const;
    bool hasValue(int column) const { return flags[column / 8] & (1u << column % 8); }
    void setPresent(int column, bool present);
    Field field(int column) const;
    QString& text(int column) { return texts[layout->textSlots.at(column)]; }
    const QString& text(int column) const { return texts[layout->textSlots.at(column)]; }
    // Copies the values (not the identity) of `other`, keeping every storage address stable.
    void assignValues(const RecordData& other);
};

// Orders two rows of one layout by their first column; a null key sorts first.
int compareKeys(const RecordData& a, const RecordData& b);

// The positions of `rows` (rows of one layout, every key set) in ascending key order; rows with equal
// keys keep their given order.
std::vector<int> keyOrder(const std::vector<const RecordData*>& rows);

// Converts `value` to the column's type into `cell` / `text`; false when it does not convert.
bool convertValue(const FieldDef& def, const QVariant& value, Cell* cell, QString* text);
// The same for the text form of a value of a typed (not textual) column, as read from a file.
bool convertText(const FieldDef& def, const QStringRef& text, Cell* cell);
// Whether a text of `length` characters fits a textual column.
bool textFits(const FieldDef& def, int length);
// True when the row's key is a NaN, which compares equal to every key.
bool hasUnorderedKey(const RecordData& row);
