#include "quonutil/digest/MD5.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

static_assert(std::endian::native == std::endian::little, "words are loaded as they lie");

namespace {

using Word = std::uint32_t;

constexpr std::size_t kBlock = 64;
constexpr std::size_t kSteps = 64;

// The whole parts of 2^32 |sin i| for i = 1 to 64. Each sine is the one before it, turned by one
// radian. The rounding errors stay below 0.0001 here, and none of the products comes nearer than
// 0.01 to a whole number.
constexpr std::array<Word, kSteps> makeSines() {
  constexpr double kSin1 = 0.8414709848078965;
  constexpr double kCos1 = 0.5403023058681398;
  std::array<Word, kSteps> sines{};
  double sine = 0;
  double cosine = 1;
  for (Word& entry : sines) {
    double const next = sine * kCos1 + cosine * kSin1;
    cosine = cosine * kCos1 - sine * kSin1;
    sine = next;
    entry = static_cast<Word>((sine < 0 ? -sine : sine) * 0x1p32);
  }
  return sines;
}
constexpr auto kSines = makeSines();
static_assert(kSines.front() == 0xd76aa478 && kSines.back() == 0xeb86d391);

// A round is sixteen steps, one for each word of the block.
constexpr struct Round {
  std::size_t firstWord, stride;  // in which order the words come
  int turns[4];                   // how far the steps rotate, by their number modulo 4
} kRounds[] = {
    {0, 1, {7, 12, 17, 22}},
    {1, 5, {5, 9, 14, 20}},
    {5, 3, {4, 11, 16, 23}},
    {0, 7, {6, 10, 15, 21}},
};

Word load(unsigned char const* bytes) noexcept {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// The same word, but the compiler cannot look through it: what is added to it is added last.
[[gnu::always_inline]] inline Word settled(Word word) noexcept {
  asm("" : "+r"(word));
  return word;
}

// `sum` plus the round's function of the other three words.
//
// Every step needs the result of the step before it, which is `b`, so a block takes as long as the
// chain of operations from one `b` to the next. All that does not need `b` is therefore computed
// and added up first. Left alone, the compilers reorder the additions: clang's blocks took a fifth
// longer.
template <std::size_t kRound>
[[gnu::always_inline]] inline Word mixed(Word sum, Word b, Word c, Word d) noexcept {
  if constexpr (kRound == 0) return settled(sum) + (d ^ (b & (c ^ d)));
  // The halves have no bit in common, so that + does what | would, and does it early for one half.
  if constexpr (kRound == 1) return settled(sum + (c & ~d)) + (b & d);
  if constexpr (kRound == 2) return settled(sum) + (b ^ (c ^ d));
  if constexpr (kRound == 3) return settled(sum) + (c ^ (b | ~d));
}

template <std::size_t kStep>
[[gnu::always_inline]] inline void step(Word& a, Word b, Word c, Word d,
                                        unsigned char const* block) noexcept {
  constexpr Round const& round = kRounds[kStep / 16];
  constexpr std::size_t word = (round.firstWord + round.stride * kStep) % 16;
  Word const sum = a + kSines[kStep] + load(block + word * sizeof(Word));
  a = b + std::rotl(mixed<kStep / 16>(sum, b, c, d), round.turns[kStep % 4]);
}

// Four steps, behind which each word stands in its old place.
template <std::size_t kStep>
[[gnu::always_inline]] inline void fourSteps(Word& a, Word& b, Word& c, Word& d,
                                             unsigned char const* block) noexcept {
  step<kStep>(a, b, c, d, block);
  step<kStep + 1>(d, a, b, c, block);
  step<kStep + 2>(c, d, a, b, block);
  step<kStep + 3>(b, c, d, a, block);
}

template <std::size_t... kFour>
[[gnu::always_inline]] inline void allSteps(Word& a, Word& b, Word& c, Word& d,
                                            unsigned char const* block,
                                            std::index_sequence<kFour...>) noexcept {
  (fourSteps<4 * kFour>(a, b, c, d, block), ...);
}

// Takes in whole blocks; returns where they end.
unsigned char const* takeIn(Word (&state)[4], unsigned char const* blocks,
                            std::size_t count) noexcept {
  auto [a, b, c, d] = state;
  for (; count != 0; --count, blocks += kBlock) {
    Word const before[] = {a, b, c, d};
    allSteps(a, b, c, d, blocks, std::make_index_sequence<kSteps / 4>());
    // Settled one by one: g++ would make it one vector addition, and the way into the vector and
    // back costs each block more than that saves.
    a = settled(a + before[0]);
    b = settled(b + before[1]);
    c = settled(c + before[2]);
    d = settled(d + before[3]);
  }
  state[0] = a;
  state[1] = b;
  state[2] = c;
  state[3] = d;
  return blocks;
}

}  // namespace

MD5::MD5() noexcept : state_{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476} {}

MD5::MD5(void const* bytes, std::size_t count) noexcept : MD5() { update(bytes, count); }

void MD5::update(void const* bytes, std::size_t count) noexcept {
  static_assert(sizeof pending_ == kBlock);
  if (count == 0) return;  // `bytes` may then be null, which memcpy does not take
  auto const* from = static_cast<unsigned char const*>(bytes);
  std::size_t const held = length_ % kBlock;
  length_ += count;
  if (held != 0) {
    std::size_t const taken = std::min(kBlock - held, count);
    std::memcpy(pending_ + held, from, taken);
    if (held + taken < kBlock) return;
    takeIn(state_, pending_, 1);
    from += taken;
    count -= taken;
  }
  from = takeIn(state_, from, count / kBlock);
  std::memcpy(pending_, from, count % kBlock);
}

// Behind the last byte come one bit, as many zero bits as fill a block up to its last 64 bits, and
// in those the length in bits. All of it is done to copies.
void MD5::digest(unsigned char (&out)[kBytes]) const noexcept {
  std::uint64_t const bits = length_ * 8;
  std::size_t const held = length_ % kBlock;
  std::size_t const blocks = held + 1 + sizeof bits <= kBlock ? 1 : 2;
  unsigned char end[2 * kBlock] = {};
  std::memcpy(end, pending_, held);
  end[held] = 0x80;
  std::memcpy(end + blocks * kBlock - sizeof bits, &bits, sizeof bits);

  Word state[] = {state_[0], state_[1], state_[2], state_[3]};
  takeIn(state, end, blocks);
  std::memcpy(out, state, kBytes);
}

EncodedString MD5::asString(OutputString) const {
  static constexpr char kDigits[] = "0123456789abcdef";
  unsigned char bytes[kBytes];
  digest(bytes);
  EncodedString text;
  text.makeBuffer(2 * kBytes);
  char* out = text.data();
  for (unsigned char const byte : bytes) {
    *out++ = kDigits[byte >> 4];
    *out++ = kDigits[byte & 15];
  }
  return text;
}
