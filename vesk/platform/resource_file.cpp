// The classic resource-file format, read and written in memory.
//
// File:  header (16 bytes: data offset, map offset, data length, map length,
//        all 32-bit big-endian), reserved bytes, the data section, the map.
// Data:  per resource a 32-bit length and its bytes.
// Map:   16 bytes (a copy of the header), 4 (next map), 2 (file number),
//        2 (attributes), 2 (offset of the type list from the map),
//        2 (offset of the name list from the map); then the type list:
//        count - 1 (16 bits), and per type: code (32), count - 1 (16), offset
//        of its reference list from the type list (16); then the reference
//        lists, 12 bytes per resource: id (16), name offset from the name
//        list or 0xFFFF (16), attributes (8), data offset from the data
//        section (24), reserved (32); then the names, length-prefixed.
#include "vesk/platform/resources"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <utility>

namespace Vesk {
namespace Platform {
namespace {

constexpr std::size_t kHeaderSize = 16;
constexpr std::size_t kMapHeaderSize = 28;
constexpr std::size_t kTypeEntrySize = 8;
constexpr std::size_t kReferenceSize = 12;
constexpr std::size_t kDataStart = 256;  // header plus the reserved areas
constexpr uint16_t kNoName = 0xFFFF;

uint32_t Read32(const unsigned char* p) {
  return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | uint32_t{p[3]};
}
uint32_t Read24(const unsigned char* p) {
  return (uint32_t{p[0]} << 16) | (uint32_t{p[1]} << 8) | uint32_t{p[2]};
}
uint16_t Read16(const unsigned char* p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }

void Put32(std::vector<unsigned char>& out, uint32_t v) {
  out.push_back(static_cast<unsigned char>(v >> 24));
  out.push_back(static_cast<unsigned char>(v >> 16));
  out.push_back(static_cast<unsigned char>(v >> 8));
  out.push_back(static_cast<unsigned char>(v));
}
void Put24(std::vector<unsigned char>& out, uint32_t v) {
  out.push_back(static_cast<unsigned char>(v >> 16));
  out.push_back(static_cast<unsigned char>(v >> 8));
  out.push_back(static_cast<unsigned char>(v));
}
void Put16(std::vector<unsigned char>& out, uint32_t v) {
  out.push_back(static_cast<unsigned char>(v >> 8));
  out.push_back(static_cast<unsigned char>(v));
}

// True when [offset, offset + length) lies inside [0, limit), without overflow.
bool Inside(uint64_t offset, uint64_t length, uint64_t limit) {
  return offset <= limit && length <= limit - offset;
}

ResourceFileStatus Parse(const unsigned char* bytes, std::size_t size, std::vector<ResourceEntry>& entries) {
  if (bytes == nullptr || size < kHeaderSize) return ResourceFileStatus::kTruncated;
  const uint32_t data_offset = Read32(bytes);
  const uint32_t map_offset = Read32(bytes + 4);
  const uint32_t data_length = Read32(bytes + 8);
  const uint32_t map_length = Read32(bytes + 12);
  if (!Inside(data_offset, data_length, size)) return ResourceFileStatus::kDataOutOfRange;
  if (!Inside(map_offset, map_length, size)) return ResourceFileStatus::kMapOutOfRange;
  if (map_length < kMapHeaderSize + 2) return ResourceFileStatus::kBadMap;
  if (data_length > 0 && map_offset < uint64_t{data_offset} + data_length &&
      data_offset < uint64_t{map_offset} + map_length)
    return ResourceFileStatus::kLoopInMap;  // data and map share bytes

  const unsigned char* data = bytes + data_offset;
  const unsigned char* map = bytes + map_offset;
  const uint32_t type_list = Read16(map + 24);
  const uint32_t name_list = Read16(map + 26);
  if (!Inside(type_list, 2, map_length) || name_list > map_length) return ResourceFileStatus::kBadMap;

  const uint32_t type_count = (Read16(map + type_list) + 1u) & 0xFFFFu;
  const uint64_t type_entries_end = uint64_t{type_list} + 2 + uint64_t{type_count} * kTypeEntrySize;
  if (type_entries_end > map_length) return ResourceFileStatus::kBadMap;

  // Ranges of map bytes taken by the type list and each reference list; a map
  // whose lists share bytes could make one resource appear under two types or
  // a walk go round in circles, so such a map is refused.
  std::vector<std::pair<uint64_t, uint64_t>> ranges;
  ranges.emplace_back(type_list, type_entries_end);
  std::set<uint32_t> types_seen;
  std::set<std::pair<uint32_t, int16_t>> ids_seen;

  // First the lists' places, so that overlapping lists are refused before
  // any walk: afterwards the walks together touch each map byte once at most.
  struct TypeEntry {
    uint32_t type;
    uint32_t count;
    uint64_t list;
  };
  std::vector<TypeEntry> type_entries;
  for (uint32_t t = 0; t < type_count; ++t) {
    const unsigned char* entry = map + type_list + 2 + t * kTypeEntrySize;
    TypeEntry e{Read32(entry), Read16(entry + 4) + 1u, uint64_t{type_list} + Read16(entry + 6)};
    const uint64_t list_end = e.list + uint64_t{e.count} * kReferenceSize;
    if (list_end > map_length) return ResourceFileStatus::kBadMap;
    if (!types_seen.insert(e.type).second) return ResourceFileStatus::kDuplicateResource;
    ranges.emplace_back(e.list, list_end);
    type_entries.push_back(e);
  }
  std::sort(ranges.begin(), ranges.end());
  for (std::size_t i = 1; i < ranges.size(); ++i) {
    if (ranges[i].first < ranges[i - 1].second) return ResourceFileStatus::kLoopInMap;
  }

  std::vector<std::pair<uint64_t, uint64_t>> data_ranges;
  for (const TypeEntry& t : type_entries) {
    for (uint32_t r = 0; r < t.count; ++r) {
      const unsigned char* ref = map + t.list + r * kReferenceSize;
      ResourceEntry resource;
      resource.type = t.type;
      resource.id = static_cast<int16_t>(Read16(ref));
      if (!ids_seen.insert({t.type, resource.id}).second) return ResourceFileStatus::kDuplicateResource;
      const uint16_t name = Read16(ref + 2);
      resource.attributes = ref[4];
      const uint32_t offset = Read24(ref + 5);
      if (name != kNoName) {
        const uint64_t at = uint64_t{name_list} + name;
        if (!Inside(at, 1, map_length) || !Inside(at + 1, map[at], map_length))
          return ResourceFileStatus::kNameOutOfRange;
        resource.has_name = true;
        resource.name.assign(reinterpret_cast<const char*>(map + at + 1), map[at]);
      }
      if (!Inside(offset, 4, data_length)) return ResourceFileStatus::kDataOutOfRange;
      const uint32_t length = Read32(data + offset);
      if (!Inside(uint64_t{offset} + 4, length, data_length)) return ResourceFileStatus::kDataOutOfRange;
      data_ranges.emplace_back(uint64_t{offset}, uint64_t{offset} + 4 + length);
      entries.push_back(std::move(resource));
    }
  }
  // Each resource has its own bytes; shared data would let a small file stand
  // for a huge one.
  std::vector<std::pair<uint64_t, uint64_t>> sorted = data_ranges;
  std::sort(sorted.begin(), sorted.end());
  for (std::size_t i = 1; i < sorted.size(); ++i) {
    if (sorted[i].first < sorted[i - 1].second) return ResourceFileStatus::kLoopInMap;
  }
  for (std::size_t i = 0; i < entries.size(); ++i) {
    entries[i].data.assign(data + data_ranges[i].first + 4, data + data_ranges[i].second);
  }
  return ResourceFileStatus::kOK;
}

ResourceFileStatus Serialize(const std::vector<ResourceEntry>& entries, std::vector<unsigned char>& out) {
  // Group by type, in the order of first appearance.
  std::vector<unsigned long> type_order;
  std::map<unsigned long, std::vector<const ResourceEntry*>> by_type;
  std::set<std::pair<unsigned long, short>> ids;
  for (const ResourceEntry& e : entries) {
    if (e.type > 0xFFFFFFFFul) return ResourceFileStatus::kTooLarge;
    if (!ids.insert({e.type, e.id}).second) return ResourceFileStatus::kDuplicateResource;
    auto& list = by_type[e.type];
    if (list.empty()) type_order.push_back(e.type);
    list.push_back(&e);
  }
  if (type_order.size() > 0x10000) return ResourceFileStatus::kTooLarge;

  // Data section.
  std::vector<unsigned char> data;
  std::map<const ResourceEntry*, uint32_t> data_offset;
  for (unsigned long type : type_order) {
    for (const ResourceEntry* e : by_type[type]) {
      if (data.size() > 0xFFFFFF || e->data.size() > 0xFFFFFFFFu) return ResourceFileStatus::kTooLarge;
      data_offset[e] = static_cast<uint32_t>(data.size());
      Put32(data, static_cast<uint32_t>(e->data.size()));
      data.insert(data.end(), e->data.begin(), e->data.end());
    }
  }

  // Map: header, type list, reference lists, names.
  const std::size_t type_list = kMapHeaderSize;
  std::size_t refs_at = 2 + type_order.size() * kTypeEntrySize;  // from the type list
  std::vector<unsigned char> types;
  std::vector<unsigned char> refs;
  std::vector<unsigned char> names;
  Put16(types, static_cast<uint32_t>(type_order.size() - 1));  // 0xFFFF for none
  for (unsigned long type : type_order) {
    const auto& list = by_type[type];
    if (list.size() > 0x10000 || refs_at + refs.size() > 0xFFFF) return ResourceFileStatus::kTooLarge;
    Put32(types, static_cast<uint32_t>(type));
    Put16(types, static_cast<uint32_t>(list.size() - 1));
    Put16(types, static_cast<uint32_t>(refs_at + refs.size()));
    for (const ResourceEntry* e : list) {
      Put16(refs, static_cast<uint16_t>(e->id));
      if (e->has_name) {
        if (names.size() >= kNoName || e->name.size() > 255) return ResourceFileStatus::kTooLarge;
        Put16(refs, static_cast<uint32_t>(names.size()));
        names.push_back(static_cast<unsigned char>(e->name.size()));
        names.insert(names.end(), e->name.begin(), e->name.end());
      } else {
        Put16(refs, kNoName);
      }
      refs.push_back(e->attributes);
      Put24(refs, data_offset[e]);
      Put32(refs, 0);
    }
  }
  const std::size_t name_list = type_list + types.size() + refs.size();
  if (name_list > 0xFFFF) return ResourceFileStatus::kTooLarge;
  const std::size_t map_length = name_list + names.size();
  const std::size_t map_offset = kDataStart + data.size();
  if (map_offset + map_length > 0xFFFFFFFFu) return ResourceFileStatus::kTooLarge;

  std::vector<unsigned char> header;
  Put32(header, kDataStart);
  Put32(header, static_cast<uint32_t>(map_offset));
  Put32(header, static_cast<uint32_t>(data.size()));
  Put32(header, static_cast<uint32_t>(map_length));

  out.clear();
  out.reserve(map_offset + map_length);
  out.insert(out.end(), header.begin(), header.end());
  out.resize(kDataStart, 0);
  out.insert(out.end(), data.begin(), data.end());
  out.insert(out.end(), header.begin(), header.end());  // the map's copy of the header
  Put32(out, 0);                                        // next map
  Put16(out, 0);                                        // file number
  Put16(out, 0);                                        // attributes
  Put16(out, static_cast<uint32_t>(type_list));
  Put16(out, static_cast<uint32_t>(name_list));
  out.insert(out.end(), types.begin(), types.end());
  out.insert(out.end(), refs.begin(), refs.end());
  out.insert(out.end(), names.begin(), names.end());
  return ResourceFileStatus::kOK;
}

}  // namespace

const char* DescribeResourceFileStatus(ResourceFileStatus status) {
  switch (status) {
    case ResourceFileStatus::kOK:
      return "ok";
    case ResourceFileStatus::kCannotRead:
      return "cannot read the file";
    case ResourceFileStatus::kCannotWrite:
      return "cannot write the file";
    case ResourceFileStatus::kTruncated:
      return "not a resource file: shorter than its header";
    case ResourceFileStatus::kDataOutOfRange:
      return "damaged resource file: resource data lies past the end";
    case ResourceFileStatus::kMapOutOfRange:
      return "damaged resource file: the map lies past the end";
    case ResourceFileStatus::kBadMap:
      return "damaged resource file: the map's lists do not fit in the map";
    case ResourceFileStatus::kLoopInMap:
      return "damaged resource file: parts of the map or of the data overlap";
    case ResourceFileStatus::kNameOutOfRange:
      return "damaged resource file: a name lies past the end of the map";
    case ResourceFileStatus::kDuplicateResource:
      return "damaged resource file: a type or a type and id appear twice";
    case ResourceFileStatus::kTooLarge:
      return "too many or too large resources for the file format";
    case ResourceFileStatus::kNoSuchFile:
      return "no such open resource file";
  }
  return "unknown status";
}

ResourceFileStatus ParseResourceFile(const unsigned char* bytes, std::size_t size,
                                     std::vector<ResourceEntry>* entries) {
  entries->clear();
  const ResourceFileStatus status = Parse(bytes, size, *entries);
  if (status != ResourceFileStatus::kOK) entries->clear();
  return status;
}

ResourceFileStatus SerializeResourceFile(const std::vector<ResourceEntry>& entries,
                                         std::vector<unsigned char>* bytes) {
  const ResourceFileStatus status = Serialize(entries, *bytes);
  if (status != ResourceFileStatus::kOK) bytes->clear();
  return status;
}

}  // namespace Platform
}  // namespace Vesk
