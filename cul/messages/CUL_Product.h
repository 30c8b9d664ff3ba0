#pragma once

#include "cul/base/Export.h"
#include "cul/messages/VKT_Language.h"
#include "quonutil/names/FileName.h"
#include "quonutil/text/EncodedString.h"

/// The product as a whole: the user's locale, and the names of modules that go by language.
class CUL_EXPORT CUL_Product {
 public:
  /// The process's one, made at the first call, on any thread, and never destroyed. Making it opens
  /// the front end's message catalog anew: no message may be asking for its text on another thread.
  static CUL_Product* instance();

  CUL_Product(CUL_Product const&) = delete;
  CUL_Product& operator=(CUL_Product const&) = delete;

  /// Sets the locale and, when that changes it, opens the front end's message catalog for it. One
  /// thread at a time, and no message may be asking for its text on another. When memory runs out,
  /// locale and catalog stay what they were, and the same call tries again.
  void set_locale(EncodedString const& text);

  /// Sets `name` to the file name of the module that evaluates expressions of `language`, without a
  /// directory or an extension; to the empty name when there is no such module. A `kind` of 2 (the
  /// number) and any other kind have modules of their own. Any thread may call it.
  void expression_evaluator_name(FileName& name, VKT_Language language, char kind);

 protected:
  CUL_Product();
  ~CUL_Product();

  EncodedString locale;  ///< as it was set last; empty at first
};
