#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <memory>

class PriceBased2dPlotLegend;
class QSettings;

// The desk's INI file: the legends' rows, the window geometry, the view and the grid choice.
// Every save writes the whole file through a temporary that replaces it atomically, so a kill
// never leaves half a file. A file that cannot be written is reported once on stderr; the desk
// goes on with its state kept in memory. A read-only instance never writes.
class DeskSettings
{
public:
    enum Mode
    {
        ReadWrite,
        ReadOnly,
    };

    DeskSettings(const QString& path, Mode mode);
    ~DeskSettings();

    QString path() const { return m_path; }
    bool isWritable() const { return m_mode == ReadWrite; }

    // `group` keeps the legends of several plots apart.
    void storeLegend(const QString& group, const PriceBased2dPlotLegend* legend);
    void restoreLegend(const QString& group, PriceBased2dPlotLegend* legend) const;

    QVariant value(const QString& key, const QVariant& defaultValue = QVariant()) const;
    void setValue(const QString& key, const QVariant& value);
    // An axis range as two numbers; false when the key holds none.
    bool range(const QString& key, double* lower, double* upper) const;
    void setRange(const QString& key, double lower, double upper);
    // Writes pending changes; false (after the one warning) when the file cannot be written.
    bool save();

private:
    QString m_path;
    Mode m_mode;
    std::unique_ptr<QSettings> m_file;
    bool m_warned = false;
};
