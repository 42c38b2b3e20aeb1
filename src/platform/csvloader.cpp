#include "csvloader_p.h"

#include "fieldstypes.h"
#include "record.h"
#include "table.h"

#include <QFile>
#include <QSet>
#include <QStringList>

namespace CsvLoader {

namespace {

struct Failure
{
    int column = 1;
    QString message;
};

// Splits one line into cells; a cell may be quoted ("a, b" with "" for a quote inside).
bool splitLine(const QString& line, QVector<Cell>* cells, Failure* failure)
{
    cells->clear();
    Cell cell;
    bool inQuotes = false;
    bool afterQuotes = false;
    for (int i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (inQuotes) {
            if (c != QLatin1Char('"')) {
                cell.text.append(c);
            } else if (i + 1 < line.size() && line.at(i + 1) == QLatin1Char('"')) {
                cell.text.append(line.at(++i));
            } else {
                inQuotes = false;
                afterQuotes = true;
            }
        } else if (c == QLatin1Char(',')) {
            cells->append(cell);
            cell = Cell();
            afterQuotes = false;
        } else if (afterQuotes) {
            *failure = {cells->size() + 1, QStringLiteral("text after a closing quote")};
            return false;
        } else if (c == QLatin1Char('"') && cell.text.isEmpty()) {
            inQuotes = cell.quoted = true;
        } else {
            cell.text.append(c);
        }
    }
    if (inQuotes) {
        *failure = {cells->size() + 1, QStringLiteral("unterminated quote")};
        return false;
    }
    cells->append(cell);
    return true;
}

bool parseColumn(const QString& text, FieldDef* def, QString* message)
{
    const QStringList parts = text.trimmed().split(QLatin1Char(':'));
    if (parts.size() < 2 || parts.size() > 3 || parts.at(0).isEmpty()) {
        *message = QStringLiteral("column \"%1\" is not name:type or name:type:n").arg(text);
        return false;
    }
    bool ok = false;
    def->name = parts.at(0);
    def->type = parts.at(1).toInt(&ok);
    if (!ok || def->type < FieldsTypes::Integer || def->type > FieldsTypes::BoardList) {
        *message = QStringLiteral("unknown type code \"%1\"").arg(parts.at(1));
        return false;
    }
    def->size = parts.size() == 3 ? parts.at(2).toInt(&ok) : 0;
    if (!ok || def->size < 0 || (def->type == FieldsTypes::Decimal && def->size > 18)) {
        *message = QStringLiteral("bad length or decimals \"%1\"").arg(parts.value(2));
        return false;
    }
    return true;
}

bool parseHeader(const QVector<Cell>& cells, QVector<FieldDef>* columns, Failure* failure)
{
    QSet<QString> names;
    for (int i = 0; i < cells.size(); ++i) {
        FieldDef def;
        if (!parseColumn(cells.at(i).text, &def, &failure->message)) {
            failure->column = i + 1;
            return false;
        }
        if (names.contains(def.name)) {
            *failure = {i + 1, QStringLiteral("duplicate column \"%1\"").arg(def.name)};
            return false;
        }
        names.insert(def.name);
        columns->append(def);
    }
    return true;
}

QString typeName(int type)
{
    static const char* const names[] = {"",        "32-bit integer", "64-bit integer", "double",
                                        "decimal", "text",           "date-time",      "board list"};
    return QString::fromLatin1(type >= 1 && type <= 7 ? names[type] : "value");
}

} // namespace

QString errorText(const QString& path, int line, int column, const QString& message)
{
    return QStringLiteral("%1:%2:%3: %4").arg(path).arg(line).arg(column).arg(message);
}

bool read(const QString& path, Document* document, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = errorText(path, 1, 1, QStringLiteral("cannot open file: %1").arg(file.errorString()));
        return false;
    }
    QString content = QString::fromUtf8(file.readAll());
    if (content.startsWith(QChar(0xFEFF)))
        content.remove(0, 1);
    const QStringList lines = content.split(QLatin1Char('\n'));
    document->path = path;
    bool headerSeen = false;
    for (int i = 0; i < lines.size(); ++i) {
        QString line = lines.at(i);
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        if (line.trimmed().isEmpty())
            continue;
        Row row;
        row.line = i + 1;
        Failure failure;
        bool ok = splitLine(line, &row.cells, &failure);
        if (ok && !headerSeen) {
            ok = parseHeader(row.cells, &document->columns, &failure);
            headerSeen = true;
        } else if (ok && row.cells.size() != document->columns.size()) {
            failure = {qMin(row.cells.size(), document->columns.size()) + 1,
                       QStringLiteral("%1 cells where %2 columns are declared")
                           .arg(row.cells.size())
                           .arg(document->columns.size())};
            ok = false;
        } else if (ok) {
            document->rows.append(row);
        }
        if (!ok) {
            *error = errorText(path, row.line, failure.column, failure.message);
            return false;
        }
    }
    if (!headerSeen) {
        *error = errorText(path, 1, 1, QStringLiteral("no header line"));
        return false;
    }
    return true;
}

bool convertRows(const Document& document, const Table& layout, QList<Record>* records, QString* error)
{
    for (const Row& row : document.rows) {
        Record record = layout.newRecord();
        for (int column = 0; column < row.cells.size(); ++column) {
            const Cell& cell = row.cells.at(column);
            const bool null = cell.text.isEmpty() && !cell.quoted;
            if (null && column == 0) {
                *error = errorText(document.path, row.line, 1, QStringLiteral("the key is empty"));
                return false;
            }
            if (!null && !record.setValue(column, cell.text)) {
                const FieldDef& def = document.columns.at(column);
                *error = errorText(document.path, row.line, column + 1,
                                   QStringLiteral("\"%1\" is not a valid %2 for column \"%3\"")
                                       .arg(cell.text, typeName(def.type), def.name));
                return false;
            }
        }
        records->append(record);
    }
    return true;
}

} // namespace CsvLoader
