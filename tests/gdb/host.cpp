// Has an object of each kind that gdb shows, and stops with a lock held by one thread and asked for
// by another. Never ends by itself.
#include <cstring>
#include <latch>
#include <thread>

#include "cul/environment/UNIX_Environment.h"
#include "cul/events/CUL_Dispatcher.h"
#include "cul/events/CUL_EventDispatcher.h"
#include "cul/events/CUL_Timer_Event.h"
#include "cul/messages/CUL_Message.h"
#include "cul/values/Bit_Pattern.h"
#include "cul/values/Byte_String.h"
#include "cul/values/Unsigned_Bits.h"
#include "quonutil/collections/AutoList.h"
#include "quonutil/names/FileName.h"
#include "quonutil/threads/UNIX_Critical_Section.h"

namespace {

constexpr unsigned long kLongDelay = 2'000'000'000;  // nothing of it falls due in a test

// What an object may hold that was never made, or was overwritten.
alignas(16) unsigned char zeros[512], ones[512];
void* pointers[64];

UNIX_Critical_Section contended;
// Unchecked: what is taken here is never given back.
QUONUTIL_UNCHECKED void take(char const* label, unsigned int line) {
  contended.request(label, line);
}

std::latch alternateRuns(1);

struct Work : CUL_Event {
  void handle_it() override {}
};
struct Waiting : CUL_Event {
  void handle_it() override { take("waiting", 7); }
};
struct Running : CUL_Event {
  void handle_it() override { alternateRuns.count_down(); }
};

EncodedString encoded(char const* bytes) { return {bytes, EncodedString::kLibraryText}; }

void fillQueues() {
  auto* const dispatcher = CUL_Dispatcher::instance();
  dispatcher->post(*new Waiting, 1);  // the first to run
  auto* const tagged = new Work;
  tagged->tag = &contended;
  dispatcher->post(*tagged, 1);
  dispatcher->post(*new CUL_Timer_Event(kLongDelay), 1);
  dispatcher->post(*new Work, 3);
  dispatcher->block(2);
  dispatcher->makeAlternate()->post(*new CUL_Timer_Event(kLongDelay), 1);
  dispatcher->makeAlternate()->post(*new Running, 1);
  alternateRuns.wait();
}

void show() {
  auto const literal = encoded("caf\xC3\xA9 \"\xE9\"\n");
  auto const longText = encoded("more than fits into the object itself");
  auto unended = longText;
  unended.data()[unended.length()] = '.';
  alignas(EncodedString) unsigned char moved[sizeof literal];  // as bytes, which nobody may do
  std::memcpy(moved, static_cast<void const*>(&literal), sizeof moved);
  CharString wide;
  wide.loadFrom(literal.data(), literal.length(), EncodedString::kLibraryText);
  ByteString const bytes("ABCD\x7F", 5);
  FileName const file(encoded("/usr/lib/libm.a(sin\xFF.o)")), plain(encoded("main.c"));
  AutoList<EncodedString*> texts;
  texts.append(new EncodedString(literal));
  texts.append(nullptr);
  Byte_String const owned("ABCDE", 5);
  Bit_Pattern const pattern(12, "fed");
  Unsigned_Bits const number(255);
  UNIX_Environment variables;
  variables.set(encoded("PATH"), encoded("/bin"));
  variables.add(encoded("\xE9"), encoded(""));
  CUL_Message message(MsgID{12, 3});
  message.set_inserts(&literal, static_cast<EncodedString*>(nullptr));
  CUL_Message const said(longText), nothing;
  Work const work;
  CUL_Timer_Event const timer(kLongDelay);
  std::thread([] { CUL_Dispatcher::instance()->dispatchLoop(); }).join();
}

}  // namespace

int main() {
  std::memset(ones, 0xFF, sizeof ones);
  for (auto& pointer : pointers) pointer = zeros;
  take("holding", 42);
  take("holding again", 43);
  fillQueues();
  show();
}
