// The checksum of fresh identities and the digest alone, each beside OpenSSL's MD5() of the same
// bytes.
#include <benchmark/benchmark.h>
#include <openssl/md5.h>

#include <cstdint>
#include <string>
#include <vector>

#include "SCMBasicUtilityIdentity.hpp"
#include "SCMSharedFunctionIdentity.hpp"
#include "Workload.hpp"
#include "digest/SCMChecksumDigest.hpp"

namespace bench {

namespace {

// OpenSSL 3 marks MD5() deprecated; it is the reference here.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
void opensslMd5(const void* bytes, std::size_t length, unsigned char* digest) {
    MD5(static_cast<const unsigned char*>(bytes), length, digest);
}
#pragma GCC diagnostic pop

const std::vector<std::string>& utilityNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (std::uint64_t i = 0; i < 1024; ++i) all.push_back(utilityName(i));
        return all;
    }();
    return names;
}

void fourElementBytes(std::uint32_t i, unsigned char bytes[16]) {
    const std::uint32_t elements[4] = {i, ~i, i * 7u, 42u};
    for (int e = 0; e < 4; ++e) {
        for (int b = 0; b < 4; ++b) bytes[4 * e + b] = static_cast<unsigned char>(elements[e] >> (8 * b));
    }
}

void countItems(benchmark::State& state, std::size_t bytesPerItem) {
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytesPerItem));
}

void checksumFourElement(benchmark::State& state) {
    std::uint32_t i = 0;
    for (auto _ : state) {
        SCM::SCMSharedFunctionIdentity identity(i, ~i, i * 7u, 42u);
        benchmark::DoNotOptimize(identity.getChecksum().data());
        ++i;
    }
    countItems(state, 16);
}

void md5FourElement(benchmark::State& state) {
    std::uint32_t i = 0;
    unsigned char bytes[16];
    unsigned char digest[16];
    for (auto _ : state) {
        fourElementBytes(i++, bytes);
        opensslMd5(bytes, sizeof bytes, digest);
        benchmark::DoNotOptimize(digest);
    }
    countItems(state, 16);
}

void checksumUtility(benchmark::State& state) {
    const std::vector<std::string>& names = utilityNames();
    std::size_t i = 0;
    for (auto _ : state) {
        SCM::SCMBasicUtilityIdentity identity(names[i++ % names.size()]);
        benchmark::DoNotOptimize(identity.getChecksum().data());
    }
    countItems(state, names[0].size());
}

void md5Utility(benchmark::State& state) {
    const std::vector<std::string>& names = utilityNames();
    std::size_t i = 0;
    unsigned char digest[16];
    for (auto _ : state) {
        const std::string& name = names[i++ % names.size()];
        opensslMd5(name.data(), name.size(), digest);
        benchmark::DoNotOptimize(digest);
    }
    countItems(state, names[0].size());
}

std::vector<unsigned char> input(std::size_t length) {
    std::vector<unsigned char> bytes(length);
    for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<unsigned char>(i * 131 + 7);
    return bytes;
}

void digestOnly(benchmark::State& state) {
    const std::vector<unsigned char> bytes = input(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        SCM::SCMChecksumDigest digest;
        digest.update(bytes.data(), bytes.size());
        benchmark::DoNotOptimize(digest.finalize());
    }
    countItems(state, bytes.size());
}

void md5Only(benchmark::State& state) {
    const std::vector<unsigned char> bytes = input(static_cast<std::size_t>(state.range(0)));
    unsigned char digest[16];
    for (auto _ : state) {
        opensslMd5(bytes.data(), bytes.size(), digest);
        benchmark::DoNotOptimize(digest);
    }
    countItems(state, bytes.size());
}

}  // namespace

BENCHMARK(checksumFourElement)->Name("library/checksum_four_element");
BENCHMARK(md5FourElement)->Name("openssl/checksum_four_element");
BENCHMARK(checksumUtility)->Name("library/checksum_utility");
BENCHMARK(md5Utility)->Name("openssl/checksum_utility");
BENCHMARK(digestOnly)->Name("library/digest")->Arg(16)->Arg(1 << 20);
BENCHMARK(md5Only)->Name("openssl/digest")->Arg(16)->Arg(1 << 20);

}  // namespace bench
