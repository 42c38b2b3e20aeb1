#pragma once

#include "plot2dglobal.h"

#include <QString>

// Turns an axis value into the text of its label: optional client conversion, locale formatting,
// metric unit suffix and optional plus sign.
class PLOT2D_EXPORT PriceBased2dPlotConverter
{
public:
    // The client's conversion object; known to the library only through the method below.
    class Conversion
    {
    public:
        virtual ~Conversion() = default;
    };
    using ConversionMethod = double (Conversion::*)(double);

    PriceBased2dPlotConverter();
    virtual ~PriceBased2dPlotConverter();

    PriceBased2dPlotConverter(const PriceBased2dPlotConverter&) = delete;
    PriceBased2dPlotConverter& operator=(const PriceBased2dPlotConverter&) = delete;

    // Takes ownership; deletes the previous object. (The spelling is the established API name.)
    void setConvertionObject(Conversion* object);
    Conversion* conversionObject() const { return m_conversionObject; }

    void setConversionEnabled(bool enabled) { m_conversionEnabled = enabled; }
    bool conversionEnabled() const { return m_conversionEnabled; }
    void setConversionMethod(ConversionMethod method) { m_conversionMethod = method; }
    ConversionMethod conversionMethod() const { return m_conversionMethod; }
    void setMetricUnit(const QString& unit) { m_metricUnit = unit; }
    QString metricUnit() const { return m_metricUnit; }
    void setShowPositiveSign(bool show) { m_showPositiveSign = show; }
    bool showPositiveSign() const { return m_showPositiveSign; }
    void setPrecision(int precision) { m_precision = precision; }
    int precision() const { return m_precision; }

    // The label text of a value; empty for non-finite input or an unusable conversion.
    virtual QString convertedValue(double value) const;

private:
    bool m_conversionEnabled = false;
    Conversion* m_conversionObject = nullptr;
    ConversionMethod m_conversionMethod = nullptr;
    QString m_metricUnit;
    bool m_showPositiveSign = false;
    int m_precision = 10;
};
