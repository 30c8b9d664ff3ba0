#include "MeteredDispatcher.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <typeinfo>

#include "quonutil/threads/ElapsedTime.h"

namespace {

std::string kindOf(CUL_Event const& event) {
  struct Free {
    void operator()(char* text) const { std::free(text); }
  };
  char const* const mangled = typeid(event).name();
  int status = 0;
  std::unique_ptr<char, Free> const name(abi::__cxa_demangle(mangled, nullptr, nullptr, &status));
  return name == nullptr ? mangled : name.get();
}

}  // namespace

long MeteredTimer::lateness() const {
  return static_cast<long>(ElapsedTime::now()) - static_cast<long>(timeoutTime);
}

std::optional<MeteredDispatcher::Running> MeteredDispatcher::running() const {
  std::lock_guard const locked(ledger_);
  return running_;
}

MeteredDispatcher::Accounts MeteredDispatcher::accounts() const {
  std::lock_guard const locked(ledger_);
  return accounts_;
}

void MeteredDispatcher::_process_event(CUL_Event* event) {
  std::unique_ptr<CUL_Event> owned(event);
  if (owned == nullptr) return;
  begin(*owned);
  struct End {  // also when the event throws
    MeteredDispatcher& dispatcher;
    ~End() { dispatcher.end(); }
  } const atTheEnd{*this};
  EventDispatcherBase::_process_event(owned.release());
}

void MeteredDispatcher::begin(CUL_Event const& event) {
  std::string const kind = kindOf(event);
  std::lock_guard const locked(ledger_);
  Account& account = accounts_[kind];
  ++account.runs;
  if (auto const* const timer = dynamic_cast<MeteredTimer const*>(&event)) {
    long const late = timer->lateness();
    account.earliest = std::min(account.earliest.value_or(late), late);
    account.latest = std::max(account.latest.value_or(late), late);
  }
  running_ = Running{kind, ElapsedTime::now(), ++started_};
}

void MeteredDispatcher::end() {
  std::lock_guard const locked(ledger_);
  unsigned long const spent = ElapsedTime::now() - running_->since;
  Account& account = accounts_[running_->kind];
  account.total += spent;
  account.longest = std::max(account.longest, spent);
  running_.reset();
}
