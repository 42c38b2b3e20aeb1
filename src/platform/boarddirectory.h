#pragma once

#include "platformglobal.h"

// Lookups over the "boards" table (stock_id, board_id, anonym) of the data store.
class PLATFORM_EXPORT BoardDirectory
{
public:
    static BoardDirectory* i();

    // True when the board's anonym column holds FieldConstValue::Anonyms::Anonym ('D').
    bool isAnonymById(int stockId, int boardId) const;

private:
    BoardDirectory() = default;
};
