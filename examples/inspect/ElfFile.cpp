#include "ElfFile.h"

#include <cstring>
#include <stdexcept>

#include "BuildId.h"
#include "Text.h"

ElfFile::ElfFile(std::string const& path) : file_(systemText(path), -1) {
  long const size = file_.open() ? file_.filesize() : -1;
  void const* const start = size > 0 ? file_.createMemoryMap(0, size) : nullptr;
  if (start == nullptr) fail("cannot be mapped");
  bytes_ = {static_cast<char const*>(start), static_cast<std::size_t>(size)};
  auto const header = at<Elf64_Ehdr>(0);
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64 ||
      header.e_ident[EI_DATA] != ELFDATA2LSB) {
    fail("is no ELF file of this machine's kind");
  }
  for (unsigned i = 0; i < header.e_phnum; ++i) {
    parts_.push_back(at<Elf64_Phdr>(header.e_phoff + i * sizeof(Elf64_Phdr)));
  }
}

std::string ElfFile::buildId() const {
  for (auto const& part : parts_) {
    if (part.p_type != PT_NOTE || part.p_offset > bytes_.size()) continue;
    std::string id = buildIdAmong(bytes_.substr(part.p_offset, part.p_filesz));
    if (!id.empty()) return id;
  }
  return {};
}

std::vector<std::string> ElfFile::dynamicTexts(Elf64_Sxword tag) const {
  std::vector<Elf64_Xword> wanted;  // places in the table of texts
  Elf64_Addr table = 0;
  for (auto const& part : parts_) {
    if (part.p_type != PT_DYNAMIC) continue;
    Elf64_Off offset = part.p_offset;
    for (auto entry = at<Elf64_Dyn>(offset); entry.d_tag != DT_NULL;) {
      if (entry.d_tag == tag) wanted.push_back(entry.d_un.d_val);
      if (entry.d_tag == DT_STRTAB) table = entry.d_un.d_ptr;
      entry = at<Elf64_Dyn>(offset += sizeof entry);
    }
  }
  std::vector<std::string> texts;
  for (Elf64_Xword place : wanted) texts.push_back(textAt(offsetOf(table) + place));
  return texts;
}

template <class T>
T ElfFile::at(Elf64_Off offset) const {
  if (offset > bytes_.size() || bytes_.size() - offset < sizeof(T)) fail("ends too early");
  T value;
  std::memcpy(&value, bytes_.data() + offset, sizeof value);
  return value;
}

// Where in the file the byte lies that is loaded at an address.
Elf64_Off ElfFile::offsetOf(Elf64_Addr address) const {
  for (auto const& part : parts_) {
    if (part.p_type == PT_LOAD && address >= part.p_vaddr &&
        address - part.p_vaddr < part.p_filesz) {
      return part.p_offset + (address - part.p_vaddr);
    }
  }
  fail("has no text table");
}

std::string ElfFile::textAt(Elf64_Off offset) const {
  std::size_t const end = bytes_.find('\0', offset);
  if (end == std::string_view::npos) fail("has a text without an end");
  return std::string(bytes_.substr(offset, end - offset));
}

void ElfFile::fail(char const* why) const {
  throw std::runtime_error(std::string(file_.data()) + ' ' + why);
}
