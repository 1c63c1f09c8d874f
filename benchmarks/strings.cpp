// Conversion between UTF-8 and UTF-16 beside ICU, on texts of one kind each, long and short.
// "utf8-to-16" and "utf16-to-8" are the transcoder alone, as ICU's functions are; "make-..." makes a
// string of the right size, as a client does.
#include "Quoll/StringUtilities.h"
#include "Ratios.h"
#include "core/utf/Transcoder.h"

#include <benchmark/benchmark.h>

#include <unicode/ustring.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace Quoll;
using Utilities::StringUtilities;

constexpr std::size_t LongText = 64 * 1024;
constexpr std::size_t ShortText = 48;

struct Sample
{
    std::string name;
    std::string bytes;
    WString wide;
};

// The phrase's words, or its characters if it has only one, in random order, so that no branch
// predictor learns the text by heart; cut between sequences.
Sample MakeSample(const std::string& name, const std::string& phrase, std::size_t size)
{
    const bool hasWords = phrase.find(' ') != std::string::npos;
    std::vector<std::string> pieces(1);
    for (std::size_t at = 0; at < phrase.size(); ++at)
    {
        pieces.back().push_back(phrase[at]);
        const bool last = at + 1 == phrase.size() || (phrase[at + 1] & 0xC0) != 0x80;
        if (hasWords ? phrase[at] == ' ' : last)
        {
            pieces.emplace_back();
        }
    }
    std::mt19937 random(1);
    std::string bytes;
    while (bytes.size() <= size)
    {
        bytes += pieces[random() % (pieces.size() - 1)];
    }
    std::size_t end = size;
    while ((bytes[end] & 0xC0) == 0x80)
    {
        --end;
    }
    bytes.resize(end);
    return {name, bytes, StringUtilities::Utf8ToUtf16(bytes)};
}

std::vector<Sample> MakeSamples()
{
    const std::pair<std::string, std::string> phrases[] = {
        {"ascii", "The service has quarantined one file; nothing else was found in this folder. "},
        {"cyrillic", "Служба поместила один файл в карантин; больше в этой папке ничего не найдено. "},
        {"cjk", "服务已隔离一个文件，此文件夹中未发现其他内容。すべての項目を確認しました。"},
        {"emoji", "😀😁🤣🚀🛰🦊🍕🎉👍🔥💾🔒"},
        {"mixed", "Ключ 🔑 für C:\\Users\\中文\\文件.txt gefunden, "},
    };
    std::vector<Sample> samples;
    for (const auto& [name, phrase] : phrases)
    {
        samples.push_back(MakeSample(name + "-long", phrase, LongText));
        samples.push_back(MakeSample(name + "-short", phrase, ShortText));
    }
    return samples;
}

void DecodeOurs(benchmark::State& state, const Sample& sample)
{
    WString out(sample.bytes.size(), 0);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(Utf::Decode(sample.bytes, out.data(), out.size()));
        benchmark::ClobberMemory();
    }
}

void DecodeIcu(benchmark::State& state, const Sample& sample)
{
    WString out(sample.bytes.size(), 0);
    for (auto _ : state)
    {
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        u_strFromUTF8(out.data(), static_cast<int32_t>(out.size()), &length, sample.bytes.data(),
                      static_cast<int32_t>(sample.bytes.size()), &error);
        benchmark::DoNotOptimize(length);
        benchmark::ClobberMemory();
    }
}

void EncodeOurs(benchmark::State& state, const Sample& sample)
{
    std::string out(3 * sample.wide.size(), 0);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(Utf::Encode(sample.wide, out.data(), out.size()));
        benchmark::ClobberMemory();
    }
}

void EncodeIcu(benchmark::State& state, const Sample& sample)
{
    std::string out(3 * sample.wide.size(), 0);
    for (auto _ : state)
    {
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &length, sample.wide.data(),
                    static_cast<int32_t>(sample.wide.size()), &error);
        benchmark::DoNotOptimize(length);
        benchmark::ClobberMemory();
    }
}

void MakeWideOurs(benchmark::State& state, const Sample& sample)
{
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(StringUtilities::Utf8ToUtf16(sample.bytes));
    }
}

// ICU's way to a string: ask for the size, then fill.
void MakeWideIcu(benchmark::State& state, const Sample& sample)
{
    for (auto _ : state)
    {
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        const auto size = static_cast<int32_t>(sample.bytes.size());
        u_strFromUTF8(nullptr, 0, &length, sample.bytes.data(), size, &error);
        error = U_ZERO_ERROR;
        WString out(static_cast<std::size_t>(length), 0);
        u_strFromUTF8(out.data(), length, &length, sample.bytes.data(), size, &error);
        benchmark::DoNotOptimize(out);
    }
}

void MakeBytesOurs(benchmark::State& state, const Sample& sample)
{
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(StringUtilities::Utf16ToUtf8(sample.wide));
    }
}

void MakeBytesIcu(benchmark::State& state, const Sample& sample)
{
    for (auto _ : state)
    {
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        const auto size = static_cast<int32_t>(sample.wide.size());
        u_strToUTF8(nullptr, 0, &length, sample.wide.data(), size, &error);
        error = U_ZERO_ERROR;
        std::string out(static_cast<std::size_t>(length), 0);
        u_strToUTF8(out.data(), length, &length, sample.wide.data(), size, &error);
        benchmark::DoNotOptimize(out);
    }
}

} // namespace

int main(int argc, char** argv)
{
    using Run = void (*)(benchmark::State&, const Sample&);
    const std::pair<std::string, std::pair<Run, Run>> contests[] = {
        {"utf8-to-16", {DecodeOurs, DecodeIcu}},
        {"utf16-to-8", {EncodeOurs, EncodeIcu}},
        {"make-utf16", {MakeWideOurs, MakeWideIcu}},
        {"make-utf8", {MakeBytesOurs, MakeBytesIcu}},
    };
    const std::vector<Sample> samples = MakeSamples();
    for (const auto& [what, runs] : contests)
    {
        for (const Sample& sample : samples)
        {
            const std::string name = what + "-" + sample.name;
            benchmark::RegisterBenchmark((name + "/quoll").c_str(), runs.first, sample);
            benchmark::RegisterBenchmark((name + "/icu").c_str(), runs.second, sample);
        }
    }
    return Benchmarks::RunAndCompare(argc, argv);
}
