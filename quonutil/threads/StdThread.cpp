#include "quonutil/threads/StdThread.h"

#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <new>
#include <system_error>

#include "quonutil/threads/LateWake.h"

namespace {

thread_local StdThread* current = nullptr;

// Stands for every thread that somebody else started.
class ForeignThread : public StdThread {
 public:
  ForeignThread() : StdThread("", 0, nullptr) {}
  void run() override {}
};

void check(int error) {
  if (error != 0) throw std::system_error(error, std::system_category(), "StdThread");
}

// The attributes of a thread that is about to start.
class Attributes {
 public:
  explicit Attributes(std::size_t stackSize) {
    check(::pthread_attr_init(&attributes_));
    if (stackSize == 0) return;
    auto const page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    auto const least = static_cast<std::size_t>(PTHREAD_STACK_MIN);
    std::size_t const size = std::max(stackSize, least) + page - 1;
    ::pthread_attr_setstacksize(&attributes_, size / page * page);
  }
  Attributes(Attributes const&) = delete;
  Attributes& operator=(Attributes const&) = delete;
  ~Attributes() { ::pthread_attr_destroy(&attributes_); }

  pthread_attr_t const* get() const noexcept { return &attributes_; }

 private:
  pthread_attr_t attributes_;
};

// Blocks every signal on this thread as long as it lives, so that a thread started meanwhile
// begins with all of them blocked.
class SignalsBlocked {
 public:
  SignalsBlocked() noexcept {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  SignalsBlocked(SignalsBlocked const&) = delete;
  SignalsBlocked& operator=(SignalsBlocked const&) = delete;
  ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_;
};

}  // namespace

StdThread::StdThread(char const* name, unsigned int stackSize, TerminationHandler handler)
    : stackSize_(stackSize), handler_(handler) {
  std::snprintf(name_, sizeof name_, "%s", name);
}

StdThread::~StdThread() {
  if (isJoinable_ && ::pthread_equal(thread_, ::pthread_self()) != 0) {
    ::pthread_detach(thread_);
  } else {
    join();
  }
}

void StdThread::start_thread(unsigned int /*flags*/) {
  Attributes const attributes(stackSize_);
  SignalsBlocked const blocked;
  // Before the thread runs: it may be over, and the object gone, when pthread_create returns.
  isJoinable_ = true;
  int const error = ::pthread_create(&thread_, attributes.get(), &StdThread::enter, this);
  if (error == 0) return;
  isJoinable_ = false;
  check(error);
}

void* StdThread::enter(void* self) noexcept {
  auto* const thread = static_cast<StdThread*>(self);
  current = thread;
  ::pthread_setname_np(::pthread_self(), thread->name_);
  thread->run();
  if (thread->handler_ != nullptr) thread->handler_(*thread);
  return nullptr;
}

void StdThread::join() {
  if (!isJoinable_) return;
  isJoinable_ = false;
  LateWake::pay();
  ::pthread_join(thread_, nullptr);
}

StdThread* StdThread::currentThread() noexcept {
  if (current != nullptr) return current;
  // Never destroyed: a thread that outlives main may still yield.
  alignas(ForeignThread) static unsigned char place[sizeof(ForeignThread)];
  static StdThread* const foreign = new (place) ForeignThread;
  return foreign;
}

unsigned long StdThread::currentThreadId() noexcept { return ::pthread_self(); }

void StdThread::thread_yield() noexcept { ::sched_yield(); }
