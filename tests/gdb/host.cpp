// Has an object of each kind that gdb shows, and hangs: one thread holds a lock, another wants it.
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

// What an object may hold that was never made, or was overwritten.
[[gnu::used]] alignas(16) unsigned char zeros[512], ones[512];

std::latch alternateRuns(1);
UNIX_Critical_Section contended;
// Unchecked: what is taken here is never given back.
QUONUTIL_UNCHECKED void take() { contended.request("holding", 42); }

struct Work : CUL_Event {
  explicit Work(void (*what)() = nullptr) : action(what) {}
  void handle_it() override { action(); }
  void (*action)();
};

EncodedString encoded(char const* bytes) { return {bytes, EncodedString::kLibraryText}; }

void fillQueues() {
  constexpr unsigned long kLongDelay = 2'000'000'000;  // nothing of it falls due in a test
  auto* const dispatcher = CUL_Dispatcher::instance();
  dispatcher->post(*new Work(take), 1);  // the first to run
  dispatcher->post(*new Work, 1);
  dispatcher->post(*new CUL_Timer_Event(kLongDelay), 1);
  auto* const sooner = new CUL_Timer_Event(kLongDelay / 2);
  sooner->tag = &contended;
  dispatcher->post(*sooner, 1);
  dispatcher->post(*new Work, 3);
  dispatcher->block(2);
  dispatcher->makeAlternate()->post(*new CUL_Timer_Event(kLongDelay), 1);
  dispatcher->makeAlternate()->post(*new Work([] { alternateRuns.count_down(); }), 1);
  alternateRuns.wait();
}

void show() {
  auto const literal = encoded("caf\xC3\xA9 \"\xE9\"\n");
  CharString wide;
  wide.loadFrom(literal.data(), literal.length(), EncodedString::kLibraryText);
  ByteString const bytes("ABCD\x7F", 5);
  FileName const file(encoded("/lib/m.a(sin\xFF.o)"));
  AutoList<EncodedString*> texts;
  texts.append(new EncodedString(literal));
  texts.append(nullptr);
  Byte_String const owned("ABCDE", 5);
  Bit_Pattern const pattern(12, "fed");
  Unsigned_Bits const number(255);
  UNIX_Environment variables;
  variables.add(encoded("PATH"), encoded("/bin"));
  variables.add(encoded("\xE9"), encoded(""));
  CUL_Message message(MsgID{12, 3});
  message.set_inserts(&literal, static_cast<EncodedString*>(nullptr));
  CUL_Message const text(literal);
  std::thread([] { CUL_Dispatcher::instance()->dispatchLoop(); }).join();
}

}  // namespace

int main() {
  for (auto& byte : ones) byte = 0xFF;
  take();
  take();
  fillQueues();
  show();
}
