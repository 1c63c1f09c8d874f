// The walk through a document that writes it. What is open at the time stands in a list, since the
// depth may be anything.
#pragma once

#include "Quoll/JsonObject.h"
#include "data/json/Stack.h"
#include "data/json/TextBuffer.h"

namespace Quoll::Json
{

class DocumentWriter
{
public:
    DocumentWriter(TextBuffer& text, bool skipNullOrEmpty) noexcept
        : m_text(text)
        , m_skipNullOrEmpty(skipNullOrEmpty)
    {
    }

    void Write(const DataObject& object);
    // The entries of the object itself descend, those of the objects in it don't.
    void WriteSorted(const DataObject& object);

private:
    // An object, or an array of objects, that is being written.
    struct Open
    {
        const ValueMap* map;                        // of an object
        const std::shared_ptr<DataObject>* element; // of an array
        std::size_t left;
        bool needsComma;
    };

    static void FetchObjects(const ValueMap& entries) noexcept;
    void OpenObject(const DataObject& object);
    void WriteObject(const DataObject* object);
    void WriteOpen();
    void WriteEntries();
    void WriteMixedEntries();
    void WriteNextElement();
    bool IsSkipped(const DataValue& value) const noexcept;
    template<class Text>
    void WriteEntry(Text key, const DataValue& value, bool& needsComma);
    void WriteValue(const DataValue& value);
    void WriteRareValue(const DataValue& value);
    void WriteArray(const DataValue& value);

    TextBuffer& m_text;
    bool m_skipNullOrEmpty;
    Stack<Open, 16> m_open;
    Stack<ValueMap::const_iterator, 4> m_mixed; // of the open objects that more was added to
};

} // namespace Quoll::Json
