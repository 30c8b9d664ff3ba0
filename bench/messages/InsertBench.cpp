// The text of a message with nine inserts, held against one replacement of nine placeholders. A row
// that gives another text fails.
#include <absl/strings/str_replace.h>
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cul/messages/CUL_Message.h"

namespace {

constexpr char kText[] =
    "Program %1 (process %2) stopped in thread %3 at line %4 of %5, in function %6 of module %7: "
    "signal %8, address %9.";
constexpr char const* kInserts[] = {"/opt/project/bin/server",
                                    "12345",
                                    "7",
                                    "1024",
                                    "/opt/project/source/server/Connection.cpp",
                                    "Connection::receive(Buffer&)",
                                    "libconnection.so.2",
                                    "SIGSEGV",
                                    "00007f3a5c0012f8"};
constexpr std::string_view kExpected =
    "Program /opt/project/bin/server (process 12345) stopped in thread 7 at line 1024 of "
    "/opt/project/source/server/Connection.cpp, in function Connection::receive(Buffer&) of module "
    "libconnection.so.2: signal SIGSEGV, address 00007f3a5c0012f8.";

// A catalog with one text, of which it gives a copy, as any catalog does.
class Server : public XPG4MsgServer {
 public:
  Server() : XPG4MsgServer("C", "none") {}
  EncodedString message(int, int) const override { return text_; }

 private:
  EncodedString text_{kText, EncodedString::kLibraryText};
};

class Cul {
 public:
  Cul() : message_(MsgID{1, 1}) {
    AutoList<EncodedString const*> inserts;
    for (char const* const insert : kInserts) {
      inserts.append(new EncodedString(insert, EncodedString::kLibraryText));
    }
    message_.set_inserts(inserts);
  }
  EncodedString text() { return message_.getMessage(&server_); }
  static std::string_view view(EncodedString const& text) { return {text.data(), text.length()}; }

 private:
  Server server_;
  CUL_Message message_;
};

class Absl {
 public:
  Absl() {
    for (char const* const insert : kInserts) {
      replacements_.emplace_back("%" + std::to_string(replacements_.size() + 1), insert);
    }
  }
  std::string text() const { return absl::StrReplaceAll(text_, replacements_); }
  static std::string_view view(std::string const& text) { return text; }

 private:
  std::string text_ = kText;
  std::vector<std::pair<std::string, std::string>> replacements_;
};

template <class Subject>
void inserts(benchmark::State& state) {
  Subject subject;
  for (auto _ : state) {
    auto text = subject.text();
    benchmark::DoNotOptimize(text);
    if (Subject::view(text) != kExpected) state.SkipWithError("gives something else");
  }
}

void often(benchmark::internal::Benchmark* row) { row->MinTime(0.02)->Repetitions(25); }

BENCHMARK(inserts<Cul>)->Name("inserts/cul")->Apply(often);
BENCHMARK(inserts<Absl>)->Name("inserts/absl")->Apply(often);

}  // namespace
