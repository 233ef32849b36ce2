#ifndef VESK_TOOLS_VESK_PATH_PAIRS_H_
#define VESK_TOOLS_VESK_PATH_PAIRS_H_

// Operand pairs for the commands that take two URIs (resolve, relative,
// relation, common).

#include <string>
#include <utility>
#include <vector>

#include "tools/vesk/command.h"

namespace vesktool {

using OperandPair = std::pair<std::string, std::string>;

// The pairs to work on. With two or more arguments: the first with each of the
// others. With only the first: the first with each line of standard input.
// With none: each line of standard input is a pair, first and second operand
// separated by a tab; a line without a tab is reported as bad input of
// `command` and skipped.
inline std::vector<OperandPair> OperandPairs(const std::string& command, const std::vector<std::string>& args) {
  std::vector<OperandPair> pairs;
  if (args.size() >= 2) {
    for (size_t i = 1; i < args.size(); ++i) pairs.emplace_back(args[0], args[i]);
    return pairs;
  }
  const std::vector<std::string> lines = ItemsOrStdin({});
  for (const std::string& line : lines) {
    if (args.size() == 1) {
      pairs.emplace_back(args[0], line);
      continue;
    }
    OperandPair pair;
    if (!SplitPair(line, pair.first, pair.second)) {
      ReportBadInput(command, line, "expected two URIs separated by a tab");
      continue;
    }
    pairs.push_back(std::move(pair));
  }
  return pairs;
}

}  // namespace vesktool

#endif  // VESK_TOOLS_VESK_PATH_PAIRS_H_
