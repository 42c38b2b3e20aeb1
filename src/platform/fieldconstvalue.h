#pragma once

// One-character codes stored in text columns of the market tables.
namespace FieldConstValue {

namespace SecTypes {
constexpr char Futures = 'F';
constexpr char Option = 'O';
constexpr char Spred = 'H';
constexpr char Risk = 'K';
constexpr char Indexes = 'I';
} // namespace SecTypes

namespace OptioType {
constexpr char Put = 'P';
constexpr char Call = 'C';
} // namespace OptioType

namespace Statuses {
constexpr char Active = 'A';
constexpr char Withdrawn = 'W';
} // namespace Statuses

namespace Buysells {
constexpr char Buy = 'B';
constexpr char Sell = 'S';
} // namespace Buysells

namespace Anonyms {
constexpr char Anonym = 'D';
constexpr char Address = 'A';
} // namespace Anonyms

namespace OptioCalc {
constexpr char AmerA = 'A';
constexpr char AmerB = 'B';
} // namespace OptioCalc

namespace PriceDirs {
constexpr char Asc = 'A';
constexpr char Desc = 'D';
} // namespace PriceDirs

} // namespace FieldConstValue

constexpr char SecTypes_Futures = FieldConstValue::SecTypes::Futures;
