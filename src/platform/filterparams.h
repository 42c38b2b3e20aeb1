#pragma once

#include <QMetaType>

// Filter of the strike models. Each member -1 means "any", so the all-bits-set value is no filter.
struct FilterParams
{
    int boardId = -1;
    int futIsinId = -1;  // fut_isin_id of the option series
    int expDate = -1;    // expiry date as yyyymmdd
    int optionType = -1; // 'C' or 'P' as a character code

    static FilterParams noFilter() { return FilterParams(); }
    bool isNoFilter() const { return boardId == -1 && futIsinId == -1 && expDate == -1 && optionType == -1; }

    friend bool operator==(const FilterParams& a, const FilterParams& b)
    {
        return a.boardId == b.boardId && a.futIsinId == b.futIsinId && a.expDate == b.expDate &&
               a.optionType == b.optionType;
    }
    friend bool operator!=(const FilterParams& a, const FilterParams& b) { return !(a == b); }
};

static_assert(sizeof(FilterParams) == 16, "FilterParams is a 16-byte record");

Q_DECLARE_METATYPE(FilterParams)
