#pragma once

#include <elf.h>

#include <string>
#include <string_view>
#include <vector>

#include "cul/files/CUL_File.h"

/// A 64-bit ELF file, mapped whole, and what its program headers lead to. Nothing in it is trusted:
/// std::runtime_error, which names the file, is thrown for one that is damaged.
class ElfFile {
 public:
  explicit ElfFile(std::string const& path);

  /// In hexadecimal digits; empty when it has none.
  std::string buildId() const;

  /// The texts of the dynamic entries with that tag (DT_NEEDED, DT_RUNPATH), in their order.
  std::vector<std::string> dynamicTexts(Elf64_Sxword tag) const;

  std::string_view bytes() const { return bytes_; }

 private:
  template <class T>
  T at(Elf64_Off offset) const;
  Elf64_Off offsetOf(Elf64_Addr address) const;
  std::string textAt(Elf64_Off offset) const;
  [[noreturn]] void fail(char const* why) const;

  CUL_File file_;
  std::string_view bytes_;  // the mapping, which ends with file_
  std::vector<Elf64_Phdr> parts_;
};
