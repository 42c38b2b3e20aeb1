#include "settings.h"

#include <QSettings>

Settings::Settings() = default;

Settings::Settings(const QString& iniPath) : m_file(new QSettings(iniPath, QSettings::IniFormat)) {}

Settings::~Settings() = default;

QVariant Settings::value(const QString& key, const QVariant& defaultValue) const
{
    if (m_file)
        return m_file->value(key, defaultValue);
    return m_memory.value(key, defaultValue);
}

void Settings::setValue(const QString& key, const QVariant& value)
{
    if (m_file)
        m_file->setValue(key, value);
    else
        m_memory.insert(key, value);
}

bool Settings::contains(const QString& key) const
{
    return m_file ? m_file->contains(key) : m_memory.contains(key);
}

void Settings::remove(const QString& key)
{
    if (m_file)
        m_file->remove(key);
    else
        m_memory.remove(key);
}

void Settings::sync()
{
    if (m_file)
        m_file->sync();
}

QString Settings::fileName() const
{
    return m_file ? m_file->fileName() : QString();
}
