#include "cul/messages/CUL_Message.h"

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <utility>

#include "cul/base/Append.h"
#include "cul/base/Tracing.h"
#include "cul/messages/Substitution.h"

namespace {

using Texts = AutoList<EncodedString*>;

constexpr char kCatalog[] = "dmg";
constexpr char kFirstLocale[] = "en_US";

enum PrintFlags : int { kOnStandardError = 1, kEmptyLineBefore = 2, kEmptyLineAfter = 4 };

void appendCopy(Texts& copies, EncodedString const& text) {
  append(copies, std::make_unique<EncodedString>(text));
}

template <class Element>
void appendCopies(Texts& copies, List<Element> const& texts) {
  copies.reserve(texts.count());
  for (unsigned int i = 0; i < texts.count(); ++i) appendCopy(copies, *texts[i]);
}

void appendCopies(Texts& copies, EncodedString const* first, std::va_list rest) {
  copies.reserve(CUL_Message::kMostArguments);
  for (EncodedString const* text = first; text != nullptr;) {
    appendCopy(copies, *text);
    if (copies.count() == CUL_Message::kMostArguments) break;
    text = va_arg(rest, EncodedString const*);
  }
}

// Deletes the inserts and puts the copies, which were made first, in their place.
void replace(Texts& inserts, Texts& copies) {
  inserts.reserve(copies.count());
  inserts.deleteElements();
  for (unsigned int i = 0; i < copies.count(); ++i) inserts.append(copies[i]);
  copies.clear();
}

void printLine(std::FILE* stream, EncodedString const& text) {
  std::fprintf(stream, "%s\n", text.convert(EncodedString::kSystemText, nullptr).text());
}

}  // namespace

CUL_Message::CUL_Message() : textReady(1), empty(1), idSecond(0), idFirst(0) {}

CUL_Message::CUL_Message(MsgID const& id) : CUL_Message() { set_id(id); }

CUL_Message::CUL_Message(MsgID const& id, List<EncodedString const*> const& texts)
    : CUL_Message(id) {
  set_inserts(texts);
}

CUL_Message::CUL_Message(EncodedString const& text) : CUL_Message() { set_text(text); }

CUL_Message::CUL_Message(CUL_Message const& other) : CUL_Message() { *this = other; }

CUL_Message::~CUL_Message() = default;

CUL_Message& CUL_Message::operator=(CUL_Message const& other) {
  if (this == &other) return *this;
  EncodedString newSuffix = other.suffix;
  EncodedString newText = other.msgText;
  set_inserts(other.inserts);
  idFirst = other.idFirst;
  idSecond = other.idSecond;
  empty = other.empty;
  suffix = std::move(newSuffix);
  textReady = other.textReady;
  msgText = std::move(newText);
  return *this;
}

void CUL_Message::set_id(MsgID const& id) {
  msgText = EncodedString();
  bool const valid = id.isValid();
  empty = !valid;
  textReady = !valid;
  idFirst = static_cast<short>(valid ? id.first : 0);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"  // cut to 14 bits, and no cast names such a type
  idSecond = static_cast<short>(valid ? id.second : 0);
#pragma GCC diagnostic pop
}

void CUL_Message::set_text(EncodedString const& text) {
  msgText = text;
  idFirst = 0;
  idSecond = 0;
  textReady = 1;
  suffix = EncodedString();
  empty = msgText.isEmpty();
}

void CUL_Message::set_inserts(List<EncodedString*> const& texts) {
  Texts copies;
  appendCopies(copies, texts);
  replace(inserts, copies);
  msgText = EncodedString();
  textReady = 0;
}

void CUL_Message::set_inserts(List<EncodedString const*> const& texts) {
  Texts copies;
  appendCopies(copies, texts);
  replace(inserts, copies);
}

void CUL_Message::set_inserts(EncodedString const* first, ...) {
  Texts copies;
  std::va_list rest;
  va_start(rest, first);
  appendCopies(copies, first, rest);
  va_end(rest);
  replace(inserts, copies);
}

void CUL_Message::deleteInserts() { inserts.deleteElements(); }

EncodedString CUL_Message::getMessage(XPG4MsgServer* server) const {
  if (idFirst == 0) return msgText;
  EncodedString text = server->message(idSecond, idFirst);
  if (!inserts.isEmpty()) text = substitute(text, inserts);
  return text;
}

EncodedString const& CUL_Message::text() const {
  if (textReady) return msgText;
  MessageServer* const frontEnd = MessageServer::instance();
  if (frontEnd->server == nullptr) frontEnd->set_message_file();
  EncodedString resolved = getMessage(frontEnd->server);
  resolved += suffix;
  msgText = std::move(resolved);
  textReady = 1;
  return msgText;
}

void CUL_Message::printLocal(int flags) const {
  std::FILE* const stream = (flags & kOnStandardError) != 0 ? stderr : stdout;
  if ((flags & kEmptyLineBefore) != 0) std::fputc('\n', stream);
  if (idFirst != 0) {
    printLine(stream, getMessage(LocalMessageServer::instance()->server));
  } else if (empty) {
    std::fputc('\n', stream);
  } else {
    printLine(stream, msgText);
  }
  if ((flags & kEmptyLineAfter) != 0) std::fputc('\n', stream);
}

void CUL_Message::printLocal(MsgID const& id, int flags, EncodedString const* first, ...) {
  CUL_Message message(id);
  std::va_list rest;
  va_start(rest, first);
  appendCopies(message.inserts, first, rest);
  va_end(rest);
  message.printLocal(flags);
}

void CUL_Message::messagePopup() const {
  if (auto* trace = tracing(TraceFlag::error)) {
    trace->taggedTrace("messagePopup", __LINE__, "ERROR", "%s", text().data());
  }
  std::fprintf(stderr, "\n\n%s\n\n", text().data());
}

XPG4MsgServer* CUL_Message::newMessageServer(char const* locale) {
  return new XPG4MsgServer(locale, kCatalog);
}

void CUL_Message::set_fe_locale(EncodedString const& locale) {
  MessageServer* const frontEnd = MessageServer::instance();
  EncodedString changed = locale;
  XPG4MsgServer* const opened = newMessageServer(changed.data());  // when it throws, all stays
  delete std::exchange(frontEnd->server, opened);
  frontEnd->locale = std::move(changed);
}

CUL_Message::MessageServer::MessageServer()
    : server(nullptr), locale(kFirstLocale, EncodedString::kLibraryText) {
  set_message_file();
}

CUL_Message::MessageServer::~MessageServer() { delete server; }

CUL_Message::MessageServer* CUL_Message::MessageServer::instance() {
  static MessageServer* frontEnd = nullptr;
  if (frontEnd == nullptr) frontEnd = new MessageServer;
  return frontEnd;
}

void CUL_Message::MessageServer::set_message_file() {
  delete std::exchange(server, nullptr);
  server = newMessageServer(locale.data());
}

CUL_Message::LocalMessageServer::LocalMessageServer() : server(newMessageServer(nullptr)) {}

CUL_Message::LocalMessageServer::~LocalMessageServer() { delete server; }

CUL_Message::LocalMessageServer* CUL_Message::LocalMessageServer::instance() {
  static LocalMessageServer* local = nullptr;
  if (local == nullptr) local = new LocalMessageServer;
  return local;
}
