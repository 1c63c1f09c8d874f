// The Base64 coder beside OpenSSL's EVP coder, on 1 MB and on a short text.
//
// "encode" and "decode" are the coders alone, from buffer to buffer, ours without vectors as well; "to-vector" makes
// the vector. On wide text OpenSSL's side gets what a user would need around it: our conversions between UTF-8 and
// UTF-16. Texts with "lines" have a break every 76 units; OpenSSL decodes those with EVP_DecodeUpdate.
#include "Quoll/StringUtilities.h"
#include "Quoll/TextCodecs.h"
#include "Ratios.h"
#include "data/base64/Kernels.h"

#include <benchmark/benchmark.h>

#include <openssl/evp.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace Quoll;
using Utilities::Base64;
using Utilities::StringUtilities;
using Bytes = std::vector<unsigned char>;

struct Sample
{
    std::string name;
    std::string bytes;
    std::string encoded;
    std::string lines;
    WString wide;
    WString wideEncoded;
    WString wideLines;
};

// The words in random order.
Sample MakeSample(const std::string& name, std::size_t size, const std::vector<std::string>& words)
{
    std::mt19937 random(1);
    Sample sample;
    sample.name = name;
    while (sample.bytes.size() < size)
    {
        sample.bytes += words[random() % words.size()];
    }
    sample.wide = StringUtilities::Utf8ToUtf16(sample.bytes);
    sample.wideEncoded = Base64::Encode(sample.wide);
    sample.encoded = StringUtilities::Utf16ToUtf8(sample.wideEncoded);
    for (std::size_t at = 0; at < sample.encoded.size(); at += 76)
    {
        sample.lines += sample.encoded.substr(at, 76) + "\r\n";
    }
    sample.wideLines = StringUtilities::Utf8ToUtf16(sample.lines);
    return sample;
}

const unsigned char* Raw(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string EncodeWithEvp(const std::string& bytes)
{
    std::string text(Base64Coder::EncodedSize(bytes.size()) + 1, 0); // EVP ends it with NUL
    const int length =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), Raw(bytes), static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

// The bytes, less those that EVP_DecodeBlock makes of the padding.
template<class Out>
void DecodeWithEvp(const std::string& text, Out& bytes)
{
    bytes.clear();
    bytes.resize(text.size() / 4 * 3);
    const int length =
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()), Raw(text), static_cast<int>(text.size()));
    if (length < 0)
    {
        std::abort();
    }
    bytes.resize(static_cast<std::size_t>(length) - (text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0));
}

int DecodeLinesWithEvp(EVP_ENCODE_CTX* context, const std::string& text, unsigned char* out)
{
    int length = 0;
    int rest = 0;
    EVP_DecodeInit(context);
    if (EVP_DecodeUpdate(context, out, &length, Raw(text), static_cast<int>(text.size())) < 0 ||
        EVP_DecodeFinal(context, out + length, &rest) < 0)
    {
        std::abort();
    }
    return length + rest;
}

// Each gives work for one turn; what it needs is made before.
template<class Work>
void Register(const std::string& what, const Sample& sample, const char* who, Work work)
{
    benchmark::RegisterBenchmark((what + "-" + sample.name + "/" + who).c_str(), [work](benchmark::State& state) {
        for (auto _ : state)
        {
            work();
            benchmark::ClobberMemory();
        }
    });
}

void RegisterCoders(const Sample& sample)
{
    const auto buffer = std::make_shared<Bytes>(2 * sample.bytes.size() + 128);
    const auto encode = [buffer, &sample](auto* coder) {
        Base64Coder::EncodeCursor<char> cursor{Raw(sample.bytes), Raw(sample.bytes) + sample.bytes.size(),
                                               reinterpret_cast<char*>(buffer->data())};
        coder(cursor);
    };
    const auto decode = [buffer](const std::string& text, auto* coder) {
        Base64Coder::DecodeCursor<char> cursor{text.data(), text.data() + text.size(), buffer->data(),
                                               buffer->data() + buffer->size()};
        benchmark::DoNotOptimize(coder(cursor));
    };
    const std::shared_ptr<EVP_ENCODE_CTX> context(EVP_ENCODE_CTX_new(), EVP_ENCODE_CTX_free);
    Register("encode", sample, "quoll", [encode] { encode(Base64Coder::Encode<char>); });
    Register("encode", sample, "plain", [encode] { encode(Base64Coder::Kernels().front().encodeBytes); });
    Register("encode", sample, "openssl", [buffer, &sample] {
        EVP_EncodeBlock(buffer->data(), Raw(sample.bytes), static_cast<int>(sample.bytes.size()));
    });
    Register("decode", sample, "quoll", [decode, &sample] { decode(sample.encoded, Base64Coder::Decode<char>); });
    Register("decode", sample, "plain",
             [decode, &sample] { decode(sample.encoded, Base64Coder::Kernels().front().decodeBytes); });
    Register("decode", sample, "openssl", [buffer, &sample] {
        EVP_DecodeBlock(buffer->data(), Raw(sample.encoded), static_cast<int>(sample.encoded.size()));
    });
    Register("decode-lines", sample, "quoll", [decode, &sample] { decode(sample.lines, Base64Coder::Decode<char>); });
    Register("decode-lines", sample, "openssl",
             [context, buffer, &sample] { DecodeLinesWithEvp(context.get(), sample.lines, buffer->data()); });
}

void RegisterVectors(const Sample& sample)
{
    const auto bytes = std::make_shared<Bytes>();
    const auto add = [bytes, &sample](const char* what, const auto& text, const auto& toBytes) {
        Register(what, sample, "quoll", [bytes, &text] { Base64::Decode(text, *bytes); });
        Register(what, sample, "openssl", [bytes, &text, toBytes] { DecodeWithEvp(toBytes(text), *bytes); });
    };
    add("decode-to-vector", sample.encoded, [](const std::string& text) -> const std::string& { return text; });
    add("decode-wide-to-vector", sample.wideEncoded,
        [](const WString& text) { return StringUtilities::Utf16ToUtf8(text); });
}

void RegisterWide(const Sample& sample)
{
    Register("encode-wide", sample, "quoll", [&] { benchmark::DoNotOptimize(Base64::Encode(sample.wide)); });
    Register("encode-wide", sample, "openssl", [&] {
        const std::string text = EncodeWithEvp(StringUtilities::Utf16ToUtf8(sample.wide));
        benchmark::DoNotOptimize(StringUtilities::Utf8ToUtf16(text));
    });
    Register("decode-wide", sample, "quoll", [&] { benchmark::DoNotOptimize(Base64::Decode(sample.wideEncoded)); });
    Register("decode-wide", sample, "openssl", [&] {
        std::string bytes;
        DecodeWithEvp(StringUtilities::Utf16ToUtf8(sample.wideEncoded), bytes);
        benchmark::DoNotOptimize(StringUtilities::Utf8ToUtf16(bytes));
    });
    const std::shared_ptr<EVP_ENCODE_CTX> context(EVP_ENCODE_CTX_new(), EVP_ENCODE_CTX_free);
    Register("decode-wide-lines", sample, "quoll", [&] { benchmark::DoNotOptimize(Base64::Decode(sample.wideLines)); });
    Register("decode-wide-lines", sample, "openssl", [context, &sample] {
        std::string bytes(sample.lines.size(), 0);
        const std::string text = StringUtilities::Utf16ToUtf8(sample.wideLines);
        const int length = DecodeLinesWithEvp(context.get(), text, reinterpret_cast<unsigned char*>(bytes.data()));
        bytes.resize(static_cast<std::size_t>(length));
        benchmark::DoNotOptimize(StringUtilities::Utf8ToUtf16(bytes));
    });
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> ascii = {"{\"event\":", "\"scan\",", " the", " service", "1024", "};\n"};
    const std::vector<std::string> mixed = {"{\"файл\":", "\"Ключ\",", " für", " C:\\中文", "😀", "};\n"};
    const Sample samples[] = {MakeSample("1mb", 1 << 20, ascii), MakeSample("300b", 300, ascii)};
    for (const Sample& sample : samples)
    {
        RegisterCoders(sample);
        RegisterVectors(sample);
        RegisterWide(sample);
    }
    const Sample apart = MakeSample("1mb-mixed", 1 << 20, mixed);
    RegisterWide(apart);
    return Benchmarks::RunAndCompare(argc, argv);
}
