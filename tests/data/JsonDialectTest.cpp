// The reader and the writer beside others that follow their definition step by step.
#include "Quoll/JsonReader.h"
#include "Quoll/JsonWriter.h"
#include "support/ReferenceJson.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
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
    const auto describe = [](const char* kind, const std::exception& exception) {
        const std::string text = std::string(kind) + ": " + exception.what();
        return WString(text.begin(), text.end());
    };
    try
    {
        const auto object = decode();
        return Tests::Describe(object.get()) + (object != nullptr ? write(*object) : WString());
    }
    catch (const std::invalid_argument& exception)
    {
        return describe("invalid argument", exception);
    }
    catch (const std::runtime_error& exception)
    {
        return describe("runtime error", exception);
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
