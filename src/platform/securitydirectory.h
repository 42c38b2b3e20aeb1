#pragma once

#include "platformglobal.h"
#include "record.h"

// Lookups over the "securities" table of the data store.
class PLATFORM_EXPORT SecurityDirectory
{
public:
    static SecurityDirectory* i();

    // The security with this isin_id on this board_id, or a null record.
    Record recordByIsinId(int isinId, int boardId) const;
    // Decimal places of the security's price_step (0.01 gives 2, 10 gives 0); -1 when unknown.
    int decimalsById(int stockId, int boardId, long long secId) const;

private:
    SecurityDirectory() = default;
};
