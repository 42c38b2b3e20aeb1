#include "datastore.h"

#include "csvloader_p.h"
#include "table.h"

#include <memory>

namespace {

bool sameColumns(const QVector<FieldDef>& a, const QVector<FieldDef>& b)
{
    if (a.size() != b.size())
        return false;
    for (int i = 0; i < a.size(); ++i) {
        if (a.at(i).type != b.at(i).type || a.at(i).size != b.at(i).size || a.at(i).name != b.at(i).name)
            return false;
    }
    return true;
}

int firstDifferentColumn(const QVector<FieldDef>& a, const QVector<FieldDef>& b)
{
    int column = 0;
    while (column < a.size() && column < b.size() && sameColumns({a.at(column)}, {b.at(column)}))
        ++column;
    return column + 1;
}

} // namespace

DataStore::DataStore(QObject* parent) : QObject(parent) {}

DataStore::~DataStore()
{
    qDeleteAll(m_tables);
}

Table* DataStore::table(const QString& name) const
{
    return m_tables.value(name, nullptr);
}

QStringList DataStore::tableNames() const
{
    return m_tables.keys();
}

Table* DataStore::createTable(const QString& name, const QVector<FieldDef>& columns)
{
    if (Table* existing = table(name))
        return sameColumns(existing->fieldDefs(), columns) ? existing : nullptr;
    return addTable(new Table(name, columns));
}

Table* DataStore::addTable(Table* created)
{
    created->setParent(this);
    m_tables.insert(created->name(), created);
    Q_EMIT tableAdded(created->name());
    return created;
}

void DataStore::removeTable(const QString& name)
{
    Table* removed = m_tables.take(name);
    if (!removed)
        return;
    delete removed;
    Q_EMIT tableRemoved(name);
}

void DataStore::clear()
{
    const QStringList names = tableNames();
    for (const QString& name : names)
        removeTable(name);
}

Table* DataStore::loadCsv(const QString& name, const QString& path, QString* error)
{
    QString message;
    QString* const report = error ? error : &message;

    // Everything is read and converted before any table is touched, so a failure changes nothing.
    CsvLoader::Reader reader(path);
    if (!reader.readHeader(report))
        return nullptr;
    Table* existing = table(name);
    const bool fits = !existing || sameColumns(existing->fieldDefs(), reader.columns());
    std::unique_ptr<Table> created(existing ? nullptr : new Table(name, reader.columns()));
    Table* target = existing ? existing : created.get();
    QList<Record> records;
    QVector<int> lines;
    if (!reader.readRows(fits ? target : nullptr, &records, &lines, report))
        return nullptr;
    if (!fits) {
        *report =
            CsvLoader::errorText(path, 1, firstDifferentColumn(existing->fieldDefs(), reader.columns()),
                                 QStringLiteral("the columns differ from those of table \"%1\"").arg(name));
        return nullptr;
    }
    if (!CsvLoader::checkUniqueKeys(path, records, lines, report))
        return nullptr;
    if (created)
        addTable(created.release());
    // The records were made for this load alone: they become the rows without being copied.
    target->insertRows(records, true);
    return target;
}
