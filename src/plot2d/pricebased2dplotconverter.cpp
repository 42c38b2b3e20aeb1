#include "pricebased2dplotconverter.h"

#include "plot2dcommon.h"

#include <QLocale>

#include <cmath>

PriceBased2dPlotConverter::PriceBased2dPlotConverter() = default;

PriceBased2dPlotConverter::~PriceBased2dPlotConverter()
{
    delete m_conversionObject;
}

void PriceBased2dPlotConverter::setConvertionObject(Conversion* object)
{
    // Passing the current object again frees it; callers must not do that.
    delete m_conversionObject;
    m_conversionObject = object;
}

QString PriceBased2dPlotConverter::convertedValue(double value) const
{
    if (!std::isfinite(value))
        return QString();

    if (m_conversionEnabled) {
        if (!m_conversionObject || !m_conversionMethod)
            return QString();
        value = (m_conversionObject->*m_conversionMethod)(value);
        if (!std::isfinite(value))
            return QString();
    }

    QString text = Plot2dCommon::fromDoubleToSystemStringShort(value, m_precision);
    if (text.isEmpty())
        return QString();
    if (!m_metricUnit.isEmpty())
        text = QStringLiteral("%1%2").arg(text, m_metricUnit);
    if (value > 0.0 && m_showPositiveSign)
        text.insert(0, QLocale::system().positiveSign());
    return text;
}
