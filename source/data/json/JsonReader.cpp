#include "Quoll/JsonReader.h"
#include "data/json/DocumentReader.h"

namespace Quoll::Json
{

std::shared_ptr<DataObject> JsonReader::Decode(WStringView text, bool allowDuplicates)
{
    return DocumentReader(text, allowDuplicates).Read();
}

JsonReader::JsonReader(bool allowDuplicates)
    : m_allowDuplicates(allowDuplicates)
{
}

std::shared_ptr<DataObject> JsonReader::Parse(const WString& text)
{
    InitializeReader(text);
    ReadLineIfEmpty();
    DocumentReader reader(m_line, m_allowDuplicates);
    std::shared_ptr<DataObject> document = reader.Read();
    m_position = reader.GetPosition();
    m_hasError = document == nullptr;
    return document;
}

} // namespace Quoll::Json
