#include "desksettings.h"

#include <plot2d/platform.h>
#include <plot2d/pricebased2dplotlegend.h>

#include <QFileInfo>
#include <QSettings>
#include <QTextStream>

namespace {

// The legend keeps its whole state under this one key.
const QString LegendKey = QStringLiteral("legendItemKeys");

QString legendKey(const QString& group)
{
    return group + QLatin1Char('/') + LegendKey;
}

} // namespace

DeskSettings::DeskSettings(const QString& path, Mode mode)
    : m_path(path), m_mode(mode), m_file(new QSettings(path, QSettings::IniFormat))
{
    // QSettings then writes through QSaveFile and never falls back to rewriting in place.
    m_file->setAtomicSyncRequired(true);
}

DeskSettings::~DeskSettings() = default;

void DeskSettings::storeLegend(const QString& group, const PriceBased2dPlotLegend* legend)
{
    Settings state;
    legend->store(state);
    setValue(legendKey(group), state.value(LegendKey));
}

void DeskSettings::restoreLegend(const QString& group, PriceBased2dPlotLegend* legend) const
{
    Settings state;
    state.setValue(LegendKey, value(legendKey(group)));
    legend->restore(state);
}

QVariant DeskSettings::value(const QString& key, const QVariant& defaultValue) const
{
    return m_file->value(key, defaultValue);
}

void DeskSettings::setValue(const QString& key, const QVariant& value)
{
    if (m_mode == ReadWrite)
        m_file->setValue(key, value);
}

bool DeskSettings::range(const QString& key, double* lower, double* upper) const
{
    const QVariantList bounds = value(key).toList();
    bool okLower = false;
    bool okUpper = false;
    if (bounds.size() == 2) {
        *lower = bounds.at(0).toDouble(&okLower);
        *upper = bounds.at(1).toDouble(&okUpper);
    }
    return okLower && okUpper;
}

void DeskSettings::setRange(const QString& key, double lower, double upper)
{
    setValue(key, QVariantList{lower, upper});
}

bool DeskSettings::save()
{
    if (m_mode == ReadOnly)
        return true;
    m_file->sync();
    if (m_file->status() == QSettings::NoError)
        return true;
    if (!m_warned) {
        QTextStream(stderr) << "plot2d-demo: warning: cannot write settings " << m_path
                            << "; changes are kept for this session only\n";
        m_warned = true;
    }
    return false;
}
