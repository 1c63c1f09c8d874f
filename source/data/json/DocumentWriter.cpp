#include "data/json/DocumentWriter.h"

#include "data/json/ValueContent.h"

namespace Quoll::Json
{

using namespace Literals;

void DocumentWriter::Write(const DataObject& object)
{
    OpenObject(object);
    WriteOpen();
}

void DocumentWriter::WriteSorted(const DataObject& object)
{
    const ValueMap& entries = object.GetValueMap();
    bool needsComma = false;
    m_text.Append('{');
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry)
    {
        WriteEntry(*entry, needsComma);
        WriteOpen();
    }
    m_text.Append('}');
}

void DocumentWriter::OpenObject(const DataObject& object)
{
    m_text.Append('{');
    const ValueMap& entries = object.GetValueMap();
    m_open.Push(Open{entries.begin(), nullptr, entries.size()});
}

void DocumentWriter::WriteOpen()
{
    while (m_open.GetSize() != 0)
    {
        if (m_open.GetTop().element != nullptr)
        {
            WriteNextElement();
        }
        else
        {
            WriteEntries();
        }
    }
}

// Up to the first that opens another object or array, or to the end.
void DocumentWriter::WriteEntries()
{
    const std::size_t depth = m_open.GetSize();
    Open object = m_open.GetTop();
    while (object.left != 0)
    {
        const ValueMap::value_type& entry = *object.entry;
        ++object.entry;
        --object.left;
        WriteEntry(entry, object.needsComma);
        if (m_open.GetSize() != depth)
        {
            m_open[depth - 1] = object;
            return;
        }
    }
    m_text.Append('}');
    m_open.Shrink(depth - 1);
}

void DocumentWriter::WriteNextElement()
{
    Open& array = m_open.GetTop();
    if (array.left == 0)
    {
        m_text.Append(']');
        m_open.Shrink(m_open.GetSize() - 1);
        return;
    }
    --array.left;
    const DataObject* const element = (array.element++)->get();
    if (element == nullptr && m_skipNullOrEmpty)
    {
        return;
    }
    if (array.needsComma)
    {
        m_text.Append(',');
    }
    array.needsComma = true;
    WriteObject(element);
}

void DocumentWriter::WriteEntry(const ValueMap::value_type& entry, bool& needsComma)
{
    const auto& [key, value] = entry;
    if (m_skipNullOrEmpty && (value.IsEmpty() || value.IsNullValue()))
    {
        return;
    }
    m_text.AppendKey(key, needsComma);
    needsComma = true;
    WriteValue(value);
}

void DocumentWriter::WriteValue(const DataValue& value)
{
    if (value.IsArray())
    {
        WriteArray(value);
        return;
    }
    const ValueContent content(value);
    if (value.IsNullValue())
    {
        WriteObject(nullptr);
    }
    else if (value.IsObject())
    {
        WriteObject(content.CountObjects() != 0 ? content.GetObject(0).get() : nullptr);
    }
    else if (value.IsStringValue())
    {
        m_text.AppendQuoted(content.CountTexts() != 0 ? content.GetText(0) : WStringView());
    }
    else if (content.CountTexts() != 0 && (value.IsIntValue() || value.IsBoolean()))
    {
        m_text.Append(content.GetText(0));
    }
}

void DocumentWriter::WriteObject(const DataObject* object)
{
    if (object != nullptr)
    {
        OpenObject(*object);
    }
    else if (!m_skipNullOrEmpty)
    {
        m_text.Append("null"_w);
    }
}

void DocumentWriter::WriteArray(const DataValue& value)
{
    const ValueContent content(value);
    m_text.Append('[');
    if (value.IsObjectArray() && content.CountObjects() != 0)
    {
        m_open.Push(Open{{}, &content.GetObject(0), content.CountObjects()});
        return;
    }
    const std::size_t texts = value.IsObjectArray() ? 0 : content.CountTexts();
    for (std::size_t i = 0; i < texts; ++i)
    {
        if (i != 0)
        {
            m_text.Append(',');
        }
        m_text.AppendQuoted(content.GetText(i));
    }
    m_text.Append(']');
}

} // namespace Quoll::Json
