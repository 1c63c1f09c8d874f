#include "Quoll/JsonWriter.h"

#include "data/json/DocumentWriter.h"
#include "data/json/TextBuffer.h"

#include <charconv>
#include <ostream>

namespace Quoll::Json
{

using namespace Literals;

namespace
{

template<class Number>
WString PrintNumber(Number value)
{
    char digits[24];
    char* const end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    return WString(std::begin(digits), end);
}

} // namespace

// An object that is open as long as this lives.
class JsonWriter::Level
{
public:
    explicit Level(JsonWriter& writer)
        : m_writer(writer)
    {
        m_writer.m_separatorNeeded.push_back(false);
        ++m_writer.m_level;
    }
    ~Level()
    {
        m_writer.m_separatorNeeded.pop_back();
        --m_writer.m_level;
    }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

private:
    JsonWriter& m_writer;
};

JsonWriter::JsonWriter(Stream& stream)
    : m_stream(stream)
{
}

WString JsonWriter::Encode(const DataObject& object, bool skipNullOrEmpty)
{
    StringBuffer text;
    DocumentWriter(text, skipNullOrEmpty).Write(object);
    return text.GetText();
}

WString JsonWriter::Encode(const std::shared_ptr<const DataObject>& object, bool skipNullOrEmpty)
{
    if (object == nullptr)
    {
        return skipNullOrEmpty ? ""_w : "null"_w;
    }
    return Encode(*object, skipNullOrEmpty);
}

WString JsonWriter::EncodeSorted(const DataObject& object, bool skipNullOrEmpty)
{
    StringBuffer text;
    DocumentWriter(text, skipNullOrEmpty).WriteSorted(object);
    return text.GetText();
}

void JsonWriter::SetSkipEmptyStringValues(bool skip) noexcept
{
    m_skipEmptyStringValues = skip;
}

void JsonWriter::SetSkipNullOrEmpty(bool skip) noexcept
{
    m_skipNullOrEmpty = skip;
}

void JsonWriter::Write(const DataObject& object)
{
    StreamBuffer text(m_stream);
    DocumentWriter(text, m_skipNullOrEmpty).Write(object);
    text.Finish();
}

void JsonWriter::WriteSorted(const DataObject& object)
{
    StreamBuffer text(m_stream);
    DocumentWriter(text, m_skipNullOrEmpty).WriteSorted(object);
    text.Finish();
}

void JsonWriter::WriteObject(const std::function<void()>& callback)
{
    Put("{"_w);
    {
        const Level level(*this);
        callback();
    }
    Put("}"_w);
}

void JsonWriter::WriteObject(WStringView name, const std::function<void()>& callback)
{
    WriteName(name);
    WriteObject(callback);
}

void JsonWriter::WriteProperty(WStringView name, WStringView value)
{
    if (value.empty() && m_skipEmptyStringValues)
    {
        return;
    }
    WriteName(name);
    StreamBuffer text(m_stream);
    text.AppendQuoted(value);
    text.Finish();
}

void JsonWriter::WriteProperty(WStringView name, const std::vector<WString>& values)
{
    WriteName(name);
    StreamBuffer text(m_stream);
    WChar before = '[';
    for (const WString& value : values)
    {
        text.Append(before);
        text.AppendQuoted(value);
        before = ',';
    }
    text.Append(values.empty() ? "[]"_w : "]"_w);
    text.Finish();
}

void JsonWriter::WriteProperty(WStringView name, int value)
{
    WriteName(name);
    Put(PrintNumber(value));
}

void JsonWriter::WriteProperty(WStringView name, unsigned value)
{
    WriteName(name);
    Put(PrintNumber(value));
}

void JsonWriter::WriteProperty(WStringView name, std::uint64_t value)
{
    WriteName(name);
    Put(PrintNumber(value));
}

void JsonWriter::WriteBooleanProperty(WStringView name, bool value)
{
    WriteName(name);
    Put(value ? "true"_w : "false"_w);
}

void JsonWriter::WriteProperties(const std::map<WString, WString>& values)
{
    for (const auto& [name, value] : values)
    {
        WriteProperty(name, value);
    }
}

void JsonWriter::WriteProperties(const std::map<WString, std::vector<WString>>& values)
{
    for (const auto& [name, list] : values)
    {
        WriteProperty(name, list);
    }
}

void JsonWriter::Put(WStringView text)
{
    m_stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

void JsonWriter::WriteSeparatorIfNeeded()
{
    if (m_level < 0)
    {
        return;
    }
    auto&& isNeeded = m_separatorNeeded[static_cast<std::size_t>(m_level)];
    if (isNeeded)
    {
        Put(","_w);
    }
    isNeeded = true;
}

void JsonWriter::WriteName(WStringView name)
{
    WriteSeparatorIfNeeded();
    Put("\""_w);
    Put(name);
    Put("\":"_w);
}

} // namespace Quoll::Json
