/// @file
/// Conditions of a query: a field, an operator and the values that it is compared with.
///
///     using namespace Quoll::Literals;
///     DataFilter filter;
///     filter.SetField("state"_w);
///     filter.SetFilterOperator(FilterOperator::Equal);
///     filter.SetValue("new,open"_w);
///     const bool isOut = DataFilter::FilterField("state"_w, record.state.c_str(), {filter});
///
/// DataFilterException in Quoll/Errors.h is for clients to throw; nothing here throws it.
///
/// Threads: plain values, and any number of threads may read one.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

#include <concepts>
#include <cstdint>
#include <vector>

namespace Quoll::Utilities
{

class UtcTime;

/// How a record's value is compared with those of a filter.
enum class FilterOperator : std::int32_t
{
    Equal = 0,          ///< "="
    NotEqual = 1,       ///< "<>"
    Greater = 2,        ///< ">"
    Less = 3,           ///< "<"
    GreaterOrEqual = 4, ///< ">="
    LessOrEqual = 5     ///< "<="
};

/// One condition. A new one has no field, the operator Equal and no values.
class QUOLL_API DataFilter
{
public:
    /// The field's name.
    const WString& GetField() const noexcept;
    /// The operator.
    FilterOperator GetFilterOperator() const noexcept;
    /// The values, in the order of the text that they came from.
    const std::vector<WString>& GetValue() const noexcept;

    /// Sets the field's name, without blanks, CR and LF at both ends.
    void SetField(WString field);
    /// Sets the operator; any number is kept.
    void SetFilterOperator(FilterOperator filterOperator) noexcept;
    /// Replaces the values by the parts of the text between commas, empty ones left out. Blanks stay: "a, b" gives "a"
    /// and " b". The text ends at its first NUL.
    void SetValue(const WString& text);

    /// "=", "<>", ">", "<", ">=" or "<=".
    /// @throws std::runtime_error  "Given operator is unknown and cannot converted to SQL operator": the number isn't
    ///                             one of FilterOperator
    static WString OperatorToSQL(FilterOperator filterOperator);

    /// Whether a record is to be filtered out that has the value in the field: a wide text or a pointer to one, an int,
    /// an unsigned number of 64 bits, or a UtcTime.
    ///
    /// Filters of other fields (names are equal if all of their units are) don't count. The first filter that rejects
    /// the value decides, and none if there is no such:
    ///
    ///     Equal           rejects unless the value equals some item of the filter
    ///     NotEqual        rejects if the value equals some item
    ///     Greater         rejects unless the value is greater than some item
    ///     Less            rejects unless the value is less than some item
    ///     GreaterOrEqual  rejects unless the value is greater than some item, or equals one
    ///     LessOrEqual     rejects unless the value is less than some item, or equals one
    ///
    /// So items are alternatives, filters must all hold, and a filter without items rejects every value, but for
    /// NotEqual. Any other operator rejects nothing.
    ///
    /// Text is compared by units, then by length; a null pointer is an empty text. For numbers each item is converted,
    /// one after the other, as long as the filter isn't decided: C's white space, an optional sign and decimal digits
    /// are read, and what follows is ignored; for an unsigned value, "-1" is 2^64 - 1. For a moment each item is taken
    /// as the 16 hexadecimal digits of UtcTime, in local time.
    ///
    /// Time is linear in the filters and their items.
    /// @throws std::invalid_argument  "invalid stoi argument", "invalid stoull argument": an item has no digit where
    ///                                they have to begin; as the constructor of UtcTime says
    /// @throws std::out_of_range      "stoi argument out of range", "stoull argument out of range": an item's number is
    ///                                none of 32 or unsigned 64 bits
    /// @throws Win32Exception         as the constructor of UtcTime says
    template<class Value>
    static bool FilterField(WStringView field, Value value, const std::vector<DataFilter>& filters)
    {
        if constexpr (std::same_as<Value, unsigned long> || std::same_as<Value, unsigned long long>)
        {
            return Filter(field, static_cast<std::uint64_t>(value), filters);
        }
        else if constexpr (std::same_as<Value, int> || std::same_as<Value, UtcTime>)
        {
            return Filter(field, value, filters);
        }
        else if constexpr (std::same_as<Value, WChar*>)
        {
            return FilterField<const WChar*>(field, value, filters);
        }
        else
        {
            return Filter(field, WStringView(value), filters);
        }
    }

private:
    static bool Filter(WStringView field, WStringView value, const std::vector<DataFilter>& filters);
    static bool Filter(WStringView field, int value, const std::vector<DataFilter>& filters);
    static bool Filter(WStringView field, std::uint64_t value, const std::vector<DataFilter>& filters);
    static bool Filter(WStringView field, const UtcTime& value, const std::vector<DataFilter>& filters);

    template<class Value>
    static Value Convert(const WString& text);

    WString m_field;
    FilterOperator m_filterOperator = FilterOperator::Equal;
    std::vector<WString> m_value;
};

/// FilterField of a text that ends at its first NUL.
template<>
QUOLL_API bool DataFilter::FilterField(WStringView field, const WChar* value, const std::vector<DataFilter>& filters);

} // namespace Quoll::Utilities
