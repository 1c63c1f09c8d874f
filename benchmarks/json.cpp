// Documents of the JSON dialect: reading (and destroying what was read), writing, and for a message
// both, beside RapidJSON on UTF-16, and nlohmann-json and Boost.JSON on UTF-8 with the conversions
// that a user of wide text needs. "rapidjson-texts" keeps numbers as text, as the library does.
//
// Aims, as ratios of RapidJSON's time: reading the large document 1.0, writing it 0.77, the
// message both ways 0.6. The counter "kept" says how many bytes of the heap are still in use when the
// last document is gone.
#include "Quoll/JsonReader.h"
#include "Quoll/JsonWriter.h"
#include "Quoll/StringUtilities.h"
#include "Ratios.h"
#include "support/RandomJson.h"

#include <benchmark/benchmark.h>

#include <boost/json.hpp>
#include <nlohmann/json.hpp>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdlib>
#include <iostream>
#include <malloc.h>
#include <string>

namespace
{

using namespace Quoll;
using namespace Quoll::Literals;
using Utilities::StringUtilities;

struct Ours
{
    using Document = std::shared_ptr<Json::DataObject>;
    static Document Read(const WString& text)
    {
        return Json::JsonReader::Decode(text, false);
    }
    static WString Write(const Document& document)
    {
        return Json::JsonWriter::Encode(*document, false);
    }
};

template<unsigned Flags>
struct RapidJson
{
    using Encoding = rapidjson::UTF16<WChar>;
    using Document = rapidjson::GenericDocument<Encoding>;
    static Document Read(const WString& text)
    {
        Document document;
        document.Parse<Flags>(text.c_str());
        return document;
    }
    static WString Write(const Document& document)
    {
        using Buffer = rapidjson::GenericStringBuffer<Encoding>;
        Buffer buffer;
        rapidjson::Writer<Buffer, Encoding, Encoding> writer(buffer);
        document.Accept(writer);
        return {buffer.GetString(), buffer.GetSize() / sizeof(WChar)};
    }
};

struct Nlohmann
{
    using Document = nlohmann::json;
    static Document Read(const WString& text)
    {
        return nlohmann::json::parse(StringUtilities::Utf16ToUtf8(text));
    }
    static WString Write(const Document& document)
    {
        return StringUtilities::Utf8ToUtf16(document.dump());
    }
};

struct Boost
{
    using Document = boost::json::value;
    static Document Read(const WString& text)
    {
        return boost::json::parse(StringUtilities::Utf16ToUtf8(text));
    }
    static WString Write(const Document& document)
    {
        return StringUtilities::Utf8ToUtf16(boost::json::serialize(document));
    }
};

template<class Library>
void Read(benchmark::State& state, const WString& text)
{
    const std::size_t before = mallinfo2().uordblks;
    for (auto _ : state)
    {
        const auto document = Library::Read(text);
        benchmark::DoNotOptimize(&document);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size() * sizeof(WChar)));
    const std::size_t after = mallinfo2().uordblks;
    state.counters["kept"] = static_cast<double>(after > before ? after - before : 0);
}

template<class Library>
void Write(benchmark::State& state, const WString& text)
{
    const auto document = Library::Read(text);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(Library::Write(document));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size() * sizeof(WChar)));
}

template<class Library>
void BothWays(benchmark::State& state, const WString& text)
{
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(Library::Write(Library::Read(text)));
    }
}

template<class Library>
void Register(const std::string& who, const WString& large, const WString& message)
{
    // A peer that refused the text would be fast.
    if (Library::Write(Library::Read(large)).size() < large.size() * 3 / 4)
    {
        std::cerr << who << " doesn't read the document" << std::endl;
        std::exit(1);
    }
    benchmark::RegisterBenchmark(("read-large/" + who).c_str(), Read<Library>, large);
    benchmark::RegisterBenchmark(("write-large/" + who).c_str(), Write<Library>, large);
    benchmark::RegisterBenchmark(("read-message/" + who).c_str(), Read<Library>, message);
    benchmark::RegisterBenchmark(("write-message/" + who).c_str(), Write<Library>, message);
    benchmark::RegisterBenchmark(("message-both-ways/" + who).c_str(), BothWays<Library>, message);
}

} // namespace

int main(int argc, char** argv)
{
    const WString large = Tests::RandomJson(42, false).MakeDocument(1000000);
    const WString message =
        R"({"type":"verdict","session":12345678901234567890,"path":"C:\\Users\\someone\\Downloads\\setup.exe",)"_w
        R"("result":{"infected":true,"name":"Test.Signature.A","actions":["quarantine","report"],"size":1048576},)"_w
        R"("time":1700000000,"user":"S-1-5-21-1004336348-1177238915-682003330-512",)"_w
        R"("details":[{"id":1,"text":"first\nline"},{"id":2,"text":"second \"quoted\""}],"none":[],"parent":null})"_w;
    Register<Ours>("quoll", large, message);
    Register<RapidJson<rapidjson::kParseDefaultFlags>>("rapidjson", large, message);
    Register<RapidJson<rapidjson::kParseNumbersAsStringsFlag>>("rapidjson-texts", large, message);
    Register<Nlohmann>("nlohmann-json", large, message);
    Register<Boost>("boost-json", large, message);
    return Benchmarks::RunAndCompare(argc, argv);
}
