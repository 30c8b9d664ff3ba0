#include <unistd.h>

#include <csignal>
#include <memory>

#include "cul/environment/UNIX_Environment.h"
#include "cul/events/CUL_EventDispatcher.h"
#include "cul/events/CUL_Timer_Event.h"
#include "cul/messages/CUL_Message.h"
#include "cul/values/Bit_Pattern.h"
#include "cul/values/Byte_String.h"
#include "cul/values/Unsigned_Bits.h"
#include "quonutil/text/CharString.h"
#include "tests/sweep/Scenarios.h"

// Whatever runs out of memory leaves things as they were.
namespace {

constexpr char kLong[] = "a text that is too long for the object itself";

// An object that is made, changed while memory runs out, and described.
template <class Object, class Change, class Describe>
Scenario changing(char const* name, Change change, Describe describe) {
  return Scenario(name, 0, [=](Run& run) {
    Object object;
    run.attempt([&] { change(object); });
    run << describe(object);
  });
}

struct TestEnvironment : UNIX_Environment {
  using UNIX_Environment::operator=;
  TestEnvironment() { add(text("NAME"), text("value")); }
};
std::string strings(TestEnvironment& environment) {
  std::string all;
  for (char** next = environment.envp(); *next != nullptr; ++next) all += *next + std::string(";");
  return all;
}
void takeProcesss(TestEnvironment& environment) {
  static char first[] = "A=1", second[] = "B=a text that is too long for the object itself";
  static char none[] = "none";
  char* array[] = {first, second, none, nullptr};
  char** const before = std::exchange(environ, array);
  struct Back {
    char** value;
    ~Back() { environ = value; }
  } const back{before};
  environment.localEnvironment();
}

struct TestMessage : CUL_Message {
  TestMessage() : CUL_Message(MsgID{1, 1}) { set_inserts(&first, nullptr); }
  using CUL_Message::inserts;
  EncodedString first = ::text("first"), second = ::text(kLong);
};
struct OneText : XPG4MsgServer {
  OneText() : XPG4MsgServer("", "/no/where") {}
  EncodedString message(int, int) const override { return text("<%1 or %2>"); }
};
OneText& server() {
  static OneText& one = *new OneText;
  return one;
}
std::string told(TestMessage& message) { return bytesOf(message.getMessage(&server())); }

struct TestBytes : Byte_String {
  TestBytes() : Byte_String("bytes", 5) {}
  static std::string show(TestBytes& string) {
    return std::string(reinterpret_cast<char const*>(string.data), string.length) + '/' +
           std::to_string(string.capacity);
  }
};
struct TestBits : Bit_Pattern {
  TestBits() : Bit_Pattern(80, "1234") {}
  static std::string show(TestBits& pattern) {
    EncodedString out;
    return bytesOf(pattern.format(out));
  }
};

struct Plain : CUL_Event {
  void handle_it() override {}
};
// Level 0 has eight plain events and as many timers, which is all it has room for.
struct Queues : EventDispatcherBase {
  Queues() : EventDispatcherBase(1) {
    for (int i = 0; i < 8; ++i) postNew<Plain>(), postNew<CUL_Timer_Event>(5UL);
  }
  template <class Event, class... Arguments>
  void postNew(Arguments... arguments) {
    std::unique_ptr<CUL_Event> event = std::make_unique<Event>(arguments...);
    if (post(*event, 0)) static_cast<void>(event.release());
  }
  QUONUTIL_UNCHECKED static std::string show(Queues& queues) {
    return std::to_string(queues.pending);
  }
};

// What was not destroyed goes on.
void destroy(Run& run) {
  Queues queues;
  run.attempt([&] { queues.destroy(); });
  queues.postNew<Plain>();
  run << Queues::show(queues);
}

bool signalsAreBlocked() {
  sigset_t mask;
  ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  return ::sigismember(&mask, SIGINT) == 1;
}

void thread(Run& run) {
  std::unique_ptr<CUL_EventDispatcher> dispatcher;
  run.attempt([&] { dispatcher = std::make_unique<CUL_EventDispatcher>("sweep", 2, 0); });
  if (dispatcher != nullptr) {
    dispatcher->destroy();
    dispatcher->join();
  }
  run << (dispatcher == nullptr ? "none" : "ran") << (signalsAreBlocked() ? " blocked" : "");
}

void dispatcher(Run& run) {
  std::unique_ptr<EventDispatcherBase> made;
  run.attempt([&] { made = std::make_unique<EventDispatcherBase>(static_cast<unsigned char>(4)); });
  run << (made == nullptr ? "none" : "made");
}

void large(Run& run) {
  unsigned int length = 0;
  run.attempt([&] {
    ByteString bytes(4U << 20);
    length = ByteString(bytes).length();
  });
  run << (length == 4U << 20 ? "both" : "");
}

}  // namespace

std::vector<Scenario> memoryScenarios() {
  static constexpr char kVariable[] = "bad_alloc NAME=value;", kBytes[] = "bad_alloc bytes/5";
  static constexpr char kUnasked[] = "bad_alloc <first or %2>";
  auto const environment = [](char const* name, auto change) {
    return changing<TestEnvironment>(name, change, strings);
  };
  auto const bytes = [](char const* name, auto change) {
    return changing<TestBytes>(name, change, TestBytes::show);
  };
  auto const message = [](char const* name, auto change) {
    return changing<TestMessage>(name, change, told);
  };
  auto const queues = [](char const* name, auto change) {
    return changing<Queues>(name, change, Queues::show);
  };
  return {
      Scenario("Thread", 0, thread)
          .gives("ran", "bad_alloc none")
          .when({{"pthread_create", nullptr, "error %e none"}}),
      Scenario("Dispatcher", 0, dispatcher).gives("made", "bad_alloc none"),
      Scenario("Destroy", 0, destroy).gives("1", "bad_alloc 17"),
      queues("PostPlain", [](Queues& all) { all.postNew<Plain>(); }).gives("17", "bad_alloc 16"),
      queues("PostTimer", [](Queues& all) { all.postNew<CUL_Timer_Event>(1UL); })
          .gives("17", "bad_alloc 16"),
      environment("EnvironmentSet",
                  [](CUL_Environment& set) { set.set(text("NAME"), text(kLong)); })
          .gives("NAME=a text that is too long for the object itself;", kVariable),
      environment("EnvironmentAdd", [](CUL_Environment& set) { set.set(text("B"), text("")); })
          .gives("NAME=value;B=;", kVariable),
      environment("EnvironmentClone", [](CUL_Environment& set) { delete set.clone(); })
          .gives("NAME=value;", kVariable),
      environment("EnvironmentOfProcess", takeProcesss)
          .gives("A=1;B=a text that is too long for the object itself;", "bad_alloc ?(A=1;)"),
      message("MessageInserts",
              [](auto& one) { one.set_inserts(&one.second, &one.first, nullptr); })
          .gives("<a text that is too long for the object itself or first>", kUnasked),
      message("MessageText",
              [](auto& one) {
                one.set_inserts(&one.second, nullptr);
                one.getMessage(&server());
              })
          .gives("<a text that is too long for the object itself or %2>",
                 "bad_alloc <@(first|a text that is too long for the object itself) or %2>"),
      bytes("BytesAppend", [](auto& some) { some += some; }).gives("bytesbytes/10", kBytes),
      bytes("BytesOverlay", [](auto& some) { some.overlay_with(kLong, 9, 5); })
          .gives("bytesa text th/14", kBytes),
      bytes("BytesAssign", [](auto& some) { some.assign(kLong, 6); }).gives("a text/6", kBytes),
      bytes("BytesExtend", [](auto& some) { some.extend(9); }).gives("bytes/9", kBytes),
      changing<TestBits>(
          "BitsAssign", [](Bit_Pattern& bits) { bits = Bit_Pattern(90, "5"); }, TestBits::show)
          .gives("000000000000000000000005", "bad_alloc 00000000000000001234"),
      changing<EncodedString>(
          "NumberText", [](auto& out) { Unsigned_Bits(1).hex_format(out, 8); },
          [](auto& out) { return bytesOf(out); })
          .gives("0000000000000001", "bad_alloc "),
      changing<CharString>(
          "WideText", [](auto& out) { out.loadFrom(kLong, 20, EncodedString::kSystemText); },
          [](auto& out) { return bytesOf(out.encoded()); })
          .gives("a text that is too l", "bad_alloc "),
      Scenario("LargeBuffers", 0, large).gives("both", "bad_alloc "),
  };
}
