// Documents of any text: what the reader and the writer make of them beside the reference, what comes
// back after writing and reading again, and the order of their entries when some are added.
#include "Json.h"
#include "Quoll/JsonReader.h"
#include "Quoll/JsonWriter.h"
#include "support/ReferenceJson.h"

#include <algorithm>
#include <exception>
#include <string>
#include <typeinfo>
#include <vector>

using namespace Quoll;
using namespace Quoll::Json;
using Fuzz::Require;

namespace
{

using Document = std::shared_ptr<DataObject>;

struct Outcome
{
    Document document;
    std::string failure;
};

template<class Decode>
Outcome OutcomeOf(Decode decode)
{
    try
    {
        return {decode(), {}};
    }
    catch (const Tests::TooDeep&)
    {
        throw;
    }
    catch (const std::exception& exception)
    {
        return {nullptr, std::string(typeid(exception).name()) + exception.what()};
    }
}

Document ReadLikeReference(const WString& text, bool allowDuplicates)
{
    const Outcome actual = OutcomeOf([&] { return JsonReader::Decode(text, allowDuplicates); });
    try
    {
        const Outcome expected = OutcomeOf([&] { return Tests::DecodeByReference(text, allowDuplicates); });
        Require(actual.failure == expected.failure);
        Require(Tests::Describe(actual.document.get()) == Tests::Describe(expected.document.get()));
        for (const bool skips : {false, true})
        {
            if (expected.document == nullptr)
            {
                break;
            }
            const DataObject& object = *actual.document;
            Require(JsonWriter::Encode(object, skips) == Tests::EncodeByReference(*expected.document, skips, false));
            Require(JsonWriter::EncodeSorted(object, skips) ==
                    Tests::EncodeByReference(*expected.document, skips, true));
        }
    }
    catch (const Tests::TooDeep&)
    {
    }
    return actual.document;
}

// What is written is read; and once it has been read and written nothing changes any more, but for
// control characters: an escape of them may read as NUL, where the next writing ends the text, which
// may make two keys one.
void WriteAndReadAgain(const DataObject& object)
{
    WString text = JsonWriter::Encode(object, false);
    const WString content = Tests::Describe(&object);
    const bool isPlain = std::all_of(content.begin(), content.end(), [](WChar unit) { return unit >= 0x20; });
    const Document sorted = JsonReader::Decode(JsonWriter::EncodeSorted(object, false), true);
    Require(sorted != nullptr && JsonReader::Decode(JsonWriter::Encode(object, true), true) != nullptr);
    Require(!isPlain || JsonWriter::Encode(*sorted, false) == text);
    for (int writings = 1;; ++writings)
    {
        const Document again = JsonReader::Decode(text, true);
        Require(again != nullptr);
        const WString next = JsonWriter::Encode(*again, false);
        if (next == text)
        {
            return;
        }
        Require(!isPlain && writings < 8);
        text = next;
    }
}

void CopyAndCompare(const DataObject& object)
{
    const DataObject copy(object);
    Require(Tests::Describe(&copy) == Tests::Describe(&object));
    Require(JsonWriter::Encode(copy, false) == JsonWriter::Encode(object, false));
}

// Adds the keys of objects within, by which entries that were read and others come to be mixed.
void AddAndWalk(DataObject& object)
{
    std::vector<WString> keys;
    std::vector<WString> added;
    for (const auto& [key, value] : object.GetValueMap())
    {
        keys.emplace_back(key);
        const Document inner = value.GetObject();
        for (auto at = inner == nullptr ? object.GetValueMap().end() : inner->GetValueMap().begin();
             inner != nullptr && at != inner->GetValueMap().end(); ++at)
        {
            added.emplace_back(at->first);
        }
    }
    const DataValue* const first = keys.empty() ? nullptr : &object.GetValueMap().at(keys.front());
    for (const WString& key : added)
    {
        object.GetValue(key);
    }
    Require(keys.empty() || first == &object.GetValue(keys.front()));
    keys.insert(keys.end(), added.begin(), added.end());
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());

    const ValueMap& map = object.GetValueMap();
    const auto isKey = [](const ValueMap::value_type& entry, const WString& key) {
        return entry.first == key;
    };
    Require(std::equal(map.begin(), map.end(), keys.begin(), keys.end(), isKey));
    Require(std::equal(map.rbegin(), map.rend(), keys.rbegin(), keys.rend(), isKey));
    for (const WString& key : keys)
    {
        Require(map.find(key)->first == key && map.lower_bound(key)->first == key);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const WString text = Fuzz::TextOf(data, size);
    for (const bool allowDuplicates : {false, true})
    {
        if (const Document document = ReadLikeReference(text, allowDuplicates))
        {
            WriteAndReadAgain(*document);
            CopyAndCompare(*document);
            AddAndWalk(*document);
            CopyAndCompare(*document);
        }
    }
    return 0;
}
