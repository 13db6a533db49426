#pragma once
// Runs the registered benchmarks with the console reporter, keeps each run's time per
// iteration, and prints at the end the ratio of each framework case to its floor, so that a
// comparison made in one run reads as one number.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace ostrum_bench {

struct Ratio {
  std::string label;        ///< what the ratio says, printed first
  std::string numerator;    ///< run name of the framework case, e.g. "BM_Pipeline/10"
  std::string denominator;  ///< run name of the floor it is compared to
};

class CollectingReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && run.iterations > 0)
        m_times[run.benchmark_name()] = run.GetAdjustedCPUTime();
    }
    ConsoleReporter::ReportRuns(runs);
  }
  bool Find(const std::string& name, double& time) const {
    auto it = m_times.find(name);
    if (it == m_times.end()) return false;
    time = it->second;
    return true;
  }

 private:
  std::map<std::string, double> m_times;
};

/// Ratio of the growth of two cases between two sizes: (num_hi - num_lo) / (den_hi - den_lo),
/// the cost of one more item in the framework against one more item of the floor.
struct SlopeRatio {
  std::string label;
  std::string numerator_high, numerator_low;
  std::string denominator_high, denominator_low;
};

/// Runs every registered benchmark (honouring the usual --benchmark_* flags) and prints the
/// ratios; a ratio whose cases were filtered out is reported as not measured.
inline int RunWithRatios(int argc, char** argv, const std::vector<Ratio>& ratios,
                         const std::vector<SlopeRatio>& slopes = {}) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  CollectingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\nRatios (framework time / floor time, lower is better):\n");
  for (const Ratio& r : ratios) {
    double num = 0, den = 0;
    if (reporter.Find(r.numerator, num) && reporter.Find(r.denominator, den) && den > 0)
      std::printf("  %-48s %8.3f   (%s / %s)\n", r.label.c_str(), num / den, r.numerator.c_str(),
                  r.denominator.c_str());
    else
      std::printf("  %-48s not measured\n", r.label.c_str());
  }
  for (const SlopeRatio& r : slopes) {
    double nh = 0, nl = 0, dh = 0, dl = 0;
    if (reporter.Find(r.numerator_high, nh) && reporter.Find(r.numerator_low, nl) &&
        reporter.Find(r.denominator_high, dh) && reporter.Find(r.denominator_low, dl) && dh > dl)
      std::printf("  %-48s %8.3f   (per added item)\n", r.label.c_str(), (nh - nl) / (dh - dl));
    else
      std::printf("  %-48s not measured\n", r.label.c_str());
  }
  benchmark::Shutdown();
  return 0;
}

}  // namespace ostrum_bench
