#pragma once

#include "cul/base/Export.h"
#include "quonutil/catalog/MsgID.h"
#include "quonutil/catalog/XPG4MsgServer.h"
#include "quonutil/collections/AutoList.h"
#include "quonutil/text/EncodedString.h"

/// A message for the debugger's user: a literal text, or the name of a text in the message catalog
/// with inserts for its placeholders.
///
///   textReady   empty   identifier
///   set         set     none         empty
///   set         -       none         a literal text
///   -           -       valid        the catalog's text is still to be asked for
///   set         -       valid        the catalog's text is kept
///
/// The placeholder of insert i, counted from 1, is "%" followed by i in decimal. Each insert
/// replaces its placeholder wherever that stands, %1 first, then %2 and so on: a placeholder that
/// comes with an insert is replaced too when its turn comes later (so a few short inserts can make
/// a text of any length), and of "%10" insert 1 replaces "%1". A placeholder without an insert
/// stays, and an insert without a placeholder is left out; nothing protects a "%". The texts of the
/// catalog are UTF-8; inserts of other bytes pass unchanged.
///
/// The list elements and pointers that are handed over as inserts point to texts, which are copied.
///
/// Nothing reports a failure: for a message that the catalog lacks, the text says so (see
/// XPG4MsgServer). Throws std::bad_alloc, and std::length_error for a text that 32 bits cannot
/// count, with the message as it was. One thread at a time, `text()` included: it changes the
/// message, constant or not. The first text that the process asks for, and the first that it
/// prints, make a server: they are over before another thread shows a message.
class CUL_EXPORT CUL_Message {
 public:
  class MessageServer;
  class LocalMessageServer;

  /// How many inserts are taken from a list of arguments; further ones are ignored.
  static constexpr unsigned int kMostArguments = 9;

  /// The empty message.
  CUL_Message();
  /// The catalog's message `id`, see `set_id`.
  CUL_Message(MsgID const& id);
  /// The same with copies of `texts` as its inserts.
  CUL_Message(MsgID const& id, List<EncodedString const*> const& texts);
  /// A literal text.
  CUL_Message(EncodedString const& text);
  /// A copy, with a text that is kept and inserts of its own.
  CUL_Message(CUL_Message const& other);
  ~CUL_Message();

  /// A message that is assigned to itself stays as it is.
  CUL_Message& operator=(CUL_Message const& other);

  /// Makes this the catalog's message `id`, or, when that is not valid, the empty message. Inserts
  /// stay. Of the set's number 14 bits are kept, with a sign: 8192 becomes -8192, which no catalog
  /// has, and 16385 becomes 1, which one may have. Of the message's number 16 bits are kept, with a
  /// sign.
  void set_id(MsgID const& id);

  /// Makes this a literal text, which may be empty. Inserts stay, and wait for an identifier.
  void set_text(EncodedString const& text);

  /// Replaces the inserts, and forgets the text: a catalog's text is asked for again, a literal
  /// one is lost.
  void set_inserts(List<EncodedString*> const& texts);

  /// Replaces the inserts. A text that is kept already stays as it is.
  void set_inserts(List<EncodedString const*> const& texts);

  /// The same, for pointers that a null pointer ends.
  void set_inserts(EncodedString const* first, ...);

  /// Deletes the inserts, from the last to the first.
  void deleteInserts();

  /// The text, with its inserts, as `server` has it; a literal one as it is. `server` is borrowed
  /// and not asked for a literal text.
  EncodedString getMessage(XPG4MsgServer* server) const;

  /// The text, in the front end's language. It is asked for once and kept; borrowed until the
  /// message changes or goes.
  EncodedString const& text() const;

  /// Prints the text in the local language, and an end of line: on standard error when `flags` has
  /// 1, else on standard output; with 2 an empty line goes in front, with 4 one behind. The text is
  /// asked for anew and not kept.
  void printLocal(int flags) const;

  /// Prints the catalog's message `id` with inserts, up to a null pointer.
  static void printLocal(MsgID const& id, int flags, EncodedString const* first, ...);

  /// Writes the text to standard error, between blank lines, and, under the error flag, to the
  /// trace: "messagePopup:<line> ERROR <text>", its control bytes escaped.
  void messagePopup() const;

  /// A server for the catalog "dmg" in `locale`; for null, in the process's own. The caller's to
  /// delete.
  static XPG4MsgServer* newMessageServer(char const* locale);

  /// Opens the front end's catalog for `locale`, be it the same as before. Texts that messages
  /// keep already stay. One thread at a time, and no message may be asking for its text on another.
  /// Throws std::bad_alloc, with the catalog and the locale as they were.
  static void set_fe_locale(EncodedString const& locale);

 protected:
  mutable unsigned short textReady : 1;  ///< msgText is what `text()` gives
  unsigned short empty : 1;              ///< neither a valid identifier nor a text
  short idSecond : 14;                   ///< the set's number
  short idFirst;                         ///< the message's number; 0 for a literal text
  mutable EncodedString msgText;         ///< the text that is kept
  EncodedString suffix;                  ///< `text()` puts it behind a catalog's text
  AutoList<EncodedString*> inserts;      ///< owned
};

/// The front end's catalog. Its locale is "en_US" until CUL_Message::set_fe_locale sets another.
class CUL_EXPORT CUL_Message::MessageServer {
 public:
  /// The process's one, made at the first call and never destroyed. The first call must be over
  /// before another thread makes one.
  static MessageServer* instance();

  /// Closes the catalog and opens the one of the locale. One thread at a time, and no message may
  /// be asking for its text on another. Throws std::bad_alloc: `server` is null then.
  void set_message_file();

  MessageServer(MessageServer const&) = delete;
  MessageServer& operator=(MessageServer const&) = delete;

  /// Owned. Null only after memory ran out in `set_message_file()`; the next message that asks for
  /// its text opens it again, and does so before another thread shows one.
  XPG4MsgServer* server;

 protected:
  friend class CUL_Message;

  MessageServer();
  ~MessageServer();

  EncodedString locale;  ///< of the catalog, as it was set last
};

/// The catalog in the process's own locale, as it was when somebody first asked for it.
class CUL_EXPORT CUL_Message::LocalMessageServer {
 public:
  /// As MessageServer::instance().
  static LocalMessageServer* instance();

  LocalMessageServer(LocalMessageServer const&) = delete;
  LocalMessageServer& operator=(LocalMessageServer const&) = delete;

  XPG4MsgServer* server;  ///< owned

 protected:
  LocalMessageServer();
  ~LocalMessageServer();
};
