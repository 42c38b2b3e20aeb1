#pragma once

#include "field.h"
#include "platformglobal.h"
#include "record.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QVector>

#include <memory>

// A named in-memory table of typed columns. The first column is the primary key; rows are
// kept in ascending key order. Every change is announced so that views can follow.
class PLATFORM_EXPORT Table : public QObject
{
    Q_OBJECT

public:
    Table(const QString& name, const QVector<FieldDef>& columns, QObject* parent = nullptr);
    ~Table() override;

    QString name() const;
    int columnIndex(const QString& name) const; // -1 when absent
    const QVector<FieldDef>& fieldDefs() const;
    int columnCount() const;
    int rowCount() const;

    // The rows in ascending primary key, as a snapshot of handles.
    QList<Record> masterIndex() const;
    // The row with this key, or a null record.
    Record find(const QVariant& key) const;

    // The field of `column` in `record`, and whether it holds a value. An unknown column, a null
    // record or a record of another table gives an invalid field and false.
    Field dataPtr(const Record& record, int column, bool* hasValue = nullptr) const;
    // Releases a row handle taken from this table.
    void freeRow(Record& record) const;

    // A blank row of this table's layout (every field null), to fill and insert.
    Record newRecord() const;
    // Stores a copy of `record`. A row with the same key is updated in place (rowChanged),
    // otherwise the row is added (rowInserted). Returns the stored row, or a null record when
    // the key is null or the record belongs to another table.
    Record insert(const Record& record);
    // Several rows as one change: one rowsInserted/rowsChanged announcement per kind.
    QList<Record> insert(const QList<Record>& records);
    // Removes the row with the record's key. Returns false when there is none.
    bool remove(const Record& record);
    bool removeByKey(const QVariant& key);
    void clear();

Q_SIGNALS:
    void rowsInserted(const QList<Record>& rows);
    void rowsChanged(const QList<Record>& rows);
    void rowsRemoved(const QList<Record>& rows);
    void tableReset();

private:
    friend class DataStore;
    bool accepts(const Record& record) const;
    // insert(); with `adopt` the records themselves become the table's rows (the loader's own
    // records, which nothing else holds), which saves a copy of every row.
    QList<Record> insertRows(const QList<Record>& records, bool adopt);

    struct Private;
    std::unique_ptr<Private> d;
};
