// What "zepasign sign" is to sign, "stamp" to stamp and "verify" to verify, from the files, directories and lists that
// the user names, found one by one: neither the names nor the jobs are kept, except the sorted names of the directories
// that are being searched.
#ifndef ZEPASIGN_TOOLS_COMMANDS_BATCH_JOBS_H_
#define ZEPASIGN_TOOLS_COMMANDS_BATCH_JOBS_H_

#include <functional>
#include <string>
#include <vector>

#include "tools/commands/signing.h"

namespace zepasign::tools {

// JobOptions: the arguments that say what is signed and where the signatures go. A file's signature goes to `output`,
// else into `outputDirectory`, else beside the file; that of the standard input to the standard output. With `pairs`,
// the list says it. With `isInPlace`, the files are signatures themselves, each of which is to be replaced.
struct JobOptions {
  std::vector<std::string> files;
  std::string filesFrom;
  std::string output;
  std::string outputDirectory;
  SignatureForm form = SignatureForm::kBase64;
  bool recursive = false;
  bool pairs = false;
  bool isInPlace = false;

  // isPlanned: whether the command line names every single file.
  [[nodiscard]] bool isPlanned() const { return filesFrom.empty() && !recursive; }
};

// JobVisitor: receives each job; `problem` says why it cannot be signed, with code 0 when nothing is wrong. Returns
// false to end the search.
using JobVisitor = std::function<bool(const SigningJob& job, const Outcome& problem)>;

// visitJobs: files in the order in which they are named; those of a directory sorted by the bytes of their names. In
// directories, links to directories and what is no regular file are passed over; in directories and lists, so are
// signatures by their names, since earlier runs left them there. With `isInPlace`, directories give the signatures
// alone and lists all that they name. Returns false, after an error message, when the list cannot be read.
[[nodiscard]] bool visitJobs(const JobOptions& options, const JobVisitor& visit);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_BATCH_JOBS_H_
