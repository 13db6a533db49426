#pragma once
// CallLog: one list of calls that every test double of a test writes into, so that a test can
// compare the whole sequence of calls at once and print it when it differs.

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

class CallLog {
 public:
  void Add(std::string entry) { m_entries.push_back(std::move(entry)); }
  const std::vector<std::string>& Entries() const { return m_entries; }
  void Clear() { m_entries.clear(); }
  std::size_t Count(const std::string& entry) const {
    std::size_t count = 0;
    for (const std::string& e : m_entries) count += e == entry;
    return count;
  }

  friend std::ostream& operator<<(std::ostream& out, const CallLog& log) {
    out << "calls:";
    for (const std::string& e : log.m_entries) out << ' ' << e;
    return out;
  }

 private:
  std::vector<std::string> m_entries;
};

/// Writes `entry` into `log`, if there is one.
inline void LogCall(CallLog* log, std::string entry) {
  if (log) log->Add(std::move(entry));
}
