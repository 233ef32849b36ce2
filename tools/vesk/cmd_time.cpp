// vesk time: a point in time from the clock, from calendar fields or from
// ticks, with its fields and W3C form.
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "tools/vesk/command.h"
#include "vesk/time/timestamp"

namespace {

struct TimeOptions {
  std::optional<int64_t> ticks;
  std::optional<int> year, month, day;
  int hour = 0, minute = 0, second = 0;
  unsigned int fraction = 0;
  bool json = false;
};

// Limits that keep every tick count of the result inside 64 bits; the fields
// themselves are not checked against the calendar (month 13 is allowed).
constexpr int64_t kTickLimit = 5000000000000000000;
constexpr int kYearLimit = 20000;
constexpr int kFieldLimit = 1000000;

bool InRange(int value, int limit) { return value >= -limit && value <= limit; }

void RunTime(const TimeOptions& options) {
  Vesk::TimeStamp stamp;
  const bool from_fields = options.year || options.month || options.day;
  if (options.ticks && from_fields) {
    vesktool::ReportBadInput("time", "--ticks", "give either --ticks or calendar fields, not both");
    return;
  }
  if (options.ticks) {
    if (*options.ticks < -kTickLimit || *options.ticks > kTickLimit) {
      vesktool::ReportBadInput("time", std::to_string(*options.ticks), "ticks out of range (about +-5e18)");
      return;
    }
    stamp = Vesk::TimeStamp::FromTicks(*options.ticks);
  } else if (from_fields) {
    const int year = options.year.value_or(1601), month = options.month.value_or(1),
              day = options.day.value_or(1);
    if (!InRange(year, kYearLimit) || !InRange(month, 1000) || !InRange(day, kFieldLimit) ||
        !InRange(options.hour, kFieldLimit) || !InRange(options.minute, kFieldLimit) ||
        !InRange(options.second, kFieldLimit)) {
      vesktool::ReportBadInput("time", std::to_string(year) + "-" + std::to_string(month) + "-" +
                                           std::to_string(day),
                               "field out of range");
      return;
    }
    stamp = Vesk::TimeStamp(year, month, day, options.hour, options.minute, options.second, options.fraction);
  } else {
    stamp.SetToCurrentTime();
  }
  int year, month, day, hour, minute, second;
  unsigned int fraction;
  stamp.ToYMDHMSF(year, month, day, hour, minute, second, fraction);
  const std::string w3c = stamp.ToW3DTF();
  if (options.json) {
    vesktool::PrintJson({{"ticks", stamp.ticks},
                         {"year", year},
                         {"month", month},
                         {"day", day},
                         {"hour", hour},
                         {"minute", minute},
                         {"second", second},
                         {"fraction", fraction},
                         {"w3c", w3c}});
  } else {
    char fields[96];
    std::snprintf(fields, sizeof fields, "%d-%02d-%02d %02d:%02d:%02d.%07u", year, month, day, hour, minute,
                  second, fraction);
    std::cout << stamp.ticks << '\t' << fields << '\t' << w3c << '\n';
  }
}

const vesktool::CommandRegistrar reg("time", [](CLI::App& app) {
  auto options = std::make_shared<TimeOptions>();
  CLI::App* cmd = app.add_subcommand(
      "time",
      "A point in time: now (to the second), from calendar fields, or from ticks (100 ns units since "
      "1601-01-01). Prints the ticks, the fields with the fraction in ticks, and the W3C form, separated by "
      "tabs. Fields are not checked: month 13 is January of the next year. The fraction is the digits behind "
      "the decimal point of the second (5 is half a second).");
  cmd->add_option("--ticks", options->ticks, "Ticks since the start of 1601");
  cmd->add_option("--year", options->year, "Year (with month and day; missing ones are 1601, 1, 1)");
  cmd->add_option("--month", options->month, "Month");
  cmd->add_option("--day", options->day, "Day of the month");
  cmd->add_option("--hour", options->hour, "Hour");
  cmd->add_option("--minute", options->minute, "Minute");
  cmd->add_option("--second", options->second, "Second");
  cmd->add_option("--fraction", options->fraction, "Digits behind the decimal point of the second");
  cmd->add_flag("--json", options->json, "One JSON object: ticks, the fields, w3c");
  cmd->callback([options] { RunTime(*options); });
});

}  // namespace
