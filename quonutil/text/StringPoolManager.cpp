#include "quonutil/text/StringPoolManager.h"

#include <memory>

StringPoolManager* StringPoolManager::instance() {
  static StringPoolManager manager;
  return &manager;
}

void* StringPoolManager::getBuffer(unsigned int size) {
  return std::allocator<unsigned char>().allocate(size);
}

void StringPoolManager::freeBuffer(void* buffer, unsigned int size) noexcept {
  std::allocator<unsigned char>().deallocate(static_cast<unsigned char*>(buffer), size);
}
