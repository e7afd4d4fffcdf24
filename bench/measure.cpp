#include "bench/measure.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <fstream>

#include "bench/job.h"

namespace zepasign::bench {

double processorSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double statusBytes(const std::string& field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field)) return std::stod(line.substr(field.size() + 1)) * 1024;
  }
  return 0;
}

double medianOf(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

int startChild(const std::function<double()>& work) {
  int ends[2];
  require(pipe(ends) == 0, "pipe");
  const pid_t process = fork();
  require(process >= 0, "fork");
  if (process == 0) {
    const double value = work();  // what it throws ends the child without a result
    _exit(write(ends[1], &value, sizeof value) == sizeof value ? 0 : 1);
  }
  close(ends[1]);
  return ends[0];
}

double childResult(int child) {
  double value = 0;
  const bool complete = read(child, &value, sizeof value) == sizeof value;
  close(child);
  wait(nullptr);
  require(complete, "a child process");
  return value;
}

std::string markdownRow(const std::string& title, const std::string& limit, std::vector<std::string> cells, bool held) {
  cells.resize(kImplementations.size());
  std::string row = "| " + title + " | " + limit;
  for (const std::string& cell : cells) row += " | " + cell;
  return row + " | " + (limit.empty() ? "" : held ? "yes" : "**no**") + " |\n";
}

}  // namespace zepasign::bench
