// RSA beside GMP and OpenSSL.
//
// "decrypt": one block with an exponent as long as the modulus, from decimal text to bytes. The peers have their key in
// their own form already; ours takes it from decimal digits each time. "keys" makes a pair with a modulus of 200
// digits; GMP's side takes the next primes after two random numbers. Which numbers ours takes depends on the second, so
// that figures of one run aren't those of the next.
#include "Quoll/RSACrypt.h"
#include "Ratios.h"

#include <benchmark/benchmark.h>

#include <gmp.h>
#include <openssl/bn.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace
{

using namespace Quoll::Utilities;

class Integer
{
public:
    Integer()
    {
        mpz_init(m_number);
    }
    explicit Integer(const std::string& text)
    {
        mpz_init_set_str(m_number, text.c_str(), 10);
    }
    ~Integer()
    {
        mpz_clear(m_number);
    }
    Integer(const Integer&) = delete;
    Integer& operator=(const Integer&) = delete;

    mpz_ptr Get()
    {
        return m_number;
    }
    std::string Text()
    {
        char* const text = mpz_get_str(nullptr, 10, m_number);
        std::string copy(text);
        std::free(text); // NOLINT(cppcoreguidelines-no-malloc): GMP's default allocator is the C library's
        return copy;
    }

private:
    mpz_t m_number;
};

gmp_randstate_t randomState;

void SetRandomPrime(mpz_ptr prime, unsigned digits)
{
    mpz_ui_pow_ui(prime, 10, digits - 1);
    Integer span;
    mpz_mul_ui(span.Get(), prime, 9);
    mpz_urandomm(span.Get(), randomState, span.Get());
    mpz_add(prime, prime, span.Get());
    mpz_nextprime(prime, prime);
}

struct Sample
{
    unsigned size;
    Integer exponent;
    Integer modulus;
    RSACryptKey key;
    std::string text;
};

HugeInteger Taken(Integer& number)
{
    HugeInteger taken;
    taken.FromString(number.Text());
    return taken;
}

// A block that is as full as it can be.
std::unique_ptr<Sample> MakeSample(unsigned size)
{
    auto sample = std::make_unique<Sample>();
    sample->size = size;
    Integer p;
    Integer q;
    Integer block("1" + std::string((size - 2) / 3 * 3, '1'));
    SetRandomPrime(p.Get(), size / 2);
    SetRandomPrime(q.Get(), size / 2);
    mpz_mul(sample->modulus.Get(), p.Get(), q.Get());
    mpz_sub_ui(p.Get(), p.Get(), 1);
    mpz_sub_ui(q.Get(), q.Get(), 1);
    mpz_mul(p.Get(), p.Get(), q.Get());
    mpz_set_ui(q.Get(), 65537);
    mpz_invert(sample->exponent.Get(), q.Get(), p.Get());
    mpz_powm(block.Get(), block.Get(), q.Get(), sample->modulus.Get());
    sample->text = block.Text();
    sample->key.exponent = Taken(sample->exponent);
    sample->key.modulus = Taken(sample->modulus);
    return sample;
}

// The bytes behind the leading 1.
std::string BytesOf(const char* digits)
{
    std::string bytes;
    for (++digits; *digits != 0; digits += 3)
    {
        bytes += static_cast<char>((digits[0] - '0') * 100 + (digits[1] - '0') * 10 + (digits[2] - '0'));
    }
    return bytes;
}

void Decrypt(benchmark::State& state, Sample& sample)
{
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(RSACrypt::DecryptString(sample.text, sample.key, sample.size));
    }
}

void DecryptWithGmp(benchmark::State& state, Sample& sample)
{
    for (auto _ : state)
    {
        Integer block(sample.text);
        mpz_powm(block.Get(), block.Get(), sample.exponent.Get(), sample.modulus.Get());
        benchmark::DoNotOptimize(BytesOf(block.Text().c_str()));
    }
}

void DecryptWithOpenSsl(benchmark::State& state, Sample& sample)
{
    BIGNUM* exponent = nullptr;
    BIGNUM* modulus = nullptr;
    BN_dec2bn(&exponent, sample.exponent.Text().c_str());
    BN_dec2bn(&modulus, sample.modulus.Text().c_str());
    for (auto _ : state)
    {
        BN_CTX* const context = BN_CTX_new();
        BIGNUM* block = nullptr;
        BN_dec2bn(&block, sample.text.c_str());
        if (BN_mod_exp(block, block, exponent, modulus, context) != 1)
        {
            std::abort();
        }
        char* const digits = BN_bn2dec(block);
        benchmark::DoNotOptimize(BytesOf(digits));
        OPENSSL_free(digits);
        BN_free(block);
        BN_CTX_free(context);
    }
    BN_free(exponent);
    BN_free(modulus);
}

constexpr unsigned KeyDigits = 200;

void MakeKeys(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::shared_ptr<RSACryptKey> open;
        std::shared_ptr<RSACryptKey> secret;
        RSACrypt::genKeys(open, secret, KeyDigits);
        benchmark::DoNotOptimize(secret);
    }
}

void MakeKeysWithGmp(benchmark::State& state)
{
    Integer p;
    Integer q;
    Integer modulus;
    Integer open;
    Integer secret;
    Integer span;
    mpz_ui_pow_ui(span.Get(), 10, KeyDigits - 3);
    for (auto _ : state)
    {
        SetRandomPrime(p.Get(), KeyDigits / 2);
        SetRandomPrime(q.Get(), KeyDigits / 2);
        mpz_mul(modulus.Get(), p.Get(), q.Get());
        mpz_sub_ui(p.Get(), p.Get(), 1);
        mpz_sub_ui(q.Get(), q.Get(), 1);
        mpz_mul(p.Get(), p.Get(), q.Get());
        do
        {
            mpz_urandomm(open.Get(), randomState, span.Get());
        } while (mpz_invert(secret.Get(), open.Get(), p.Get()) == 0);
        benchmark::DoNotOptimize(mpz_size(secret.Get()));
    }
}

} // namespace

int main(int argc, char** argv)
{
    gmp_randinit_default(randomState);
    const std::unique_ptr<Sample> samples[] = {MakeSample(300), MakeSample(600)};
    for (const auto& each : samples)
    {
        Sample& sample = *each;
        const std::string name = "decrypt-" + std::to_string(sample.size) + "/";
        benchmark::RegisterBenchmark((name + "quoll").c_str(),
                                     [&](benchmark::State& state) { Decrypt(state, sample); });
        benchmark::RegisterBenchmark((name + "gmp").c_str(),
                                     [&](benchmark::State& state) { DecryptWithGmp(state, sample); });
        benchmark::RegisterBenchmark((name + "openssl").c_str(),
                                     [&](benchmark::State& state) { DecryptWithOpenSsl(state, sample); });
    }
    benchmark::RegisterBenchmark("keys-200/quoll", MakeKeys);
    benchmark::RegisterBenchmark("keys-200/gmp", MakeKeysWithGmp);
    const int status = Quoll::Benchmarks::RunAndCompare(argc, argv);
    gmp_randclear(randomState);
    return status;
}
