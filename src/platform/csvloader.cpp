#include "csvloader_p.h"

#include "fieldstypes.h"
#include "recorddata_p.h"
#include "table.h"

#include <QSet>
#include <QStringList>

#include <algorithm>

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
                cell.unquoted.append(c);
            } else if (i + 1 < line.size() && line.at(i + 1) == QLatin1Char('"')) {
                cell.unquoted.append(line.at(++i));
            } else {
                inQuotes = false;
                afterQuotes = true;
            }
        } else if (c == QLatin1Char(',')) {
            cells->append(cell);
            cell = Cell();
            cell.start = i + 1;
            afterQuotes = false;
        } else if (afterQuotes) {
            *failure = {cells->size() + 1, QStringLiteral("text after a closing quote")};
            return false;
        } else if (c == QLatin1Char('"') && cell.length == 0) {
            inQuotes = cell.quoted = true;
        } else {
            ++cell.length;
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
        *message = QStringLiteral("column %1 is not name:type or name:type:n").arg(quoted(text));
        return false;
    }
    bool ok = false;
    def->name = parts.at(0);
    def->type = parts.at(1).toInt(&ok);
    if (!ok || def->type < FieldsTypes::Integer || def->type > FieldsTypes::BoardList) {
        *message = QStringLiteral("unknown type code %1").arg(quoted(parts.at(1)));
        return false;
    }
    def->size = parts.size() == 3 ? parts.at(2).toInt(&ok) : 0;
    if (!ok || def->size < 0 || (def->type == FieldsTypes::Decimal && def->size > 18)) {
        *message = QStringLiteral("bad length or decimals %1").arg(quoted(parts.value(2)));
        return false;
    }
    return true;
}

bool parseHeader(const QString& line, const QVector<Cell>& cells, QVector<FieldDef>* columns,
                 Failure* failure)
{
    QSet<QString> names;
    for (int i = 0; i < cells.size(); ++i) {
        FieldDef def;
        if (!parseColumn(cells.at(i).text(line).toString(), &def, &failure->message)) {
            failure->column = i + 1;
            return false;
        }
        if (names.contains(def.name)) {
            *failure = {i + 1, QStringLiteral("duplicate column %1").arg(quoted(def.name))};
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

QString quoted(QStringView text)
{
    const int longest = 60;
    if (text.size() <= longest)
        return QLatin1Char('"') + text.toString() + QLatin1Char('"');
    int kept = 40;
    if (text.at(kept - 1).isHighSurrogate())
        --kept;
    return QStringLiteral("\"%1...\" (%2 characters)").arg(text.left(kept).toString()).arg(text.size());
}

TextPool::TextPool(int columnCount) : m_columns(columnCount) {}

QString TextPool::share(int column, const QStringRef& text)
{
    Recent& recent = m_columns[column];
    for (const QString& known : recent.texts) {
        if (known.size() == text.size() && text == known)
            return known;
    }
    QString& slot = recent.texts[recent.next];
    recent.next = (recent.next + 1) % Size;
    slot = text.toString();
    return slot;
}

Reader::Reader(const QString& path) : m_path(path), m_file(path) {}

bool Reader::nextLine(QString* line)
{
    while (!m_ended) {
        // Empty only at the end: a line read keeps its line break. (atEnd() would not wait for a pipe.)
        QByteArray bytes = m_file.readLine();
        if (bytes.isEmpty())
            break;
        ++m_lineNumber;
        // The content ends at the first NUL byte, as a C string would.
        const int nul = bytes.indexOf('\0');
        if (nul >= 0) {
            bytes.truncate(nul);
            m_ended = true;
        }
        // Decoded with its line break, so that a broken sequence before it reads as in the whole file.
        // fromUtf8 drops a byte-order mark that starts its input: only the file's own is dropped
        // (with one more, as the file's first character).
        if (m_lineNumber > 1 && bytes.startsWith("\xEF\xBB\xBF")) {
            *line = QString::fromUtf8(QByteArray('\n' + bytes)).mid(1);
        } else {
            *line = QString::fromUtf8(bytes);
            if (m_lineNumber == 1 && line->startsWith(QChar(0xFEFF)))
                line->remove(0, 1);
        }
        if (line->endsWith(QLatin1Char('\n')))
            line->chop(1);
        if (line->endsWith(QLatin1Char('\r')))
            line->chop(1);
        if (!QStringView(*line).trimmed().isEmpty())
            return true;
    }
    return false;
}

bool Reader::readHeader(QString* error)
{
    if (!m_file.open(QIODevice::ReadOnly)) {
        *error = errorText(m_path, 1, 1, QStringLiteral("cannot open file: %1").arg(m_file.errorString()));
        return false;
    }
    QString line;
    if (!nextLine(&line)) {
        *error = errorText(m_path, 1, 1, QStringLiteral("no header line"));
        return false;
    }
    Failure failure;
    if (!splitLine(line, &m_cells, &failure) || !parseHeader(line, m_cells, &m_columns, &failure)) {
        *error = errorText(m_path, m_lineNumber, failure.column, failure.message);
        return false;
    }
    m_texts = TextPool(m_columns.size());
    return true;
}

bool Reader::readRows(const Table* layout, QList<Record>* records, QVector<int>* lines, QString* error)
{
    QString conversionError;
    QString line;
    while (nextLine(&line)) {
        Failure failure;
        if (!splitLine(line, &m_cells, &failure)) {
            *error = errorText(m_path, m_lineNumber, failure.column, failure.message);
            return false;
        }
        if (m_cells.size() != m_columns.size()) {
            *error = errorText(m_path, m_lineNumber, qMin(m_cells.size(), m_columns.size()) + 1,
                               QStringLiteral("%1 cells where %2 columns are declared")
                                   .arg(m_cells.size())
                                   .arg(m_columns.size()));
            return false;
        }
        if (!layout || !conversionError.isEmpty())
            continue;
        Record record = layout->newRecord();
        if (convertRow(line, &record, &conversionError)) {
            records->append(record);
            lines->append(m_lineNumber);
        }
    }
    if (!conversionError.isEmpty())
        *error = conversionError;
    return conversionError.isEmpty();
}

bool Reader::convertRow(const QString& line, Record* record, QString* error)
{
    RecordData* row = RecordData::of(*record);
    for (int column = 0; column < m_cells.size(); ++column) {
        const Cell& cell = m_cells.at(column);
        const QStringRef text = cell.text(line);
        if (text.isEmpty() && !cell.quoted) {
            if (column == 0) {
                *error = errorText(m_path, m_lineNumber, 1, QStringLiteral("the key is empty"));
                return false;
            }
            continue;
        }
        const FieldDef& def = m_columns.at(column);
        bool converted = false;
        if (isTextual(def)) {
            converted = textFits(def, text.size());
            if (converted)
                row->text(column) = m_texts.share(column, text);
        } else {
            converted = convertText(def, text, &row->cells[column]);
        }
        if (!converted) {
            *error = errorText(m_path, m_lineNumber, column + 1,
                               QStringLiteral("%1 is not a valid %2 for column \"%3\"")
                                   .arg(quoted(text), typeName(def.type), def.name));
            return false;
        }
        row->setPresent(column, true);
    }
    if (hasUnorderedKey(*row)) {
        *error = errorText(m_path, m_lineNumber, 1, QStringLiteral("a key cannot be NaN (not a number)"));
        return false;
    }
    return true;
}

bool checkUniqueKeys(const QString& path, const QList<Record>& records, const QVector<int>& lines,
                     QString* error)
{
    std::vector<const RecordData*> rows;
    rows.reserve(records.size());
    for (const Record& record : records)
        rows.push_back(RecordData::of(record));
    const std::vector<int> order = keyOrder(rows);
    // Of all repeated keys, the one repeated first in the file.
    int first = -1;
    int repeat = -1;
    for (size_t i = 1; i < order.size(); ++i) {
        if (compareKeys(*rows[order[i - 1]], *rows[order[i]]) == 0 &&
            (repeat < 0 || lines.at(order[i]) < lines.at(repeat))) {
            first = order[i - 1];
            repeat = order[i];
        }
    }
    if (repeat < 0)
        return true;
    *error = errorText(path, lines.at(repeat), 1,
                       QStringLiteral("the key %1 is already on line %2")
                           .arg(quoted(RecordData::of(records.at(repeat))->field(0).toString()))
                           .arg(lines.at(first)));
    return false;
}

} // namespace CsvLoader
