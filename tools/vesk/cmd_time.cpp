// vesk time: a point in time from the clock, from calendar fields or from
// ticks, with its fields and W3C form.
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "tools/vesk/command.h"
#include "vesk/time/timestamp"

namespace {

struct TimeOptions {
  vesktool::ItemOptions output;  // only --json
  std::optional<int64_t> ticks;
  std::optional<int> year, month, day;
  int hour = 0, minute = 0, second = 0;
  std::string fraction;
};

// Limits that keep every tick count of the result inside 64 bits; the fields
// themselves are not checked against the calendar (month 13 is allowed).
constexpr int64_t kTickLimit = 5000000000000000000;
constexpr int64_t kTicksPerDay = 864000000000;
constexpr int kYearLimit = 20000;
constexpr int kFieldLimit = 1000000;

bool InRange(int value, int limit) { return value >= -limit && value <= limit; }

// The digits behind the decimal point of the second, as the library reads
// them: the number they make, which cannot begin with a zero unless it is 0.
unsigned int FractionDigits(const std::string& text) {
  if (text.empty()) return 0;
  if (text.find_first_not_of("0123456789") != std::string::npos)
    throw vesktool::UsageError("--fraction takes the digits behind the decimal point: '" + text + "'");
  const size_t first = text.find_first_not_of('0');
  if (first == std::string::npos) return 0;
  if (first > 0)
    throw vesktool::UsageError("--fraction '" + text + "': leading zeros cannot be given (5 is .5, never .05); "
                               "use --ticks for such a time");
  if (text.size() > 9) throw vesktool::UsageError("--fraction '" + text + "': at most 9 digits");
  return static_cast<unsigned int>(std::stoul(text));
}

void RunTime(const TimeOptions& options) {
  vesktool::ItemRun run("time", options.output);
  Vesk::TimeStamp stamp;
  const bool from_fields = options.year || options.month || options.day;
  if (options.ticks && from_fields) throw vesktool::UsageError("give either --ticks or calendar fields, not both");
  const unsigned int fraction_in = FractionDigits(options.fraction);
  std::string input = "now";
  if (options.ticks) {
    input = std::to_string(*options.ticks);
    if (*options.ticks < -kTickLimit || *options.ticks > kTickLimit)
      return run.Bad(input, "ticks out of range (about +-5e18)");
    // The calendar arithmetic is exact before 1601 for whole days only.
    if (*options.ticks < 0 && *options.ticks % kTicksPerDay != 0)
      return run.Bad(input, "before 1601 only whole days (multiples of 864000000000 ticks) have calendar fields");
    stamp = Vesk::TimeStamp::FromTicks(*options.ticks);
  } else if (from_fields) {
    const int year = options.year.value_or(1601), month = options.month.value_or(1), day = options.day.value_or(1);
    input = std::to_string(year) + "-" + std::to_string(month) + "-" + std::to_string(day);
    if (!InRange(year, kYearLimit) || !InRange(month, 1000) || !InRange(day, kFieldLimit) ||
        !InRange(options.hour, kFieldLimit) || !InRange(options.minute, kFieldLimit) ||
        !InRange(options.second, kFieldLimit))
      return run.Bad(input, "field out of range");
    stamp = Vesk::TimeStamp(year, month, day, options.hour, options.minute, options.second, fraction_in);
  } else {
    stamp.SetToCurrentTime();
  }
  int year, month, day, hour, minute, second;
  unsigned int fraction;
  stamp.ToYMDHMSF(year, month, day, hour, minute, second, fraction);
  if (stamp.ticks < 0 && (hour || minute || second || fraction))
    return run.Bad(input, "before 1601 only whole days have calendar fields");
  char fields[96];
  std::snprintf(fields, sizeof fields, "%d-%02d-%02d %02d:%02d:%02d.%07u", year, month, day, hour, minute, second,
                fraction);
  const std::string w3c = stamp.ToW3DTF();
  if (run.json())
    return run.Good({{"ticks", stamp.ticks}, {"year", year}, {"month", month}, {"day", day}, {"hour", hour},
                     {"minute", minute}, {"second", second}, {"fraction", fraction}, {"w3c", w3c}});
  run.Result({}, {{"ticks", stamp.ticks}, {"fields", fields}, {"w3c", w3c}});
}

const vesktool::CommandRegistrar reg("time", [](CLI::App& app) {
  auto options = std::make_shared<TimeOptions>();
  CLI::App* cmd = app.add_subcommand(
      "time",
      "A point in time: now (to the second), from calendar fields, or from ticks (100 ns units since "
      "1601-01-01). Prints the ticks, the fields with the fraction in ticks, and the W3C form, separated by "
      "tabs. Fields are not checked: month 13 is January of the next year. Before 1601 only whole days have "
      "calendar fields; other times there are bad input.");
  cmd->add_option("--ticks", options->ticks, "Ticks since the start of 1601");
  cmd->add_option("--year", options->year, "Year (with month and day; missing ones are 1601, 1, 1)");
  cmd->add_option("--month", options->month, "Month");
  cmd->add_option("--day", options->day, "Day of the month");
  cmd->add_option("--hour", options->hour, "Hour");
  cmd->add_option("--minute", options->minute, "Minute");
  cmd->add_option("--second", options->second, "Second");
  cmd->add_option("--fraction", options->fraction,
                  "Digits behind the decimal point of the second, at most 9 (5 is half a second, 1234567 is "
                  "1234567 ticks, 8 or 9 digits are rounded to ticks); a leading zero cannot be given")
      ->type_name("DIGITS");
  cmd->add_flag("--json", options->output.json,
                "One JSON object: ticks, year, month, day, hour, minute, second, fraction, w3c, valid");
  vesktool::AddExitStatusHelp(cmd);
  cmd->callback([options] { RunTime(*options); });
});

}  // namespace
