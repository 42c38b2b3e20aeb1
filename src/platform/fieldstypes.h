#pragma once

// Column type codes and the shared (type code, length or decimals) pairs of the market tables.
namespace FieldsTypes {

enum TypeCode : int
{
    Integer = 1,   // 32-bit signed
    Integer64 = 2, // 64-bit signed
    Double = 3,
    Decimal = 4,  // second number: decimals
    Text = 5,     // second number: maximum length
    DateTime = 6, // milliseconds since the epoch, UTC
    BoardList = 7,
};

struct TypeDef
{
    int code;
    int size; // length for text, decimals for decimal, 0 otherwise
};

constexpr TypeDef stock_id{Integer, 0};
constexpr TypeDef board_id{Integer, 0};
constexpr TypeDef sess_id{Integer, 0};
constexpr TypeDef trs_id{Integer, 0};
constexpr TypeDef msg_id{Integer, 0};

constexpr TypeDef sec_id{Integer64, 0};
constexpr TypeDef order_id{Integer64, 0};
constexpr TypeDef deal_id{Integer64, 0};
constexpr TypeDef row_id{Integer64, 0};
constexpr TypeDef msecs{Integer64, 0};
constexpr TypeDef quantity{Integer64, 0};
constexpr TypeDef ext_id{Integer64, 0};
constexpr TypeDef int_id{Integer64, 0};
constexpr TypeDef int_rev{Integer64, 0};
constexpr TypeDef int_act{Integer64, 0};

constexpr TypeDef money{Decimal, 2};
constexpr TypeDef price{Decimal, 5};
constexpr TypeDef value{Decimal, 2};
constexpr TypeDef greeks{Decimal, 5};
constexpr TypeDef volat{Decimal, 2};
constexpr TypeDef percent{Decimal, 2};
constexpr TypeDef fee{Decimal, 2};
constexpr TypeDef strike{Decimal, 5};

constexpr TypeDef account{Text, 20};
constexpr TypeDef login{Text, 20};
constexpr TypeDef stock_code{Text, 20};
constexpr TypeDef account_to{Text, 20};
constexpr TypeDef stock_code_to{Text, 20};
constexpr TypeDef comment{Text, 20};
constexpr TypeDef sec_code{Text, 25};
constexpr TypeDef sec_name{Text, 40};
constexpr TypeDef buysell{Text, 1};
constexpr TypeDef sectype{Text, 1};
constexpr TypeDef secstate{Text, 1};
constexpr TypeDef sessstate{Text, 1};
constexpr TypeDef status{Text, 1};
constexpr TypeDef text{Text, 256};

constexpr TypeDef moment{DateTime, 0};
constexpr TypeDef server_time{DateTime, 0};

constexpr TypeDef board_list{BoardList, 0};

} // namespace FieldsTypes
