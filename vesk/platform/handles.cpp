// Movable blocks. The handle is the address of the first member of a small
// record, so `*handle` is the block's current address. Each record keeps a
// capacity so that a locked block can still shrink or grow in place.
#include "vesk/platform/handles"

#include <cstdlib>
#include <cstring>
#include <new>

namespace Vesk {
namespace Platform {
namespace {

struct BlockRecord {
  char* data;  // must stay first: a handle points here
  std::size_t size;
  std::size_t capacity;
  int locks;
};

BlockRecord* RecordOf(char** handle) { return reinterpret_cast<BlockRecord*>(handle); }

char* AllocateZeroed(std::size_t size) {
  // One byte at least, so that an empty block still has an address.
  void* memory = std::calloc(size == 0 ? 1 : size, 1);
  if (memory == nullptr) throw std::bad_alloc();
  return static_cast<char*>(memory);
}

}  // namespace

char** NewMovableBlock(std::size_t size) {
  auto* record = new BlockRecord{AllocateZeroed(size), size, size, 0};
  return &record->data;
}

bool ResizeMovableBlock(char** handle, std::size_t size) {
  if (handle == nullptr) return false;
  BlockRecord* record = RecordOf(handle);
  if (size <= record->capacity) {
    if (size > record->size) std::memset(record->data + record->size, 0, size - record->size);
    record->size = size;
    return true;
  }
  if (record->locks > 0) return false;
  char* moved = AllocateZeroed(size);
  std::memcpy(moved, record->data, record->size);
  std::free(record->data);
  record->data = moved;
  record->size = size;
  record->capacity = size;
  return true;
}

std::size_t MovableBlockSize(char** handle) { return handle == nullptr ? 0 : RecordOf(handle)->size; }

void LockMovableBlock(char** handle) {
  if (handle != nullptr) RecordOf(handle)->locks = 1;
}

void UnlockMovableBlock(char** handle) {
  if (handle != nullptr) RecordOf(handle)->locks = 0;
}

bool IsMovableBlockLocked(char** handle) { return handle != nullptr && RecordOf(handle)->locks > 0; }

void DisposeMovableBlock(char** handle) {
  if (handle == nullptr) return;
  BlockRecord* record = RecordOf(handle);
  std::free(record->data);
  delete record;
}

}  // namespace Platform
}  // namespace Vesk
