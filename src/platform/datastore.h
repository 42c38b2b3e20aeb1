#pragma once

#include "platformglobal.h"

#include <QMap>
#include <QObject>
#include <QString>
#include <QVector>

class Table;
struct FieldDef;

// The process-wide set of named tables.
class PLATFORM_EXPORT DataStore : public QObject
{
    Q_OBJECT

public:
    explicit DataStore(QObject* parent = nullptr);
    ~DataStore() override;

    virtual Table* table(const QString& name) const; // null when absent
    QStringList tableNames() const;

    // Creates an empty table; an existing table of that name is returned only when its columns
    // are identical, otherwise null.
    Table* createTable(const QString& name, const QVector<FieldDef>& columns);
    // Deletes a table. Objects holding its pointer must be gone.
    void removeTable(const QString& name);
    void clear();

    // Loads a CSV file (UTF-8, comma-separated). The first line names the columns as
    // "name:type" or "name:type:n" (type code, then length or decimals); an empty cell is a null
    // field. A new name creates the table; an existing name with identical columns gets the rows
    // added, a row whose key exists replacing the old one. A key may appear only once in a file.
    // On any error returns null, leaves every table exactly as it was and, when `error` is given,
    // describes it as "FILE:LINE:COLUMN: message" (line and column counted from 1).
    Table* loadCsv(const QString& name, const QString& path, QString* error = nullptr);

Q_SIGNALS:
    void tableAdded(const QString& name);
    void tableRemoved(const QString& name);

private:
    // Takes `created` into the store and announces it.
    Table* addTable(Table* created);

    QMap<QString, Table*> m_tables;
};
