#pragma once

// Internal CSV reader of DataStore::loadCsv; not installed.

#include "field.h"
#include "record.h"

#include <QFile>
#include <QList>
#include <QString>
#include <QStringView>
#include <QVector>

#include <array>

class Table;

namespace CsvLoader {

// "FILE:LINE:COLUMN: message", line and column counted from 1.
QString errorText(const QString& path, int line, int column, const QString& message);

// `text` in double quotes for a message; a long text is cut and its length given, so that a huge
// cell does not flood the message.
QString quoted(QStringView text);

// One cell of a line: a range of the line, or its own text when it was quoted.
struct Cell
{
    int start = 0;
    int length = 0;
    bool quoted = false; // a quoted empty cell is an empty text, not a null field
    QString unquoted;

    QStringRef text(const QString& line) const
    {
        return quoted ? QStringRef(&unquoted) : QStringRef(&line, start, length);
    }
};

// Equal short texts of one column share one string: a file repeats codes and names on every row.
class TextPool
{
public:
    explicit TextPool(int columnCount);
    QString share(int column, const QStringRef& text);

private:
    static const int Size = 8;
    struct Recent
    {
        std::array<QString, Size> texts;
        int next = 0;
    };
    QVector<Recent> m_columns;
};

// Reads a CSV file line by line: the header, then the rows.
class Reader
{
public:
    explicit Reader(const QString& path);

    // Opens the file and reads the header line. False with `error` set on failure.
    bool readHeader(QString* error);
    const QVector<FieldDef>& columns() const { return m_columns; }

    // Reads the remaining lines. With a `layout` (a table of the header's columns) every row becomes
    // a new record of it, in file order, with its line number in `lines`; without one the rows are
    // only checked. The first malformed line wins over the first cell that does not convert.
    bool readRows(const Table* layout, QList<Record>* records, QVector<int>* lines, QString* error);

private:
    // The next line that is not blank, without its line break. False at the end of the content.
    bool nextLine(QString* line);
    bool convertRow(const QString& line, Record* record, QString* error);

    QString m_path;
    QFile m_file;
    int m_lineNumber = 0;
    bool m_ended = false;
    QVector<FieldDef> m_columns;
    QVector<Cell> m_cells;
    TextPool m_texts{0};
};

// False with `error` naming both lines when two records have the same key.
bool checkUniqueKeys(const QString& path, const QList<Record>& records, const QVector<int>& lines,
                     QString* error);

} // namespace CsvLoader
