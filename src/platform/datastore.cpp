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
    Table* created = new Table(name, columns, this);
    m_tables.insert(name, created);
    Q_EMIT tableAdded(name);
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
    CsvLoader::Document document;
    if (!CsvLoader::read(path, &document, report))
        return nullptr;
    Table* existing = table(name);
    if (existing && !sameColumns(existing->fieldDefs(), document.columns)) {
        *report =
            CsvLoader::errorText(path, 1, firstDifferentColumn(existing->fieldDefs(), document.columns),
                                 QStringLiteral("the columns differ from those of table \"%1\"").arg(name));
        return nullptr;
    }
    const std::unique_ptr<Table> scratch(new Table(name, document.columns));
    QList<Record> parsed;
    if (!CsvLoader::convertRows(document, *scratch, &parsed, report))
        return nullptr;

    Table* target = existing ? existing : createTable(name, document.columns);
    QList<Record> rows;
    rows.reserve(parsed.size());
    for (const Record& source : qAsConst(parsed)) {
        Record row = target->newRecord();
        for (int column = 0; column < document.columns.size(); ++column)
            row.setValue(column, source.value(column));
        rows.append(row);
    }
    target->insert(rows);
    return target;
}
