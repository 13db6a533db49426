#pragma once
// Times several contenders doing the same work, interleaved round by round: after an untimed
// warm-up round, every round times one batch of each contender in turn (the order rotates from
// round to round), so that a slow phase of a shared machine falls on all of them alike. The
// result is each contender's median time per repetition over the rounds.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace ostrum_bench {

struct Contender {
  std::string name;
  std::function<void(std::size_t repetitions)> run;  ///< does the work `repetitions` times
};

struct RoundTimes {
  double median_ns = 0;  ///< per repetition
  double low_ns = 0;     ///< first quartile of the rounds
  double high_ns = 0;    ///< third quartile of the rounds
};

/// Runs `rounds` timed rounds of `repetitions` per contender and batch; answers the times in
/// the order of `contenders`.
inline std::vector<RoundTimes> TimeInterleaved(std::vector<Contender> const& contenders, std::size_t repetitions,
                                               int rounds) {
  using Clock = std::chrono::steady_clock;
  std::size_t const n = contenders.size();
  for (Contender const& c : contenders) c.run(repetitions);  // warm-up: caches, branch history, heap
  std::vector<std::vector<double>> samples(n);
  for (int r = 0; r < rounds; ++r) {
    for (std::size_t k = 0; k < n; ++k) {
      std::size_t const i = (k + static_cast<std::size_t>(r)) % n;
      auto const start = Clock::now();
      contenders[i].run(repetitions);
      auto const stop = Clock::now();
      samples[i].push_back(std::chrono::duration<double, std::nano>(stop - start).count() /
                           static_cast<double>(repetitions));
    }
  }
  std::vector<RoundTimes> result(n);
  for (std::size_t i = 0; i < n; ++i) {
    std::vector<double>& s = samples[i];
    std::sort(s.begin(), s.end());
    result[i] = RoundTimes{s[s.size() / 2], s[s.size() / 4], s[(3 * s.size()) / 4]};
  }
  return result;
}

}  // namespace ostrum_bench
