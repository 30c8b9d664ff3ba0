// cul-lookup TREE: reads lines "DIRECTORY NAME", as debug information records where a source was
// compiled and what it was called there. Prints for each, in the same order, what findSourceFile
// gives: by the name as it stands, from that directory of the tree; and by the tree alone. A "-"
// stands for nothing.

#include <filesystem>
#include <iostream>
#include <string>

#include "Text.h"
#include "cul/search/CUL_File_System.h"

namespace {

std::string findSource(std::string const& name, std::string const& path) {
  auto const found =
      CUL_File_System::instance()->findSourceFile(FileName(systemText(name)), systemText(path));
  return found.isEmpty() ? "-" : std::filesystem::canonical(found.data());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: cul-lookup TREE\n";
    return 2;
  }
  std::filesystem::path const tree = std::filesystem::absolute(argv[1]);
  std::string directory, name;
  while (std::cin >> directory >> name) {
    std::error_code missing;
    std::filesystem::current_path(tree / directory, missing);
    std::string const byName = missing ? "-" : findSource(name, "");
    std::filesystem::current_path("/");
    std::cout << byName << ' ' << findSource(name, tree) << '\n';
  }
  return 0;
}
