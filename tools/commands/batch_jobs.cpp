#include "tools/commands/batch_jobs.h"

#include <algorithm>
#include <cerrno>

#include "base/errors.h"
#include "base/platform.h"
#include "tools/commands/batch_list.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/filesystem.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {
namespace {

// asPath: a name from a list, where "-" is no stream.
std::string asPath(const std::string& name) { return name == "-" ? "./-" : name; }

// JobSearch: its functions return false when the visitor has ended the search.
class JobSearch final {
 public:
  JobSearch(const JobOptions& options, const JobVisitor& visit) : options_(options), visit_(visit) {}

  bool visitFiles() {
    return std::all_of(options_.files.begin(), options_.files.end(),
                       [this](const std::string& file) { return visitNamed(file, 0); });
  }

  bool visitList(NameList& list) {
    std::string name;
    while (list.next(name)) {
      if (!(options_.pairs ? visitPair(list, name) : visitEntry(name, list.number()))) return false;
    }
    return true;
  }

 private:
  bool visitEntry(const std::string& name, std::size_t entry) {
    if (name.empty()) return visit_({"", "", entry}, notAName());
    return (!options_.isInPlace && hasSignatureName(name)) || visitNamed(asPath(name), entry);
  }

  bool visitPair(NameList& list, const std::string& input) {
    SigningJob job{asPath(input), "", list.number()};
    const bool isPair = list.next(job.output);
    if (!isPair) return visit_(job, {kWrongParameter, tr("the list does not say where the signature goes"_m)});
    job.output = asPath(job.output);
    return visit_(job, job.input.empty() || job.output.empty() ? notAName() : Outcome{});
  }

  static Outcome notAName() { return {kWrongParameter, tr("not a file name: too long, or with a zero byte"_m)}; }

  bool visitNamed(const std::string& path, std::size_t entry) {
    if (options_.recursive && isDirectory(path)) return visitDirectory(path, "", entry);
    return visitFile(path, path == "-" ? "stdin" : fileNameOf(path), entry);
  }

  // visitFile: `name` is that of the file below the directory for the signatures.
  bool visitFile(const std::string& path, const std::string& name, std::size_t entry) {
    const char* extension = signatureExtension(options_.form);
    if (options_.isInPlace) return visit_({path, path, entry}, {});
    if (!options_.output.empty()) return visit_({path, options_.output, entry}, {});
    if (!options_.outputDirectory.empty()) {
      return visit_({path, options_.outputDirectory + platform::kDirectorySeparator + name + extension, entry}, {});
    }
    return visit_({path, path == "-" ? "-" : path + extension, entry}, {});
  }

  // visitDirectory: `below` is its own place below the directory that was named, with a separator at its end.
  // NOLINTNEXTLINE(misc-no-recursion): as deep as the directories
  bool visitDirectory(const std::string& directory, const std::string& below, std::size_t entry) {
    std::vector<std::string> names;
    if (!platform::listDirectory(directory, names)) {
      return visit_({directory, "", entry}, {kFileUnreadable, tr("the directory cannot be read"_m)});
    }
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
      if (name != "." && name != ".." && !visitFound(directory, below, name, entry)) return false;
    }
    return true;
  }

  // NOLINTNEXTLINE(misc-no-recursion)
  bool visitFound(const std::string& directory, const std::string& below, const std::string& name, std::size_t entry) {
    const std::string path =
        directory.ends_with('/') ? directory + name : directory + platform::kDirectorySeparator + name;
    const FileStatus status = statusOf(path);
    if (status.isDirectory()) {
      return isLink(path) || visitDirectory(path, below + name + platform::kDirectorySeparator, entry);
    }
    const bool isWanted = options_.isInPlace ? isSignatureName(name) : !hasSignatureName(name);
    return !status.isRegular() || !isWanted || visitFile(path, below + name, entry);
  }

  const JobOptions& options_;
  const JobVisitor& visit_;
};

}  // namespace

bool visitJobs(const JobOptions& options, const JobVisitor& visit) {
  JobSearch search(options, visit);
  if (options.filesFrom.empty()) return search.visitFiles(), true;
  const platform::FilePtr opened(options.filesFrom == "-" ? nullptr : std::fopen(options.filesFrom.c_str(), "rb"));
  std::FILE* stream = options.filesFrom == "-" ? stdin : opened.get();
  if (stream != nullptr) {
    NameList list(stream);
    search.visitList(list);
    if (!list.failed() || Interruption::signal() != 0) return true;
  }
  printError(tr("{0}: cannot be read"_m, {fromTerminal(options.filesFrom)}));
  return false;
}

}  // namespace zepasign::tools
