#include "cul/messages/CUL_Product.h"

#include <cstdio>
#include <iterator>
#include <utility>

#include "cul/messages/CUL_Message.h"
#include "quonutil/text/CharString.h"

namespace {

constexpr char kEvaluatorKind = 2;
constexpr int kVersion = 1;
constexpr int kAssembler = 7;  // whose module is called differently

// What stands for a language in its module's name.
constexpr char kLanguages[][3] = {"", "cx", "cx", "px", "pl", "rp", "cb", "",  "",
                                  "", "jv", "ft", "",   "",   "",   "cx", "xX"};

EncodedString moduleName(int language, char kind) {
  if (language == kAssembler) return CharString(L"kcv3asmr").encoded();
  if (language < 0 || language >= static_cast<int>(std::size(kLanguages))) return {};
  char const* const part = kLanguages[language];
  if (*part == '\0') return {};
  char text[sizeof "quonexx1"];
  std::snprintf(text, sizeof text, "quon%c%s%d", kind == kEvaluatorKind ? 'e' : 'x', part,
                kVersion);
  return EncodedString(text, EncodedString::kLibraryText);
}

}  // namespace

CUL_Product::CUL_Product() { CUL_Message::MessageServer::instance()->set_message_file(); }

CUL_Product::~CUL_Product() = default;

CUL_Product* CUL_Product::instance() {
  static CUL_Product* const product = new CUL_Product;
  return product;
}

void CUL_Product::set_locale(EncodedString const& text) {
  if (text == locale) return;
  EncodedString changed = text;
  CUL_Message::set_fe_locale(changed);
  locale = std::move(changed);  // only now: a call that failed can be repeated
}

void CUL_Product::expression_evaluator_name(FileName& name, VKT_Language language, char kind) {
  EncodedString const module = moduleName(language, kind);
  if (module.isEmpty()) {
    name = FileName();
  } else {
    static_cast<EncodedString&>(name) = module;
    name.validate();
  }
}
