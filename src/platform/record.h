#pragma once

#include "platformglobal.h"

#include <QMetaType>
#include <QSharedPointer>
#include <QVariant>

class Table;
struct RecordData;

// A shared handle of one table row. A default-constructed (null) record means "not found".
// Copies share the row: a row updated in its table is seen through every handle.
class PLATFORM_EXPORT Record
{
public:
    Record() = default;

    bool isNull() const { return !d; }
    explicit operator bool() const { return !isNull(); }

    // The table the row was made for; null for a null record.
    const Table* table() const;
    // True while the row is stored in its table (false once removed, or before insertion).
    bool isAttached() const;

    // Typed write of one column of a record that is not yet, or no longer, in a table.
    // Values are converted to the column's type; an invalid QVariant sets the field null.
    // Returns false for an unknown column or a value that does not convert.
    bool setValue(int column, const QVariant& value);
    bool setValue(const QString& columnName, const QVariant& value);
    // The value as a QVariant (invalid when null), for display and tests.
    QVariant value(int column) const;
    QVariant value(const QString& columnName) const;

    // A detached deep copy, for editing before Table::insert().
    Record clone() const;

    friend bool operator==(const Record& a, const Record& b) { return a.d == b.d; }
    friend bool operator!=(const Record& a, const Record& b) { return a.d != b.d; }

private:
    friend class Table;
    friend struct RecordData;
    explicit Record(QSharedPointer<RecordData> data) : d(std::move(data)) {}
    QSharedPointer<RecordData> d;
};

Q_DECLARE_METATYPE(Record)
