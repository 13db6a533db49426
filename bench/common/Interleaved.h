#pragma once
// Comparisons timed round by round: every case runs once untimed, then in each round every case
// runs once, in an order that alternates from round to round, so that what the shared machine
// does meanwhile falls on all cases alike. Each case's median is kept and the ratios printed.
// A case may have an untimed step after each run, which puts back what the run changed (so that
// every run meets the same state).

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace ostrum_bench {

struct TimedCase {
  std::string name;
  std::function<void()> body;
  std::function<void()> after = {};  ///< untimed, after every run of `body`; may be empty
  double median_seconds = 0;
  double low_seconds = 0;   ///< first quartile of the rounds
  double high_seconds = 0;  ///< third quartile of the rounds
};

/// Runs the cases as told above and fills in their medians.
inline void RunInterleaved(std::vector<TimedCase>& cases, int rounds) {
  for (TimedCase& c : cases) {  // warm-up
    c.body();
    if (c.after) c.after();
  }
  std::vector<std::vector<double>> times(cases.size());
  for (int round = 0; round < rounds; ++round) {
    for (size_t k = 0; k < cases.size(); ++k) {
      const size_t i = round % 2 == 0 ? k : cases.size() - 1 - k;
      const auto start = std::chrono::steady_clock::now();
      cases[i].body();
      times[i].push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
      if (cases[i].after) cases[i].after();
    }
  }
  for (size_t i = 0; i < cases.size(); ++i) {
    std::vector<double>& t = times[i];
    std::sort(t.begin(), t.end());
    cases[i].median_seconds = t[t.size() / 2];
    cases[i].low_seconds = t[t.size() / 4];
    cases[i].high_seconds = t[3 * t.size() / 4];
  }
}

/// Prints each case's median per item (in nanoseconds, for `items` items a run).
inline void PrintMedians(const std::vector<TimedCase>& cases, double items) {
  for (const TimedCase& c : cases)
    std::printf("  %-52s %12.2f ns per item (median)\n", c.name.c_str(), 1e9 * c.median_seconds / items);
}

/// Prints the ratio of two cases' medians.
inline void PrintRatio(const char* label, const TimedCase& framework, const TimedCase& floor) {
  std::printf("  %-52s %8.3f   (%s / %s)\n", label, framework.median_seconds / floor.median_seconds,
              framework.name.c_str(), floor.name.c_str());
}

}  // namespace ostrum_bench
