// The MD5 digest of one piece, held against three libraries doing the same. Each peer as its
// authors would have it: what can be made once and used again is made once. All give the sixteen
// bytes, none the text.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <llvm/ADT/ArrayRef.h>
#include <llvm/Support/MD5.h>
#include <openssl/evp.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "quonutil/digest/MD5.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Digest = std::uint8_t[MD5::kBytes];

struct Cul {
  void digest(Bytes const& bytes, Digest& out) {
    MD5 const md5(bytes.data(), bytes.size());
    md5.digest(out);
  }
};

// The algorithm is fetched and the context made beforehand: together they take longer than a
// short digest.
struct OpenSsl {
  std::unique_ptr<EVP_MD, void (*)(EVP_MD*)> algorithm{EVP_MD_fetch(nullptr, "MD5", nullptr),
                                                       EVP_MD_free};
  std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context{EVP_MD_CTX_new(), EVP_MD_CTX_free};

  void digest(Bytes const& bytes, Digest& out) {
    EVP_DigestInit_ex2(context.get(), algorithm.get(), nullptr);
    EVP_DigestUpdate(context.get(), bytes.data(), bytes.size());
    EVP_DigestFinal_ex(context.get(), out, nullptr);
  }
};

struct Llvm {
  void digest(Bytes const& bytes, Digest& out) {
    llvm::MD5 md5;
    md5.update(llvm::ArrayRef<std::uint8_t>(bytes));
    llvm::MD5::MD5Result result;
    md5.final(result);
    std::memcpy(out, result.Bytes.data(), sizeof out);
  }
};

struct Glib {
  std::unique_ptr<GChecksum, void (*)(GChecksum*)> checksum{g_checksum_new(G_CHECKSUM_MD5),
                                                            g_checksum_free};

  void digest(Bytes const& bytes, Digest& out) {
    g_checksum_reset(checksum.get());
    g_checksum_update(checksum.get(), bytes.data(), static_cast<gssize>(bytes.size()));
    gsize size = sizeof out;
    g_checksum_get_digest(checksum.get(), out, &size);
  }
};

template <class Library>
void md5(benchmark::State& state) {
  Bytes bytes(static_cast<std::size_t>(state.range(0)));
  std::mt19937 random(1321);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  Library library;
  Digest out, expected;
  for (auto _ : state) {
    library.digest(bytes, out);
    benchmark::DoNotOptimize(out);
  }
  Cul().digest(bytes, expected);
  if (!std::equal(out, out + sizeof out, expected)) state.SkipWithError("wrong digest");
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void sizes(benchmark::internal::Benchmark* row) {
  for (int shift : {4, 6, 8, 10, 12, 16, 20, 26}) row->Arg(std::int64_t{1} << shift);
}

// 16 bytes show what a digest costs by itself, 64 MiB what a byte costs.
BENCHMARK(md5<Cul>)->Name("md5/cul")->Apply(sizes);
BENCHMARK(md5<OpenSsl>)->Name("md5/openssl")->Apply(sizes);
BENCHMARK(md5<Llvm>)->Name("md5/llvm")->Apply(sizes);
BENCHMARK(md5<Glib>)->Name("md5/glib")->Apply(sizes);

}  // namespace
