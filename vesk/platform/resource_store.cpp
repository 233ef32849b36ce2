// The resource store: a chain of open resource files, each a list of
// resources whose data lives in movable blocks that the store owns.
//
// Resources whose fields are numbers wider than a byte arrive in host byte
// order: the store turns them around on the way in and back on the way out
// (the files are big-endian). Only "STRm", an array of 16-bit fields, needs it.
#include "vesk/platform/resources"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>

#include "vesk/platform/handles"

namespace Vesk {
namespace Platform {
namespace {

struct StoredResource {
  unsigned long type;
  short id;
  bool has_name;
  std::string name;
  unsigned char attributes;
  char** handle;
  bool changed;
};

struct OpenFile {
  ResourceFileRef ref;
  std::string path;
  bool has_path;
  std::vector<StoredResource> resources;
};

struct Store {
  std::recursive_mutex lock;
  std::vector<std::unique_ptr<OpenFile>> chain;  // oldest first
  ResourceFileRef current = 0;
  ResourceFileRef next_ref = 1;
};

Store& TheStore() {
  // Never destroyed, so that handles stay valid in exit handlers.
  static Store* store = new Store;
  return *store;
}

bool IsLittleEndianHost() {
  const uint16_t probe = 1;
  unsigned char first;
  std::memcpy(&first, &probe, 1);
  return first == 1;
}

// Turns the 16-bit fields of a resource around between file and host order.
void FlipForHost(unsigned long type, unsigned char* bytes, std::size_t size) {
  if (type != ResourceType("STRm") || !IsLittleEndianHost()) return;
  for (std::size_t i = 0; i + 1 < size; i += 2) std::swap(bytes[i], bytes[i + 1]);
}

OpenFile* FindFile(Store& store, ResourceFileRef ref) {
  for (auto& file : store.chain) {
    if (file->ref == ref) return file.get();
  }
  return nullptr;
}

// Index of the current file in the chain, or -1.
long CurrentIndex(Store& store) {
  for (std::size_t i = 0; i < store.chain.size(); ++i) {
    if (store.chain[i]->ref == store.current) return static_cast<long>(i);
  }
  return -1;
}

StoredResource* FindIn(OpenFile& file, unsigned long type, short id) {
  for (StoredResource& r : file.resources) {
    if (r.type == type && r.id == id) return &r;
  }
  return nullptr;
}

StoredResource* FindHandle(Store& store, char** handle, OpenFile** owner) {
  for (auto& file : store.chain) {
    for (StoredResource& r : file->resources) {
      if (r.handle == handle) {
        if (owner != nullptr) *owner = file.get();
        return &r;
      }
    }
  }
  return nullptr;
}

ResourceEntry EntryOf(const StoredResource& r) {
  ResourceEntry e;
  e.type = r.type;
  e.id = r.id;
  e.has_name = r.has_name;
  e.name = r.name;
  e.attributes = r.attributes;
  const std::size_t size = MovableBlockSize(r.handle);
  e.data.assign(*r.handle, *r.handle + size);
  FlipForHost(r.type, e.data.data(), e.data.size());
  return e;
}

ResourceFileRef PushFile(Store& store, std::unique_ptr<OpenFile> file) {
  file->ref = store.next_ref++;
  store.current = file->ref;
  store.chain.push_back(std::move(file));
  return store.current;
}

void FreeFile(OpenFile& file) {
  for (StoredResource& r : file.resources) DisposeMovableBlock(r.handle);
  file.resources.clear();
}

ResourceFileStatus WriteTo(OpenFile& file, const std::string& path) {
  std::vector<ResourceEntry> entries;
  entries.reserve(file.resources.size());
  for (const StoredResource& r : file.resources) entries.push_back(EntryOf(r));
  std::vector<unsigned char> bytes;
  const ResourceFileStatus status = SerializeResourceFile(entries, &bytes);
  if (status != ResourceFileStatus::kOK) return status;
  const std::string temporary = path + ".tmp";
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    if (!out) return ResourceFileStatus::kCannotWrite;
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) {
      std::remove(temporary.c_str());
      return ResourceFileStatus::kCannotWrite;
    }
  }
  if (std::rename(temporary.c_str(), path.c_str()) != 0) {
    std::remove(temporary.c_str());
    return ResourceFileStatus::kCannotWrite;
  }
  return ResourceFileStatus::kOK;
}

}  // namespace

ResourceFileStatus OpenResourceFile(const char* path, ResourceFileRef* ref) {
  *ref = 0;
  if (path == nullptr) return ResourceFileStatus::kCannotRead;
  std::ifstream in(path, std::ios::binary);
  if (!in) return ResourceFileStatus::kCannotRead;
  const std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)),
                                         std::istreambuf_iterator<char>());
  if (in.bad()) return ResourceFileStatus::kCannotRead;
  std::vector<ResourceEntry> entries;
  const ResourceFileStatus status = ParseResourceFile(bytes.data(), bytes.size(), &entries);
  if (status != ResourceFileStatus::kOK) return status;

  auto file = std::make_unique<OpenFile>();
  file->path = path;
  file->has_path = true;
  for (ResourceEntry& e : entries) {
    char** handle = NewMovableBlock(e.data.size());
    if (!e.data.empty()) std::memcpy(*handle, e.data.data(), e.data.size());
    FlipForHost(e.type, reinterpret_cast<unsigned char*>(*handle), e.data.size());
    file->resources.push_back({e.type, e.id, e.has_name, std::move(e.name), e.attributes, handle, false});
  }
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  *ref = PushFile(store, std::move(file));
  return ResourceFileStatus::kOK;
}

ResourceFileRef CreateResourceFile(const char* path) {
  auto file = std::make_unique<OpenFile>();
  file->has_path = path != nullptr;
  if (path != nullptr) file->path = path;
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  return PushFile(store, std::move(file));
}

ResourceFileStatus WriteResourceFile(ResourceFileRef ref) {
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  OpenFile* file = FindFile(store, ref);
  if (file == nullptr) return ResourceFileStatus::kNoSuchFile;
  if (!file->has_path) return ResourceFileStatus::kCannotWrite;
  const ResourceFileStatus status = WriteTo(*file, file->path);
  if (status == ResourceFileStatus::kOK) {
    for (StoredResource& r : file->resources) r.changed = false;
  }
  return status;
}

ResourceFileStatus WriteResourceFileTo(ResourceFileRef ref, const char* path) {
  if (path == nullptr) return ResourceFileStatus::kCannotWrite;
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  OpenFile* file = FindFile(store, ref);
  if (file == nullptr) return ResourceFileStatus::kNoSuchFile;
  return WriteTo(*file, path);
}

void CloseResourceFile(ResourceFileRef ref) {
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  for (std::size_t i = 0; i < store.chain.size(); ++i) {
    if (store.chain[i]->ref != ref) continue;
    if (store.current == ref) store.current = i > 0 ? store.chain[i - 1]->ref : 0;
    FreeFile(*store.chain[i]);
    store.chain.erase(store.chain.begin() + static_cast<long>(i));
    return;
  }
}

void CloseAllResourceFiles() {
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  for (auto& file : store.chain) FreeFile(*file);
  store.chain.clear();
  store.current = 0;
}

ResourceFileRef CurrentResourceFile() {
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  return store.current;
}

bool UseResourceFile(ResourceFileRef ref) {
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  if (FindFile(store, ref) == nullptr) return false;
  store.current = ref;
  return true;
}

std::vector<ResourceEntry> ListResources(ResourceFileRef ref) {
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  std::vector<ResourceEntry> out;
  OpenFile* file = FindFile(store, ref);
  if (file == nullptr) return out;
  for (const StoredResource& r : file->resources) out.push_back(EntryOf(r));
  return out;
}

ResourceFileRef ResourceFileOf(char** handle) {
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  OpenFile* owner = nullptr;
  return FindHandle(store, handle, &owner) != nullptr ? owner->ref : 0;
}

char** FindResource(unsigned long type, short id) {
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  for (long i = CurrentIndex(store); i >= 0; --i) {
    if (StoredResource* r = FindIn(*store.chain[static_cast<std::size_t>(i)], type, id)) return r->handle;
  }
  return nullptr;
}

char** FindNamedResourceInCurrentFile(unsigned long type, const unsigned char* name) {
  if (name == nullptr) return nullptr;
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  const long index = CurrentIndex(store);
  if (index < 0) return nullptr;
  const std::string wanted(reinterpret_cast<const char*>(name + 1), name[0]);
  for (StoredResource& r : store.chain[static_cast<std::size_t>(index)]->resources) {
    if (r.type == type && r.has_name && r.name == wanted) return r.handle;
  }
  return nullptr;
}

char** FindStringResource(short id) { return FindResource(ResourceType("STR "), id); }

void CopyListedString(unsigned char* text, short list_id, short index) {
  text[0] = 0;
  char** handle = FindResource(ResourceType("STR#"), list_id);
  if (handle == nullptr || index < 1) return;
  const auto* bytes = reinterpret_cast<const unsigned char*>(*handle);
  const std::size_t size = MovableBlockSize(handle);
  if (size < 2) return;
  const unsigned count = (unsigned{bytes[0]} << 8) | bytes[1];
  if (static_cast<unsigned>(index) > count) return;
  std::size_t at = 2;
  for (short i = 1; i < index; ++i) {
    if (at >= size) return;
    at += 1 + bytes[at];
  }
  if (at >= size || at + 1 + bytes[at] > size) return;  // a damaged list
  std::memcpy(text, bytes + at, 1 + std::size_t{bytes[at]});
}

bool AddResourceToCurrentFile(char** handle, unsigned long type, short id, const unsigned char* name) {
  if (handle == nullptr) return false;
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  OpenFile* file = FindFile(store, store.current);
  if (file == nullptr || FindHandle(store, handle, nullptr) != nullptr || FindIn(*file, type, id) != nullptr)
    return false;
  StoredResource r{type, id, name != nullptr, std::string(), 0, handle, true};
  if (name != nullptr) r.name.assign(reinterpret_cast<const char*>(name + 1), name[0]);
  file->resources.push_back(std::move(r));
  return true;
}

bool MarkResourceChanged(char** handle) {
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  StoredResource* r = FindHandle(store, handle, nullptr);
  if (r == nullptr) return false;
  r->changed = true;
  return true;
}

short UnusedResourceID(unsigned long type) {
  Store& store = TheStore();
  std::lock_guard<std::recursive_mutex> hold(store.lock);
  for (int id = 128; id <= 32767; ++id) {
    bool used = false;
    for (auto& file : store.chain) used = used || FindIn(*file, type, static_cast<short>(id)) != nullptr;
    if (!used) return static_cast<short>(id);
  }
  return 0;
}

}  // namespace Platform
}  // namespace Vesk
