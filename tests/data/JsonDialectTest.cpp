// The reader and the writer beside others that follow their definition step by step.
#include "Quoll/JsonReader.h"
#include "Quoll/JsonWriter.h"
#include "support/RandomJson.h"
#include "support/ReferenceJson.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <typeinfo>
#include <vector>

using namespace Quoll;
using namespace Quoll::Json;
using namespace Quoll::Literals;

namespace
{

// What decoding gives and what is written of it, or what is thrown.
template<class Decode, class Write>
WString OutcomeOf(Decode decode, Write write)
{
    try
    {
        const auto object = decode();
        return Tests::Describe(object.get()) + (object != nullptr ? write(*object) : WString());
    }
    catch (const std::exception& exception)
    {
        const std::string text = std::string(typeid(exception).name()).append(exception.what());
        return {text.begin(), text.end()};
    }
}

std::string Narrow(const WString& text)
{
    return {text.begin(), text.end()};
}

void ExpectReferenceOutcome(const WString& text)
{
    for (const bool allowDuplicates : {false, true})
    {
        const WString expected = OutcomeOf([&] { return Tests::DecodeByReference(text, allowDuplicates); },
                                           [](const DataObject& object) {
                                               return Tests::EncodeByReference(object, false, false) +
                                                      Tests::EncodeByReference(object, true, true);
                                           });
        const WString actual =
            OutcomeOf([&] { return JsonReader::Decode(text, allowDuplicates); },
                      [](const DataObject& object) {
                          return JsonWriter::Encode(object, false) + JsonWriter::EncodeSorted(object, true);
                      });
        ASSERT_EQ(Narrow(actual), Narrow(expected)) << Narrow(text) << (allowDuplicates ? " with duplicates" : "");
    }
}

const std::vector<WString> Pieces = {"{"_w, "}"_w,  "["_w, "]"_w,    "\"a\""_w, "\""_w, ","_w,     ":"_w,
                                     "1"_w, "-+"_w, " "_w, "true"_w, "null"_w,  "\\"_w, "ug000"_w, "\"\":"_w};

// Every text of at most `count` pieces between the two ends.
void ExpectForAll(const WString& begin, std::size_t count, const WString& end)
{
    ASSERT_NO_FATAL_FAILURE(ExpectReferenceOutcome(begin + end));
    for (std::size_t piece = 0; count > 0 && piece < Pieces.size(); ++piece)
    {
        ASSERT_NO_FATAL_FAILURE(ExpectForAll(begin + Pieces[piece], count - 1, end));
    }
}

} // namespace

TEST(JsonDialect, HoldsForAllShortTexts)
{
    ASSERT_NO_FATAL_FAILURE(ExpectForAll({}, 2, {}));
    ASSERT_NO_FATAL_FAILURE(ExpectForAll("{"_w, 3, {}));
    ASSERT_NO_FATAL_FAILURE(ExpectForAll("{\"a\""_w, 3, "}"_w));
    ASSERT_NO_FATAL_FAILURE(ExpectForAll("{\"a\":1,\"a\":"_w, 3, "}"_w));
    ASSERT_NO_FATAL_FAILURE(ExpectForAll("{\"a\":["_w, 3, "]}"_w));
}

TEST(JsonDialect, HoldsForLongTexts)
{
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i)
    {
        WString text = "{\"a\":"_w;
        for (auto left = random() % 24; left > 0; --left)
        {
            text += Pieces[random() % Pieces.size()];
        }
        for (auto left = random() % 3; left > 0; --left)
        {
            text += random() % 2 == 0 ? "]}"_w : "}"_w;
        }
        ASSERT_NO_FATAL_FAILURE(ExpectReferenceOutcome(text));
    }
}

// One unit in each is dropped, doubled or changed, but for the large ones.
TEST(JsonDialect, HoldsForDamagedDocuments)
{
    const WString units = "{}[]\",:\\0129-tfnu \x1F"_w;
    std::mt19937 random(1);
    for (unsigned seed = 0; seed < 1000; ++seed)
    {
        const bool isLarge = seed < 5;
        WString text = Tests::RandomJson(seed, true).MakeDocument(isLarge ? 20000 : 200);
        const std::size_t at = random() % text.size();
        const auto kind = isLarge ? 3 : random() % 3;
        const WChar unit = kind == 2 ? units[random() % units.size()] : text[at];
        text.replace(at, kind == 1 ? 0 : 1, kind == 0 ? 0 : 1, unit);
        ASSERT_NO_FATAL_FAILURE(ExpectReferenceOutcome(text));
    }
}

TEST(JsonDialect, HoldsForAllEscapes)
{
    const WString units = "0fFgx+- \\\"u/"_w;
    for (unsigned number = 0; number < 12 * 12 * 12 * 12; ++number)
    {
        WString escape;
        for (unsigned rest = number, left = 4; left > 0; --left, rest /= 12)
        {
            escape.push_back(units[rest % 12]);
        }
        ASSERT_NO_FATAL_FAILURE(ExpectReferenceOutcome("{\"\":\"\\u"_w + escape + "\"}"_w));
    }
}
