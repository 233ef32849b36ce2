#ifndef VESK_TESTS_SUPPORT_RESOURCES_H_
#define VESK_TESTS_SUPPORT_RESOURCES_H_

// Building resource entries and resource files for tests.

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "vesk/platform/resources"

namespace vesktest {

using Bytes = std::vector<unsigned char>;

// A resource of the four-letter type and id holding `data`, named when `name` is given.
inline Vesk::Platform::ResourceEntry Resource(const char (&type)[5], short id, const std::string& data,
                                              const char* name = nullptr) {
  Vesk::Platform::ResourceEntry e;
  e.type = Vesk::Platform::ResourceType(type);
  e.id = id;
  e.data.assign(data.begin(), data.end());
  if (name != nullptr) {
    e.has_name = true;
    e.name = name;
  }
  return e;
}

// A length byte, then the text.
inline std::string Pascal(const std::string& text) {
  return std::string(1, static_cast<char>(text.size())) + text;
}

// A "STR#" list: big-endian count, then length-prefixed items.
inline std::string List(const std::vector<std::string>& items) {
  std::string out{static_cast<char>(items.size() >> 8), static_cast<char>(items.size() & 0xFF)};
  for (const std::string& item : items) out += Pascal(item);
  return out;
}

// "STRm" records as the file holds them: big-endian number and place.
inline std::string Table(const std::vector<std::pair<uint16_t, uint16_t>>& records) {
  std::string out;
  for (const auto& r : records) {
    for (const uint16_t v : {r.first, r.second}) {
      out += static_cast<char>(v >> 8);
      out += static_cast<char>(v & 0xFF);
    }
  }
  return out;
}

// The entries written in the resource-file format; a refusal fails the test.
inline Bytes Serialized(const std::vector<Vesk::Platform::ResourceEntry>& entries) {
  Bytes bytes;
  EXPECT_EQ(Vesk::Platform::SerializeResourceFile(entries, &bytes), Vesk::Platform::ResourceFileStatus::kOK);
  return bytes;
}

// A file in the test's temporary folder, removed afterwards.
struct TempFile {
  explicit TempFile(const std::string& stem)
      : path(::testing::TempDir() + stem + "_" + std::to_string(::getpid()) + ".rsrc") {}
  ~TempFile() { std::remove(path.c_str()); }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  void Write(const Bytes& bytes) const {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  Bytes Read() const {
    std::ifstream in(path, std::ios::binary);
    return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  }
  std::string path;
};

}  // namespace vesktest

#endif  // VESK_TESTS_SUPPORT_RESOURCES_H_
