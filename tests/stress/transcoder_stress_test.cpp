#include "vesk/encoding/transcoder"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <set>
#include <string>
#include <vector>

#include "tests/support/threads.h"
#include "vesk/encoding/transcoder_internal.h"

namespace {

using Vesk::Transcoder;
using Wide = std::basic_string<unsigned short>;

struct Job {
  std::string encoding;
  std::string utf8;
  // Results of a single-threaded run, which every thread must reproduce.
  std::string legacy;
  Wide wide;
};

std::vector<Job> MakeJobs() {
  std::string long_text;
  for (int i = 0; i < 200; ++i) long_text += "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E text ";
  std::vector<Job> jobs = {
      {"shift_jis", "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E", "", {}}, {"shift_jis", long_text, "", {}},
      {"iso-8859-1", "caf\xC3\xA9 cr\xC3\xA8me", "", {}},
      {"iso-8859-1", "stops at \xE2\x82\xAC here", "", {}},  // doubled last chunk
      {"iso-2022-jp", long_text, "", {}}, {"euc-kr", "\xED\x95\x9C\xEA\xB5\xAD\xEC\x96\xB4", "", {}},
      {"utf-8", long_text, "", {}},       {"utf-16", "wide", "", {}},
      {"no-such-charset", "nothing", "", {}},
  };
  for (Job& job : jobs) {
    job.legacy = Transcoder::UTF8ToEncoding(job.utf8, job.encoding);
    job.wide = Transcoder::asUTF16(job.utf8);
  }
  return jobs;
}

// Eight threads convert through the same encodings at once; every result must
// equal the single-threaded one, and afterwards every converter is idle in
// exactly one pool, once.
TEST(TranscoderStress, SharedEncodingsFromEightThreads) {
  const std::vector<Job> jobs = MakeJobs();
  ASSERT_FALSE(jobs[0].legacy.empty());
  std::atomic<long> conversions{0}, mismatches{0};
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
  vesktest::RunTogether(8, [&](int t) {
    for (size_t i = static_cast<size_t>(t); std::chrono::steady_clock::now() < end;) {
      const Job& job = jobs[i++ % jobs.size()];
      bool ok = Transcoder::UTF8ToEncoding(job.utf8, job.encoding) == job.legacy &&
                Transcoder::asUTF16(job.utf8) == job.wide && Transcoder::asUTF8(job.wide) == job.utf8;
      if (!job.legacy.empty() && job.encoding != "iso-8859-1")
        ok = ok && Transcoder::EncodingToUTF8(job.legacy, job.encoding) == job.utf8;
      if (!ok) mismatches.fetch_add(1);
      conversions.fetch_add(1, std::memory_order_relaxed);
    }
  });
  EXPECT_EQ(mismatches.load(), 0);
  EXPECT_GT(conversions.load(), 8);
  RecordProperty("rounds", static_cast<int>(conversions.load()));

  using Vesk::TranscoderView::Pool;
  std::set<const void*> seen;
  size_t total = 0;
  for (Pool pool : {Pool::kFromUTF16, Pool::kToUTF16, Pool::kFromUTF32}) {
    const auto entries = Vesk::TranscoderView::Contents(pool);
    std::multiset<unsigned long> keys;
    for (const auto& entry : entries) {
      seen.insert(entry.converter);
      keys.insert(entry.key);
      ++total;
    }
    // A pool never holds more converters of one key than ran at once.
    for (unsigned long key : keys) EXPECT_LE(keys.count(key), 8u) << key;
  }
  EXPECT_EQ(seen.size(), total);
  EXPECT_TRUE(Vesk::TranscoderView::Contents(Pool::kFromUTF32).empty());
  Vesk::TranscoderView::DisposeIdleConverters();
}

// The tables of a set that no conversion has used yet are built by eight
// threads at once, each looking up a unit of every page; every result must
// equal the one a single thread gets afterwards.
TEST(TranscoderStress, TablesOfANewSetFromEightThreads) {
  const char* const encoding = "windows-1251";
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  std::vector<std::vector<std::string>> results(8);
  std::vector<Wide> wide(8);
  auto text = [](int t, unsigned page) {
    return Wide{'a', static_cast<unsigned short>(page << 8 | (t * 37 + page) % 256), 'b'};
  };
  vesktest::RunTogether(8, [&](int t) {
    wide[t] = Transcoder::EncodingToUTF16(bytes, encoding);
    for (unsigned page = 0; page < 256; ++page) results[t].push_back(Transcoder::UTF16ToEncoding(text(t, page), encoding));
  });
  for (int t = 0; t < 8; ++t) {
    EXPECT_EQ(wide[t], Transcoder::EncodingToUTF16(bytes, encoding)) << t;
    for (unsigned page = 0; page < 256; ++page)
      ASSERT_EQ(results[t][page], Transcoder::UTF16ToEncoding(text(t, page), encoding)) << t << " " << page;
  }
}

}  // namespace
