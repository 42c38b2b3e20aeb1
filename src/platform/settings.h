#pragma once

#include "platformglobal.h"

#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <memory>

class QSettings;

// Key-value settings store. Built with a path it persists to that INI file (through QSettings);
// built without one it keeps values in memory.
class PLATFORM_EXPORT Settings
{
public:
    Settings();
    explicit Settings(const QString& iniPath);
    ~Settings();
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    QVariant value(const QString& key, const QVariant& defaultValue = QVariant()) const;
    void setValue(const QString& key, const QVariant& value);
    bool contains(const QString& key) const;
    void remove(const QString& key);
    // Writes pending changes to the file (no-op in memory).
    void sync();
    QString fileName() const; // empty in memory

private:
    std::unique_ptr<QSettings> m_file;
    QVariantMap m_memory;
};
