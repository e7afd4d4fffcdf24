// What the measuring programs share: clock, memory, fresh processes and the table's form.
#ifndef ZEPASIGN_BENCH_MEASURE_H_
#define ZEPASIGN_BENCH_MEASURE_H_

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace zepasign::bench {

// processorSeconds: of this thread so far; what other processes take is not counted.
[[nodiscard]] double processorSeconds();

// statusBytes: a field of this process's status, "VmHWM" (peak resident) or "VmRSS" (resident), in bytes.
[[nodiscard]] double statusBytes(const std::string& field);

[[nodiscard]] double medianOf(std::vector<double> values);

// startChild: does the work in a forked process. The library is not initialised before the fork, so that the child
// initialises it for the first time. childResult: waits for what the work returned; takes what startChild gave, once.
[[nodiscard]] int startChild(const std::function<double()>& work);
[[nodiscard]] double childResult(int child);

template <class... Values>
[[nodiscard]] std::string formatted(const char* format, Values... values) {
  char text[80];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

// markdownRow: one line of the table; `cells` in the order of the implementations, empty ones may be missing at the
// end. `held` is left empty where the limit is.
[[nodiscard]] std::string markdownRow(const std::string& title, const std::string& limit,
                                      std::vector<std::string> cells, bool held);

}  // namespace zepasign::bench

#endif  // ZEPASIGN_BENCH_MEASURE_H_
