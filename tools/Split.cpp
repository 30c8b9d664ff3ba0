#include "Commands.h"
#include "Report.h"
#include "Text.h"
#include "cul/platform/CUL_Api.h"
#include "quonutil/collections/AutoList.h"

bool splitText(Arguments const& arguments) {
  AutoList<EncodedString*> words;
  CUL_Api::split(systemText(arguments.operands()[0]), words);
  std::vector<std::string> texts;
  for (unsigned i = 0; i < words.count(); ++i) texts.push_back(bytesOf(*words[i]));
  printLines(arguments, "words", "word", texts);
  return true;
}
