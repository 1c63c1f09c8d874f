// MD5 beside OpenSSL: 1 MB in memory, and a file of 256 MB in the page cache that is read in steps of 1024 bytes.
//
// OpenSSL's side reads the file by the host's own calls.
//
// Aims, as ratios: 1 in memory, 0.97 for the file.
#include "Quoll/MD5.h"
#include "Quoll/NativePath.h"
#include "Ratios.h"
#include "cryptography/md5/Digest.h"
#include "support/TemporaryDirectory.h"

#include <benchmark/benchmark.h>

#include <openssl/evp.h>

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <random>
#include <unistd.h>
#include <vector>

namespace
{

using namespace Quoll;
using Context = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;
using Result = std::array<std::uint8_t, 16>;

constexpr std::size_t FileSize = 256 << 20;

void Require(bool condition)
{
    if (!condition)
    {
        std::abort();
    }
}

Context Begin()
{
    Context context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    Require(EVP_DigestInit_ex(context.get(), EVP_md5(), nullptr) == 1);
    return context;
}

Result Finish(const Context& context)
{
    Result result;
    Require(EVP_DigestFinal_ex(context.get(), result.data(), nullptr) == 1);
    return result;
}

Result HashFileWithOpenSsl(const std::filesystem::path& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    Require(file >= 0);
    const Context context = Begin();
    std::uint8_t buffer[1024];
    ssize_t count = 0;
    while ((count = read(file, buffer, sizeof(buffer))) > 0)
    {
        Require(EVP_DigestUpdate(context.get(), buffer, static_cast<std::size_t>(count)) == 1);
    }
    Require(count == 0 && close(file) == 0);
    return Finish(context);
}

template<class Work>
void Register(const char* name, Work work)
{
    benchmark::RegisterBenchmark(name, [work](benchmark::State& state) {
        for (auto _ : state)
        {
            benchmark::DoNotOptimize(work());
        }
    });
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::uint8_t> bytes(1 << 20);
    std::mt19937 random(1);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    const Tests::TemporaryDirectory directory;
    const std::filesystem::path path = directory.Path() / "file";
    std::ofstream file(path, std::ios::binary);
    for (std::size_t written = 0; written < FileSize; written += bytes.size())
    {
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    file.close();
    Require(!file.fail());
    const WString name = Utilities::NativePath::FromNative(path);

    const auto hash = [&] {
        Md5::Digest digest;
        digest.Update(bytes);
        return digest.Finish();
    };
    const auto hashWithOpenSsl = [&] {
        const Context context = Begin();
        Require(EVP_DigestUpdate(context.get(), bytes.data(), bytes.size()) == 1);
        return Finish(context);
    };
    Require(hash() == hashWithOpenSsl());
    Register("memory-1mb/quoll", hash);
    Register("memory-1mb/openssl", hashWithOpenSsl);
    Register("file-256mb/quoll", [&] { return Utilities::MD5::ComputeHash(name); });
    Register("file-256mb/openssl", [&] { return HashFileWithOpenSsl(path); });
    return Benchmarks::RunAndCompare(argc, argv);
}
