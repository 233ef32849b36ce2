#include "vesk/platform/resources"

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/resources.h"
#include "vesk/platform/handles"

namespace {

using namespace Vesk::Platform;
using vesktest::Bytes;
using vesktest::List;
using vesktest::Pascal;
using vesktest::Resource;
using vesktest::Serialized;
using vesktest::TempFile;

uint32_t Get32(const Bytes& b, size_t at) {
  return (uint32_t{b[at]} << 24) | (uint32_t{b[at + 1]} << 16) | (uint32_t{b[at + 2]} << 8) | b[at + 3];
}
void Set32(Bytes& b, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + i] = static_cast<unsigned char>(v >> (24 - 8 * i));
}
void Set16(Bytes& b, size_t at, uint32_t v) {
  b[at] = static_cast<unsigned char>(v >> 8);
  b[at + 1] = static_cast<unsigned char>(v);
}

// Every test leaves the store as it found it: empty.
class ResourceStore : public ::testing::Test {
 protected:
  void TearDown() override { CloseAllResourceFiles(); }
};

TEST(ResourceFile, RoundTrip) {
  const std::vector<ResourceEntry> entries = {
      Resource("STR#", 200, List({"zero", "one"}), "list"),
      Resource("STR ", 5, Pascal("five")),
      Resource("STR#", 201, List({"x"})),
      Resource("DATA", -3, std::string("\0\1\2", 3), ""),
      Resource("DATA", 4, ""),
  };
  const Bytes bytes = Serialized(entries);
  // Big-endian header: data at 256, map behind the data.
  EXPECT_EQ(Get32(bytes, 0), 256u);
  EXPECT_EQ(Get32(bytes, 4), 256u + Get32(bytes, 8));
  EXPECT_EQ(Get32(bytes, 4) + Get32(bytes, 12), bytes.size());

  std::vector<ResourceEntry> back;
  ASSERT_EQ(ParseResourceFile(bytes.data(), bytes.size(), &back), ResourceFileStatus::kOK);
  ASSERT_EQ(back.size(), entries.size());
  // Grouped by type in order of first appearance, order kept inside a type.
  const int order[] = {0, 2, 1, 3, 4};
  auto fields = [](const ResourceEntry& e) { return std::tie(e.type, e.id, e.has_name, e.name, e.data); };
  for (size_t i = 0; i < back.size(); ++i) EXPECT_TRUE(fields(back[i]) == fields(entries[order[i]])) << i;
  // No resources at all is a valid file too.
  const Bytes empty = Serialized({});
  EXPECT_EQ(ParseResourceFile(empty.data(), empty.size(), &back), ResourceFileStatus::kOK);
  EXPECT_TRUE(back.empty());
}

TEST(ResourceFile, WriterRefusesWhatTheFormatCannotHold) {
  Bytes bytes = {1};
  EXPECT_EQ(SerializeResourceFile({Resource("STR ", 1, "a"), Resource("STR ", 1, "b")}, &bytes),
            ResourceFileStatus::kDuplicateResource);
  EXPECT_TRUE(bytes.empty());
  // Data offsets have 24 bits: the third block of 9 MiB starts past them.
  std::vector<ResourceEntry> big(3, Resource("BIG ", 0, std::string(9 << 20, 'x')));
  big[1].id = 1;
  big[2].id = 2;
  EXPECT_EQ(SerializeResourceFile(big, &bytes), ResourceFileStatus::kTooLarge);
  ResourceEntry long_name = Resource("NAME", 0, "", "");
  long_name.name.assign(256, 'n');
  EXPECT_EQ(SerializeResourceFile({long_name}, &bytes), ResourceFileStatus::kTooLarge);
}

TEST(ResourceFile, MalformedFilesAreRefused) {
  // One valid file with a named resource to damage in different ways. Map
  // layout: header 28 bytes, type list at 28 (count 2, one entry 8), the
  // reference list at 38, the names behind it.
  const Bytes good =
      Serialized({Resource("STR ", 7, Pascal("seven"), "n"), Resource("STR#", 200, List({"a"}))});
  const uint32_t map = Get32(good, 4);
  const uint32_t type_list = map + 28;
  struct Row {
    const char* what;
    std::function<void(Bytes&)> damage;
    ResourceFileStatus expected;
  };
  using S = ResourceFileStatus;
  const size_t t = type_list + 2;  // the first type entry; the first reference at t + 16
  const Row rows[] = {
      {"empty", [](Bytes& b) { b.clear(); }, S::kTruncated},
      {"header cut", [](Bytes& b) { b.resize(15); }, S::kTruncated},
      {"file cut before the map's end", [](Bytes& b) { b.pop_back(); }, S::kMapOutOfRange},
      {"file cut inside the data", [](Bytes& b) { b.resize(260); }, S::kDataOutOfRange},
      {"data length past the end", [](Bytes& b) { Set32(b, 8, 0xFFFFFFF0u); }, S::kDataOutOfRange},
      {"map offset past the end", [](Bytes& b) { Set32(b, 4, 0xFFFFFFFFu); }, S::kMapOutOfRange},
      {"map too short", [map](Bytes& b) { Set32(b, 12, 20), b.resize(map + 20); }, S::kBadMap},
      {"type list offset past the map", [map](Bytes& b) { Set16(b, map + 24, 0xFFF0); }, S::kBadMap},
      {"too many types", [t](Bytes& b) { Set16(b, t - 2, 0x0FFF); }, S::kBadMap},
      {"too many resources", [t](Bytes& b) { Set16(b, t + 4, 0x0FFF); }, S::kBadMap},
      {"reference list inside the type list", [t](Bytes& b) { Set16(b, t + 6, 2); }, S::kLoopInMap},
      {"two types share one reference list", [t](Bytes& b) { Set16(b, t + 14, b[t + 6] << 8 | b[t + 7]); },
       S::kLoopInMap},
      {"one type listed twice", [t](Bytes& b) { std::memcpy(&b[t + 8], &b[t], 4); }, S::kDuplicateResource},
      {"data offset past the data", [t](Bytes& b) { b[t + 21] = 0x7F; }, S::kDataOutOfRange},
      {"resource length past the data", [](Bytes& b) { Set32(b, 256, 0x10000); }, S::kDataOutOfRange},
      {"two resources share data", [t](Bytes& b) { std::memcpy(&b[t + 33], &b[t + 21], 3); }, S::kLoopInMap},
      {"name past the map", [t](Bytes& b) { Set16(b, t + 18, 0x7000); }, S::kNameOutOfRange},
      {"name length past the map", [](Bytes& b) { b[b.size() - 2] = 200; }, S::kNameOutOfRange},
      {"map and data overlap", [](Bytes& b) { Set32(b, 4, 256), Set32(b, 12, 40); }, S::kLoopInMap},
  };
  std::vector<ResourceEntry> entries;
  ASSERT_EQ(ParseResourceFile(good.data(), good.size(), &entries), ResourceFileStatus::kOK);
  for (const Row& row : rows) {
    Bytes bad = good;
    row.damage(bad);
    // An exactly sized heap copy, so that ASan sees any read past the end.
    Bytes exact(bad.begin(), bad.end());
    entries.assign(1, ResourceEntry());
    EXPECT_EQ(ParseResourceFile(exact.empty() ? nullptr : exact.data(), exact.size(), &entries), row.expected)
        << row.what;
    EXPECT_TRUE(entries.empty()) << row.what;
    EXPECT_STRNE(DescribeResourceFileStatus(row.expected), "") << row.what;
  }
}

TEST_F(ResourceStore, OpenFindAndChain) {
  TempFile lower("lower"), upper("upper");
  lower.Write(
      Serialized({Resource("STR ", 1, Pascal("lower one")), Resource("STR ", 2, Pascal("lower two"))}));
  upper.Write(Serialized({Resource("STR ", 1, Pascal("upper one"), "first")}));
  ResourceFileRef a = 0, b = 0;
  ASSERT_EQ(OpenResourceFile(lower.path.c_str(), &a), ResourceFileStatus::kOK);
  ASSERT_EQ(OpenResourceFile(upper.path.c_str(), &b), ResourceFileStatus::kOK);
  EXPECT_EQ(CurrentResourceFile(), b);

  auto text = [](char** h) { return h == nullptr ? std::string("-") : std::string(*h + 1, (*h)[0]); };
  // The chain is searched from the current file down.
  EXPECT_EQ(text(FindResource(ResourceType("STR "), 1)), "upper one");
  EXPECT_EQ(text(FindStringResource(2)), "lower two");
  EXPECT_EQ(FindStringResource(3), nullptr);
  const unsigned char first[] = {5, 'f', 'i', 'r', 's', 't'};
  EXPECT_EQ(text(FindNamedResourceInCurrentFile(ResourceType("STR "), first)), "upper one");
  // Named look-up sees the current file only; a lower current file hides the upper.
  ASSERT_TRUE(UseResourceFile(a));
  EXPECT_EQ(FindNamedResourceInCurrentFile(ResourceType("STR "), first), nullptr);
  EXPECT_EQ(text(FindStringResource(1)), "lower one");
  EXPECT_EQ(ResourceFileOf(FindStringResource(1)), a);
  EXPECT_FALSE(UseResourceFile(9999));

  CloseResourceFile(a);
  EXPECT_EQ(CurrentResourceFile(), 0);
  ASSERT_TRUE(UseResourceFile(b));
  EXPECT_EQ(text(FindStringResource(2)), "-");

  ResourceFileRef none = 5;
  EXPECT_EQ(OpenResourceFile((lower.path + ".missing").c_str(), &none), ResourceFileStatus::kCannotRead);
  EXPECT_EQ(none, 0);
  TempFile broken("broken");
  broken.Write(Bytes(10, 0));
  EXPECT_EQ(OpenResourceFile(broken.path.c_str(), &none), ResourceFileStatus::kTruncated);
  EXPECT_EQ(CurrentResourceFile(), b);
}

TEST_F(ResourceStore, IndexedStrings) {
  const std::string damaged = std::string("\0\3", 2) + Pascal("ok") + std::string(1, '\x40');
  ASSERT_NE(CreateResourceFile(nullptr), 0);
  const std::pair<short, std::string> lists[] = {
      {200, List({"zero", "one", ""})}, {201, damaged}, {202, std::string(1, '\0')}};
  for (const auto& [list, data] : lists) {
    char** h = NewMovableBlock(data.size());
    std::memcpy(*h, data.data(), data.size());
    ASSERT_TRUE(AddResourceToCurrentFile(h, ResourceType("STR#"), list, nullptr));
  }
  const std::tuple<short, short, std::string> rows[] = {
      {200, 1, "zero"}, {200, 2, "one"}, {200, 3, ""}, {200, 4, ""}, {200, 0, ""}, {200, -1, ""},
      {201, 1, "ok"},   {201, 2, ""},    {201, 3, ""}, {202, 1, ""}, {203, 1, ""}};
  for (const auto& [list, index, expected] : rows) {
    unsigned char text[256];
    std::memset(text, 0xAA, sizeof text);
    CopyListedString(text, list, index);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(text + 1), text[0]), expected) << list << "/" << index;
  }
}

TEST_F(ResourceStore, AddChangeUniqueIdAndWriteBack) {
  TempFile file("written");
  char** orphan = NewMovableBlock(1);
  EXPECT_FALSE(AddResourceToCurrentFile(orphan, ResourceType("STR "), 1, nullptr));  // no file yet
  const ResourceFileRef ref = CreateResourceFile(file.path.c_str());
  EXPECT_EQ(UnusedResourceID(ResourceType("TEXT")), 128);
  const unsigned char name[] = {4, 'n', 'a', 'm', 'e'};
  ASSERT_TRUE(AddResourceToCurrentFile(orphan, ResourceType("TEXT"), 128, name));
  EXPECT_FALSE(AddResourceToCurrentFile(orphan, ResourceType("TEXT"), 129, nullptr));  // already a resource
  char** other = NewMovableBlock(0);
  EXPECT_FALSE(AddResourceToCurrentFile(other, ResourceType("TEXT"), 128, nullptr));  // id taken
  EXPECT_EQ(UnusedResourceID(ResourceType("TEXT")), 129);
  EXPECT_EQ(UnusedResourceID(ResourceType("OTHR")), 128);
  DisposeMovableBlock(other);

  // The table resource's 16-bit fields are in host order in memory and
  // big-endian in the file.
  const uint16_t table[] = {0x0102, 0x0304};
  char** t = NewMovableBlock(sizeof table);
  std::memcpy(*t, table, sizeof table);
  ASSERT_TRUE(AddResourceToCurrentFile(t, ResourceType("STRm"), 0, nullptr));

  ASSERT_TRUE(ResizeMovableBlock(orphan, 3));
  std::memcpy(*orphan, "abc", 3);
  EXPECT_TRUE(MarkResourceChanged(orphan));
  EXPECT_FALSE(MarkResourceChanged(nullptr));
  ASSERT_EQ(WriteResourceFile(ref), ResourceFileStatus::kOK);

  std::vector<ResourceEntry> entries;
  const Bytes bytes = file.Read();
  ASSERT_EQ(ParseResourceFile(bytes.data(), bytes.size(), &entries), ResourceFileStatus::kOK);
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(std::string(entries[0].data.begin(), entries[0].data.end()), "abc");
  EXPECT_EQ(entries[0].name, "name");
  EXPECT_EQ(entries[1].data, (Bytes{1, 2, 3, 4}));

  CloseAllResourceFiles();
  ResourceFileRef again = 0;
  ASSERT_EQ(OpenResourceFile(file.path.c_str(), &again), ResourceFileStatus::kOK);
  char** back = FindResource(ResourceType("STRm"), 0);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(std::memcmp(*back, table, sizeof table), 0);
  EXPECT_EQ(ListResources(again).size(), 2u);
  EXPECT_TRUE(ListResources(again + 100).empty());

  EXPECT_EQ(WriteResourceFile(again + 100), ResourceFileStatus::kNoSuchFile);
  const ResourceFileRef memory_only = CreateResourceFile(nullptr);
  EXPECT_EQ(WriteResourceFile(memory_only), ResourceFileStatus::kCannotWrite);
  EXPECT_EQ(WriteResourceFileTo(again, "/nonexistent-folder/x.rsrc"), ResourceFileStatus::kCannotWrite);
}

}  // namespace
