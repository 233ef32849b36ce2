// Escaping text with nothing to escape, and unescaping, allocate nothing of
// their own: the only allocation is the copy of the argument, which becomes
// the result. Counted by replacing the global allocation functions of this
// test program; they forward to malloc and free.
#include "vesk/uri/uri"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

namespace {
int gAllocations = 0;
}  // namespace

void* operator new(std::size_t size) {
  ++gAllocations;
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace {

using Vesk::URI;

// The allocations made by `f`.
template <typename F>
int Allocations(F f) {
  const int before = gAllocations;
  f();
  return gAllocations - before;
}

TEST(EscapeAllocations, NothingToEscapeCostsOnlyTheCopy) {
  const std::string path = "/a/long/path/with/nothing/to/escape/in/it.html";
  const std::string escaped = "/a%20long%20path/with/escapes%2Fin%2Fit";
  URI::StringProxy result;
  // A moved-in argument is the result itself.
  EXPECT_EQ(Allocations([&] { result = URI::Escape(URI::StringProxy(path)); }), 1);
  EXPECT_EQ(result, path);
  URI::StringProxy owned(path);
  EXPECT_EQ(Allocations([&] { result = URI::Escape(std::move(owned)); }), 0);
  URI::StringProxy ownedQuery("name.with-no_reserved~bytes*at(all)");
  EXPECT_EQ(Allocations([&] { result = URI::QueryEscape(std::move(ownedQuery)); }), 0);
  // Text with something to escape gets one output buffer, sized exactly.
  URI::StringProxy spaced("/a long path");
  EXPECT_EQ(Allocations([&] { result = URI::Escape(std::move(spaced)); }), 1);
  EXPECT_EQ(result, "/a%20long%20path");
  // Unescaping works in the argument's own buffer.
  URI::StringProxy toDecode(escaped);
  EXPECT_EQ(Allocations([&] { result = URI::Unescape(std::move(toDecode), false); }), 0);
  EXPECT_EQ(result, "/a long path/with/escapes/in/it");
}

TEST(EscapeAllocations, SettersStoreWithoutExtraCopies) {
  URI uri("http://host/");
  const std::string text = "a-component-longer-than-short-strings";
  // One copy into the by-value argument; it is moved into the field.
  EXPECT_EQ(Allocations([&] { uri.SetFragment(URI::StringProxy(text)); }), 1);
  EXPECT_EQ(Allocations([&] { uri.SetUsername(URI::StringProxy(text)); }), 1);
  EXPECT_EQ(uri.m_Fragment, text);
  EXPECT_EQ(uri.m_Username, text);
}

}  // namespace
