// One delivery of a notification to 0, 1 and 8 observers through the notification center,
// against what a program would use instead with the same receivers: a plain loop over a vector
// of std::function (the floor), a Boost.Signals2 signal (as it comes, with its mutex) and a Qt
// signal with direct connections. Every receiver is the same out-of-line member function, so
// each side pays one real call into it; what differs is how a side gets there. The four sides
// are timed interleaved round by round (common/InterleavedRounds.h), and the ratios of the
// medians are printed at the end. The center's delivery also carries its sender (null here) and
// keeps its list stable under change; the loop over std::function does neither.

#include <benchmark/benchmark.h>

#include <QObject>
#include <boost/signals2/signal.hpp>
#include <cstdio>
#include <functional>
#include <vector>

#include "common/Interleaved.h"
#include "ostrum/notification/NotificationCenter.h"

namespace {

struct Ping {
  long value;
};

struct Receiver {
  long sum = 0;
  [[gnu::noinline]] void OnPing(Ping const& ping) { sum += ping.value; }
};

class QtSender : public QObject {
  Q_OBJECT

 Q_SIGNALS:
  void ping(Ping const& ping);
};

struct Sides {
  std::vector<Receiver> receivers[4];  // one set per side, so that their sums can be compared
  Ostrum::NotificationCenter center;
  std::vector<std::function<void(Ping const&)>> functions;
  boost::signals2::signal<void(Ping const&)> signal;
  QtSender qt;

  explicit Sides(int observers) {
    for (auto& set : receivers) set.resize(static_cast<std::size_t>(observers));
    for (Receiver& r : receivers[0]) center.AddObserver(&r, &Receiver::OnPing);
    for (Receiver& r : receivers[1]) functions.emplace_back([&r](Ping const& p) { r.OnPing(p); });
    for (Receiver& r : receivers[2]) signal.connect([&r](Ping const& p) { r.OnPing(p); });
    for (Receiver& r : receivers[3]) QObject::connect(&qt, &QtSender::ping, [&r](Ping const& p) { r.OnPing(p); });
  }

  // Each case delivers `n` notifications a run.
  std::vector<ostrum_bench::TimedCase> Cases(std::size_t n) {
    return {
        {"notification center", [this, n] {
           for (std::size_t i = 0; i < n; ++i) center.NotifyObservers(nullptr, Ping{static_cast<long>(i)});
         }},
        {"loop over std::function", [this, n] {
           for (std::size_t i = 0; i < n; ++i) {
             Ping const ping{static_cast<long>(i)};
             for (auto& f : functions) f(ping);
             benchmark::ClobberMemory();
           }
         }},
        {"Boost.Signals2", [this, n] {
           for (std::size_t i = 0; i < n; ++i) signal(Ping{static_cast<long>(i)});
         }},
        {"Qt signal", [this, n] {
           for (std::size_t i = 0; i < n; ++i) Q_EMIT qt.ping(Ping{static_cast<long>(i)});
         }},
    };
  }
};

}  // namespace

int main() {
  constexpr int kRounds = 41;
  std::printf("One delivery, median ns over %d interleaved rounds (first and third quartile):\n", kRounds);
  struct Line {
    int observers;
    std::vector<ostrum_bench::TimedCase> cases;
  };
  std::vector<Line> lines;
  for (int observers : {0, 1, 8}) {
    Sides sides(observers);
    // About a millisecond per run for the slowest side.
    std::size_t const repetitions = observers == 0 ? 200000 : observers == 1 ? 100000 : 20000;
    auto cases = sides.Cases(repetitions);
    ostrum_bench::RunInterleaved(cases, kRounds);
    auto ns = [repetitions](double seconds) { return 1e9 * seconds / static_cast<double>(repetitions); };
    for (const ostrum_bench::TimedCase& c : cases)
      std::printf("  %d observers  %-24s %8.2f ns   (%.2f .. %.2f)\n", observers, c.name.c_str(), ns(c.median_seconds),
                  ns(c.low_seconds), ns(c.high_seconds));
    // Every side must have done the same work: the same sums in every receiver.
    for (int side = 1; side < 4; ++side)
      for (std::size_t r = 0; r < sides.receivers[0].size(); ++r)
        if (sides.receivers[side][r].sum != sides.receivers[0][r].sum) {
          std::printf("side %s did not deliver the same notifications\n", cases[side].name.c_str());
          return 1;
        }
    lines.push_back({observers, std::move(cases)});
  }
  std::printf("\nRatios (notification center / other, medians, lower is better):\n");
  for (Line const& line : lines)
    for (std::size_t i = 1; i < line.cases.size(); ++i)
      std::printf("  %d observers, against %-24s %8.3f\n", line.observers, line.cases[i].name.c_str(),
                  line.cases[0].median_seconds / line.cases[i].median_seconds);
  return 0;
}

#include "NotificationsBench.moc"
