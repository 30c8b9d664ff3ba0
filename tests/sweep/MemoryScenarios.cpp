#include <csignal>
#include <memory>

#include "cul/environment/UNIX_Environment.h"
#include "cul/events/CUL_EventDispatcher.h"
#include "cul/events/CUL_Timer_Event.h"
#include "cul/messages/CUL_Message.h"
#include "cul/values/Byte_String.h"
#include "tests/sweep/Scenario.h"

// Whatever runs out of memory leaves things as they were.
namespace {

constexpr char kLong[] = "a text that is too long for the object itself";

struct TestEnvironment : UNIX_Environment {
  using UNIX_Environment::operator=;
  explicit TestEnvironment(char const* value) { add(text("NAME"), text(value)); }
};
std::string strings(TestEnvironment const& environment) {
  std::string all;
  for (char** next = environment.envp(); *next != nullptr; ++next) all += *next + std::string(";");
  return all;
}
void setVariable(Run& run) {
  TestEnvironment environment("value");
  run.attempt([&] { environment.set(text("NAME"), text(kLong)); });
  run << strings(environment);
}
void assignEnvironment(Run& run) {
  TestEnvironment environment("value"), other(kLong);
  other.set(text("B"), text(""));
  run.attempt([&] { environment = other; });
  run << strings(environment);
}

struct TestMessage : CUL_Message {
  TestMessage() : CUL_Message(MsgID{1, 1}) { set_inserts(&first, nullptr); }
  EncodedString first = ::text("first"), second = ::text(kLong);
};
struct OneText : XPG4MsgServer {
  OneText() : XPG4MsgServer("", "/no/where") {}
  EncodedString message(int, int) const override { return text("<%1 or %2>"); }
};
void message(Run& run) {
  OneText server;
  TestMessage one;
  run.attempt([&] {
    one.set_inserts(&one.second, nullptr);
    one.getMessage(&server);
  });
  run << bytesOf(one.getMessage(&server));
}

struct TestBytes : Byte_String {
  TestBytes() : Byte_String("bytes", 5) {}
  std::string show() const { return {reinterpret_cast<char const*>(data), length}; }
};
void appendBytes(Run& run) {
  TestBytes bytes;
  run.attempt([&] { bytes += bytes; });
  run << bytes.show();
}

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
  QUONUTIL_UNCHECKED long count() const { return pending; }
};
std::function<void(Run&)> onQueues(void (*change)(Queues& queues)) {
  return [=](Run& run) {
    Queues queues;
    run.attempt([&] { change(queues); });
    run << queues.count();
  };
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

}  // namespace

std::vector<Scenario> memoryScenarios() {
  auto const postTimer = [](Queues& queues) { queues.postNew<CUL_Timer_Event>(1UL); };
  auto const destroy = [](Queues& queues) { queues.destroy(); };
  return {
      Scenario("Thread", 0, thread, "ran", "none", {{"pthread_create", nullptr, "error %e none"}}),
      Scenario("PostTimer", 0, onQueues(postTimer), "17", "16"),
      Scenario("Destroy", 0, onQueues(destroy), "1", "16"),
      Scenario("EnvironmentSet", 0, setVariable,
               "NAME=a text that is too long for the object itself;", "NAME=value;"),
      Scenario("EnvironmentAssign", 0, assignEnvironment,
               "NAME=a text that is too long for the object itself;B=;",
               "?(NAME=a text that is too long for the object itself;)"),
      Scenario("Message", 0, message, "<a text that is too long for the object itself or %2>",
               "<@(first|a text that is too long for the object itself) or %2>"),
      Scenario("BytesAppend", 0, appendBytes, "bytesbytes", "bytes"),
  };
}
