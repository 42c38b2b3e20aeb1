#pragma once

#include "filterparams.h"
#include "strikebybasecodemodel.h"

// The strikes of the latest session only (largest sess_id among the base code's series),
// narrowed by a FilterParams filter.
class PLATFORM_EXPORT StrikeByMaxSessionModel : public StrikeByBaseCodeModel
{
    Q_OBJECT

public:
    explicit StrikeByMaxSessionModel(Table* table, QObject* parent = nullptr);

    void setFilterParams(const FilterParams& params);
    FilterParams filterParams() const;
    int maxSession() const;

protected:
    bool acceptsRow(const Record& row) const override;
    void prepareRefresh(const QList<Record>& candidates) override;

private:
    FilterParams m_filter;
    int m_maxSession = 0;
};
