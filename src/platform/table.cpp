#include "table.h"

#include "recorddata_p.h"

#include <QHash>

#include <algorithm>

namespace {

using RowPointer = QSharedPointer<RecordData>;

bool keyLess(const RowPointer& a, const RowPointer& b)
{
    return compareKeys(*a, *b) < 0;
}

// A stored row takes the values of `source` in place, so that every handle of the row sees them.
void update(const RowPointer& row, const RowPointer& source)
{
    if (row != source)
        row->assignValues(*source);
}

// Where a record of an insert went: the row kept in the table, and whether it was new.
struct Placement
{
    RowPointer stored;
    bool inserted = false;
};

} // namespace

struct Table::Private
{
    QString name;
    QSharedPointer<RowLayout> layout;
    QHash<QString, int> columnByName;
    // Ascending by key; the master index.
    QVector<QSharedPointer<RecordData>> rows;
    // masterIndex() as last built, until a row is added or removed: directories and the plot walk the
    // whole index on every lookup, and building the list costs more than the walk.
    QList<Record> index;
    bool indexCurrent = false;

    // Also lets go of the rows the old index holds.
    void forgetIndex()
    {
        index = QList<Record>();
        indexCurrent = false;
    }

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

    RowPointer attach(Table* table, const RowPointer& source, bool adopt) const
    {
        RowPointer row = adopt ? source : RowPointer(new RecordData(*source));
        row->table = table;
        row->attached = true;
        return row;
    }

    // One record at a time, each placed by binary search: the reference behaviour, also right for
    // keys that have no order (NaN).
    void placeEach(Table* table, const QVector<RowPointer>& sources, bool adopt,
                   QVector<Placement>* placements)
    {
        for (int i = 0; i < sources.size(); ++i) {
            const int pos = lowerBound(*sources.at(i));
            if (pos < rows.size() && compareKeys(*rows.at(pos), *sources.at(i)) == 0) {
                update(rows.at(pos), sources.at(i));
                (*placements)[i] = {rows.at(pos), false};
            } else {
                rows.insert(pos, attach(table, sources.at(i), adopt));
                forgetIndex();
                (*placements)[i] = {rows.at(pos), true};
            }
        }
    }

    // Many records at once: known keys are updated, new ones sorted and merged into the rows in one
    // pass. The same placements, values and order as placeEach without moving the rows per record.
    void placeMerged(Table* table, const QVector<RowPointer>& sources, bool adopt,
                     QVector<Placement>* placements)
    {
        QVector<int> fresh;
        std::vector<const RecordData*> freshRows;
        for (int i = 0; i < sources.size(); ++i) {
            const int pos = indexOf(*sources.at(i));
            if (pos >= 0) {
                update(rows.at(pos), sources.at(i));
                (*placements)[i] = {rows.at(pos), false};
            } else {
                fresh.append(i);
                freshRows.push_back(sources.at(i).data());
            }
        }
        // Stable: of several records with one new key the first is inserted, the later ones update it.
        QVector<RowPointer> added;
        added.reserve(fresh.size());
        for (const int position : keyOrder(freshRows)) {
            const int i = fresh.at(position);
            if (!added.isEmpty() && compareKeys(*added.constLast(), *sources.at(i)) == 0) {
                update(added.constLast(), sources.at(i));
                (*placements)[i] = {added.constLast(), false};
            } else {
                added.append(attach(table, sources.at(i), adopt));
                (*placements)[i] = {added.constLast(), true};
            }
        }
        QVector<RowPointer> merged;
        merged.reserve(rows.size() + added.size());
        std::merge(rows.cbegin(), rows.cend(), added.cbegin(), added.cend(), std::back_inserter(merged),
                   keyLess);
        rows.swap(merged);
        forgetIndex();
    }

    bool ordered(const QVector<RowPointer>& sources) const
    {
        const auto unordered = [](const RowPointer& row) { return hasUnorderedKey(*row); };
        return std::none_of(sources.cbegin(), sources.cend(), unordered) &&
               std::none_of(rows.cbegin(), rows.cend(), unordered);
    }
};

Table::Table(const QString& name, const QVector<FieldDef>& columns, QObject* parent)
    : QObject(parent), d(new Private)
{
    d->name = name;
    d->layout.reset(new RowLayout(columns));
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
    if (!d->indexCurrent) {
        d->index.clear();
        d->index.reserve(d->rows.size());
        for (const QSharedPointer<RecordData>& row : qAsConst(d->rows))
            d->index.append(Record(row));
        d->indexCurrent = true;
    }
    return d->index;
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

QList<Record> Table::insert(const QList<Record>& records)
{
    return insertRows(records, false);
}

bool Table::accepts(const Record& record) const
{
    return record.d && record.d->table == this && record.d->hasValue(0);
}

QList<Record> Table::insertRows(const QList<Record>& records, bool adopt)
{
    QVector<RowPointer> sources;
    sources.reserve(records.size());
    for (const Record& record : records) {
        if (accepts(record))
            sources.append(record.d);
    }
    // Below a handful of records the binary searches beat a pass over every row.
    const int mergeFrom = 8;
    QVector<Placement> placements(sources.size());
    if (sources.size() >= mergeFrom && d->ordered(sources))
        d->placeMerged(this, sources, adopt, &placements);
    else
        d->placeEach(this, sources, adopt, &placements);

    QList<Record> inserted;
    QList<Record> changed;
    QList<Record> result;
    result.reserve(records.size());
    auto placement = placements.cbegin();
    for (const Record& record : records) {
        if (!accepts(record)) {
            result.append(Record());
            continue;
        }
        const Record stored(placement->stored);
        (placement->inserted ? inserted : changed).append(stored);
        result.append(stored);
        ++placement;
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
    if (!accepts(record))
        return false;
    const int pos = d->indexOf(*record.d);
    if (pos < 0)
        return false;
    const QSharedPointer<RecordData> row = d->rows.takeAt(pos);
    d->forgetIndex();
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
    d->forgetIndex();
    Q_EMIT tableReset();
}
