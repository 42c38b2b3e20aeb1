#include "table.h"

#include "recorddata_p.h"

#include <QHash>

#include <algorithm>

struct Table::Private
{
    QString name;
    QSharedPointer<RowLayout> layout;
    QHash<QString, int> columnByName;
    // Ascending by key; the master index.
    QVector<QSharedPointer<RecordData>> rows;

    // Position of the first row whose key is not below `key`.
    int lowerBound(const RecordData& key) const
    {
        const auto it = std::lower_bound(rows.cbegin(), rows.cend(), key,
                                         [](const QSharedPointer<RecordData>& row, const RecordData& k) {
                                             return compareKeys(*row, k) < 0;
                                         });
        return static_cast<int>(it - rows.cbegin());
    }

    int indexOf(const RecordData& key) const
    {
        const int pos = lowerBound(key);
        return pos < rows.size() && compareKeys(*rows.at(pos), key) == 0 ? pos : -1;
    }
};

Table::Table(const QString& name, const QVector<FieldDef>& columns, QObject* parent)
    : QObject(parent), d(new Private)
{
    d->name = name;
    d->layout.reset(new RowLayout{columns});
    for (int column = 0; column < columns.size(); ++column)
        d->columnByName.insert(columns.at(column).name, column);
    setObjectName(name);
}

Table::~Table()
{
    for (const QSharedPointer<RecordData>& row : qAsConst(d->rows))
        row->attached = false;
}

QString Table::name() const
{
    return d->name;
}

int Table::columnIndex(const QString& name) const
{
    return d->columnByName.value(name, -1);
}

const QVector<FieldDef>& Table::fieldDefs() const
{
    return d->layout->defs;
}

int Table::columnCount() const
{
    return d->layout->defs.size();
}

int Table::rowCount() const
{
    return d->rows.size();
}

QList<Record> Table::masterIndex() const
{
    QList<Record> result;
    result.reserve(d->rows.size());
    for (const QSharedPointer<RecordData>& row : qAsConst(d->rows))
        result.append(Record(row));
    return result;
}

Record Table::find(const QVariant& key) const
{
    if (columnCount() == 0)
        return Record();
    Record probe = newRecord();
    if (!key.isValid() || !probe.setValue(0, key))
        return Record();
    const int pos = d->indexOf(*probe.d);
    return pos < 0 ? Record() : Record(d->rows.at(pos));
}

Field Table::dataPtr(const Record& record, int column, bool* hasValue) const
{
    const bool usable = record.d && record.d->table == this && column >= 0 && column < columnCount();
    if (hasValue)
        *hasValue = usable && record.d->hasValue(column);
    return usable ? record.d->field(column) : Field();
}

void Table::freeRow(Record& record) const
{
    record = Record();
}

Record Table::newRecord() const
{
    return Record(QSharedPointer<RecordData>::create(d->layout, this));
}

namespace {

enum class Stored
{
    Refused,
    Inserted,
    Changed
};

} // namespace

// Stores one row without announcing it; `stored` receives the row kept in the table.
static Stored storeRow(Table* table, QVector<QSharedPointer<RecordData>>& rows, int pos, bool exists,
                       const QSharedPointer<RecordData>& source, QSharedPointer<RecordData>* stored)
{
    if (exists) {
        // Updated in place so that every handle of the row sees the new values.
        if (rows.at(pos) != source)
            rows.at(pos)->assignValues(*source);
        *stored = rows.at(pos);
        return Stored::Changed;
    }
    QSharedPointer<RecordData> copy(new RecordData(*source));
    copy->table = table;
    copy->attached = true;
    rows.insert(pos, copy);
    *stored = copy;
    return Stored::Inserted;
}

QList<Record> Table::insert(const QList<Record>& records)
{
    QList<Record> inserted;
    QList<Record> changed;
    QList<Record> result;
    for (const Record& record : records) {
        if (!record.d || record.d->table != this || !record.d->hasValue(0)) {
            result.append(Record());
            continue;
        }
        const int pos = d->lowerBound(*record.d);
        const bool exists = pos < d->rows.size() && compareKeys(*d->rows.at(pos), *record.d) == 0;
        QSharedPointer<RecordData> stored;
        const Stored kind = storeRow(this, d->rows, pos, exists, record.d, &stored);
        (kind == Stored::Inserted ? inserted : changed).append(Record(stored));
        result.append(Record(stored));
    }
    if (!inserted.isEmpty())
        Q_EMIT rowsInserted(inserted);
    if (!changed.isEmpty())
        Q_EMIT rowsChanged(changed);
    return result;
}

Record Table::insert(const Record& record)
{
    return insert(QList<Record>{record}).value(0);
}

bool Table::remove(const Record& record)
{
    if (!record.d || record.d->table != this || !record.d->hasValue(0))
        return false;
    const int pos = d->indexOf(*record.d);
    if (pos < 0)
        return false;
    const QSharedPointer<RecordData> row = d->rows.takeAt(pos);
    row->attached = false;
    Q_EMIT rowsRemoved(QList<Record>{Record(row)});
    return true;
}

bool Table::removeByKey(const QVariant& key)
{
    const Record row = find(key);
    return !row.isNull() && remove(row);
}

void Table::clear()
{
    for (const QSharedPointer<RecordData>& row : qAsConst(d->rows))
        row->attached = false;
    d->rows.clear();
    Q_EMIT tableReset();
}
