#include "Quoll/DataFilter.h"

#include "Quoll/StringUtilities.h"
#include "Quoll/UtcTime.h"
#include "core/NumberScan.h"
#include "data/json/Numbers.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

// Reads a number as C does, in base 10; nothing if no digit comes behind white space and a sign.
std::optional<Json::DecimalNumber> ReadNumber(WStringView text) noexcept
{
    const auto* const begin = std::find_if_not(text.begin(), text.end(), IsSpaceOfC);
    const WStringView number = text.substr(static_cast<std::size_t>(begin - text.begin()));
    const bool isSigned = number.starts_with('+') || number.starts_with('-');
    const WStringView digits = number.substr(isSigned ? 1 : 0);
    if (digits.empty() || !IsDigit(digits.front()))
    {
        return std::nullopt;
    }
    return Json::ReadDecimal(number);
}

template<class Value, class Convert>
bool Rejects(const DataFilter& filter, const Value& value, const Convert& convert)
{
    const auto some = [&](const auto& holds) {
        const std::vector<WString>& items = filter.GetValue();
        return std::any_of(items.begin(), items.end(), [&](const WString& item) { return holds(convert(item)); });
    };
    switch (filter.GetFilterOperator())
    {
    case FilterOperator::Equal:
        return !some([&](const Value& item) { return value == item; });
    case FilterOperator::NotEqual:
        return some([&](const Value& item) { return value == item; });
    case FilterOperator::Greater:
        return !some([&](const Value& item) { return value > item; });
    case FilterOperator::Less:
        return !some([&](const Value& item) { return value < item; });
    case FilterOperator::GreaterOrEqual:
        return !some([&](const Value& item) { return value >= item; });
    case FilterOperator::LessOrEqual:
        return !some([&](const Value& item) { return value <= item; });
    }
    return false;
}

template<class Value, class Convert>
bool AnyRejects(WStringView field, const Value& value, const std::vector<DataFilter>& filters, const Convert& convert)
{
    return std::any_of(filters.begin(), filters.end(), [&](const DataFilter& filter) {
        return filter.GetField() == field && Rejects(filter, value, convert);
    });
}

} // namespace

const WString& DataFilter::GetField() const noexcept
{
    return m_field;
}

FilterOperator DataFilter::GetFilterOperator() const noexcept
{
    return m_filterOperator;
}

const std::vector<WString>& DataFilter::GetValue() const noexcept
{
    return m_value;
}

void DataFilter::SetField(WString field)
{
    m_field = std::move(field);
    StringUtilities::Trim(m_field, "\r\n "_w);
}

void DataFilter::SetFilterOperator(FilterOperator filterOperator) noexcept
{
    m_filterOperator = filterOperator;
}

void DataFilter::SetValue(const WString& text)
{
    m_value = StringUtilities::Split(text, ","_w, true);
}

WString DataFilter::OperatorToSQL(FilterOperator filterOperator)
{
    switch (filterOperator)
    {
    case FilterOperator::Equal:
        return "="_w;
    case FilterOperator::NotEqual:
        return "<>"_w;
    case FilterOperator::Greater:
        return ">"_w;
    case FilterOperator::Less:
        return "<"_w;
    case FilterOperator::GreaterOrEqual:
        return ">="_w;
    case FilterOperator::LessOrEqual:
        return "<="_w;
    }
    throw std::runtime_error("Given operator is unknown and cannot converted to SQL operator");
}

template<>
int DataFilter::Convert<int>(const WString& text)
{
    const auto number = ReadNumber(text);
    if (!number)
    {
        throw std::invalid_argument("invalid stoi argument");
    }
    const auto value = Json::ToInt32(*number);
    if (!value)
    {
        throw std::out_of_range("stoi argument out of range");
    }
    return *value;
}

template<>
std::uint64_t DataFilter::Convert<std::uint64_t>(const WString& text)
{
    const auto number = ReadNumber(text);
    if (!number)
    {
        throw std::invalid_argument("invalid stoull argument");
    }
    const auto value = Json::ToUint64(*number);
    if (!value)
    {
        throw std::out_of_range("stoull argument out of range");
    }
    return *value;
}

template<>
UtcTime DataFilter::Convert<UtcTime>(const WString& text)
{
    return {text, UtcTime::StringValue::FileTimeHex, true};
}

bool DataFilter::Filter(WStringView field, WStringView value, const std::vector<DataFilter>& filters)
{
    return AnyRejects(field, value, filters, [](const WString& item) -> WStringView { return item; });
}

bool DataFilter::Filter(WStringView field, int value, const std::vector<DataFilter>& filters)
{
    return AnyRejects(field, value, filters, Convert<int>);
}

bool DataFilter::Filter(WStringView field, std::uint64_t value, const std::vector<DataFilter>& filters)
{
    return AnyRejects(field, value, filters, Convert<std::uint64_t>);
}

bool DataFilter::Filter(WStringView field, const UtcTime& value, const std::vector<DataFilter>& filters)
{
    return AnyRejects(field, value, filters, Convert<UtcTime>);
}

template<>
bool DataFilter::FilterField(WStringView field, const WChar* value, const std::vector<DataFilter>& filters)
{
    return Filter(field, value != nullptr ? WStringView(value) : WStringView(), filters);
}

} // namespace Quoll::Utilities
