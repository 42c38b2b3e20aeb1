#pragma once

#include "plot2dglobal.h"

#include <QString>

/// Turns an axis value into the text of its label: optional client conversion, locale formatting,
/// metric unit suffix and optional plus sign. Lets an axis show prices in another unit.
class PLOT2D_EXPORT PriceBased2dPlotConverter
{
public:
    /// The client's conversion object; known to the library only through the method below.
    class Conversion
    {
    public:
        /// Deleted by the converter that owns it.
        virtual ~Conversion() = default;
    };
    /// The client's conversion: a member of its Conversion subclass from axis value to shown value.
    using ConversionMethod = double (Conversion::*)(double);

    /// A converter that shows values as they are: no conversion, no unit, 10 places at most.
    PriceBased2dPlotConverter();
    /// Deletes the conversion object.
    virtual ~PriceBased2dPlotConverter();

    /// Not copyable: it owns its conversion object.
    PriceBased2dPlotConverter(const PriceBased2dPlotConverter&) = delete;
    /// Not copyable: it owns its conversion object.
    PriceBased2dPlotConverter& operator=(const PriceBased2dPlotConverter&) = delete;

    /// Takes ownership; deletes the previous object. (The spelling is the established API name.)
    void setConvertionObject(Conversion* object);
    /// The object the conversion method is called on; null when none was set.
    Conversion* conversionObject() const { return m_conversionObject; }

    /// Switches the client's conversion on or off; off shows the axis values themselves.
    void setConversionEnabled(bool enabled) { m_conversionEnabled = enabled; }
    /// Whether labels show converted values.
    bool conversionEnabled() const { return m_conversionEnabled; }
    /// The member of the conversion object that converts a value.
    void setConversionMethod(ConversionMethod method) { m_conversionMethod = method; }
    /// The conversion member in use; null when none was set.
    ConversionMethod conversionMethod() const { return m_conversionMethod; }
    /// Unit text appended to converted labels.
    void setMetricUnit(const QString& unit) { m_metricUnit = unit; }
    /// Unit text appended to converted labels; empty for none.
    QString metricUnit() const { return m_metricUnit; }
    /// Whether positive converted values carry a '+', as for changes against a reference.
    void setShowPositiveSign(bool show) { m_showPositiveSign = show; }
    /// Whether positive converted values carry a '+'.
    bool showPositiveSign() const { return m_showPositiveSign; }
    /// Most decimal places of a converted label.
    void setPrecision(int precision) { m_precision = precision; }
    /// Most decimal places of a converted label.
    int precision() const { return m_precision; }

    /// The label text of a value; empty for non-finite input or an unusable conversion.
    virtual QString convertedValue(double value) const;

private:
    bool m_conversionEnabled = false;
    Conversion* m_conversionObject = nullptr;
    ConversionMethod m_conversionMethod = nullptr;
    QString m_metricUnit;
    bool m_showPositiveSign = false;
    int m_precision = 10;
};
