// Where the dialect and RFC 8259 agree, another parser is asked what a document means.
#include "Quoll/JsonReader.h"
#include "Quoll/JsonWriter.h"
#include "support/RandomJson.h"
#include "support/ReferenceJson.h"

#include <gtest/gtest.h>

#include <rapidjson/reader.h>

#include <random>
#include <string>
#include <vector>

using namespace Quoll;
using namespace Quoll::Json;
using namespace Quoll::Literals;

namespace
{

using Encoding = rapidjson::UTF16<WChar>;
using Size = rapidjson::SizeType;

// Makes a document of what the other parser sees. Answers false, which ends the parsing, where the
// dialect differs: a fraction, a key that comes twice, an array in an array, or null or mixed kinds
// in one.
class Oracle : public rapidjson::BaseReaderHandler<Encoding, Oracle>
{
public:
    // Null if the other parser refuses the text, or the dialect differs. `areElementsTexts`: as the
    // writer does it, which puts quotes around the elements of every array.
    static std::shared_ptr<DataObject> Decode(WString text, bool areElementsTexts)
    {
        Oracle oracle;
        oracle.m_areElementsTexts = areElementsTexts;
        // In place, as its copies of numbers are right in UTF-8 alone.
        rapidjson::GenericInsituStringStream<Encoding> stream(text.data());
        rapidjson::GenericReader<Encoding, Encoding> reader;
        constexpr unsigned flags =
            rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;
        return reader.Parse<flags>(stream, oracle).IsError() ? nullptr : oracle.m_root;
    }

    bool Null()
    {
        return !m_open.empty() && !m_open.back().isArray;
    }
    bool Bool(bool value)
    {
        return Add(EType::Boolean, value ? "true"_w : "false"_w);
    }
    bool RawNumber(const WChar* text, Size length, bool)
    {
        const WString number(text, length);
        return number.find_first_of(".eE"_w) == WString::npos && Add(EType::Integer, number);
    }
    bool String(const WChar* text, Size length, bool)
    {
        return Add(EType::String, WString(text, length));
    }
    bool Key(const WChar* text, Size length, bool)
    {
        Level& level = m_open.back();
        const WString key(text, length);
        const bool isNew = !level.object->Contains(key);
        level.value = &level.object->GetValue(key);
        return isNew;
    }
    bool StartObject()
    {
        const auto object = std::make_shared<DataObject>();
        m_root = m_root == nullptr ? object : m_root;
        const bool fits = m_open.empty() || !m_open.back().isArray || IsOfKind(EType::Object);
        if (fits && !m_open.empty())
        {
            DataValue& value = *m_open.back().value;
            m_open.back().isArray ? value.AddObject(object) : value.SetObject(object);
        }
        m_open.push_back({object});
        return fits;
    }
    bool EndObject(Size)
    {
        m_open.pop_back();
        return true;
    }
    bool StartArray()
    {
        const bool fits = Null();
        if (fits)
        {
            m_open.back().isArray = true;
            m_open.back().kind = EType::EmptyArray;
        }
        return fits;
    }
    bool EndArray(Size count)
    {
        m_open.back().isArray = false;
        if (count == 0)
        {
            m_open.back().value->AddEmptyArray();
        }
        return true;
    }

private:
    struct Level
    {
        std::shared_ptr<DataObject> object;
        DataValue* value = nullptr;
        bool isArray = false;
        EType kind = EType::EmptyArray; // of an array's elements
    };

    bool IsOfKind(EType kind)
    {
        EType& common = m_open.back().kind;
        common = common == EType::EmptyArray ? kind : common;
        return common == kind;
    }

    bool Add(EType kind, const WString& text)
    {
        if (m_open.empty() || !m_open.back().isArray)
        {
            return !m_open.empty() && (m_open.back().value->SetValue(text, kind), true);
        }
        DataValue& value = *m_open.back().value;
        switch (m_areElementsTexts ? EType::String : kind)
        {
        case EType::Boolean:
            value.AddBooleanValue(BooleanToken(text));
            break;
        case EType::Integer:
            value.AddIntValue(IntegerToken(text));
            break;
        default:
            value.AddStringValue(text);
        }
        return IsOfKind(kind);
    }

    bool m_areElementsTexts = false;
    std::shared_ptr<DataObject> m_root;
    std::vector<Level> m_open;
};

void ExpectSame(const std::shared_ptr<DataObject>& left, const std::shared_ptr<DataObject>& right, const WString& text)
{
    const WString a = Tests::Describe(left.get());
    const WString b = Tests::Describe(right.get());
    ASSERT_EQ(std::string(a.begin(), a.end()), std::string(b.begin(), b.end()))
        << std::string(text.begin(), text.end());
}

// Reads by both, and writes for the oracle.
void ExpectAgreement(const WString& text)
{
    const auto object = JsonReader::Decode(text, false);
    ASSERT_NE(object, nullptr);
    ExpectSame(Oracle::Decode(text, false), object, text);
    const auto expected = Oracle::Decode(text, true);
    ExpectSame(Oracle::Decode(JsonWriter::Encode(*object, false), true), expected, text);
    ExpectSame(Oracle::Decode(JsonWriter::EncodeSorted(*object, false), true), expected, text);
}

// One unit is dropped, doubled or changed.
WString Damage(WString text, std::mt19937& random)
{
    constexpr std::string_view units = "{}[]\",:\\0129-tfnu \x1F";
    const std::size_t at = random() % text.size();
    const auto kind = random() % 3;
    const WChar unit = kind == 1 ? text[at] : static_cast<WChar>(units[random() % units.size()]);
    return text.replace(at, kind == 1 ? 0 : 1, kind == 0 ? 0 : 1, unit);
}

} // namespace

TEST(JsonOracle, AgreesOnDocumentsOfBothLanguages)
{
    for (unsigned seed = 0; seed < 50; ++seed)
    {
        ASSERT_NO_FATAL_FAILURE(ExpectAgreement(Tests::RandomJson(seed, true).MakeDocument(seed < 45 ? 300 : 20000)));
    }
}

TEST(JsonOracle, AgreesOnDamagedDocuments)
{
    std::mt19937 random(1);
    int accepted = 0;
    for (unsigned seed = 0; seed < 2000; ++seed)
    {
        const WString text = Damage(Tests::RandomJson(seed, true, 1).MakeDocument(100), random);
        if (const auto expected = Oracle::Decode(text, false))
        {
            ++accepted;
            ASSERT_NO_FATAL_FAILURE(ExpectSame(expected, JsonReader::Decode(text, false), text));
        }
    }
    EXPECT_GT(accepted, 200);
}

TEST(JsonOracle, AgreesOnDeepDocuments)
{
    constexpr int depth = 10000;
    WString text;
    for (int i = 0; i < depth; ++i)
    {
        text += i % 2 == 0 ? "{\"a\":"_w : "{\"b\":[{},{\"c\":"_w;
    }
    text += "1"_w;
    for (int i = depth; i-- > 0;)
    {
        text += i % 2 == 0 ? "}"_w : "}]}"_w;
    }
    ExpectAgreement(text);
}
