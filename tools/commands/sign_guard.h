// OutputGuard: refuses places for signatures where something would be lost: a file that is to be signed, what the
// property file names, or another signature of the same run.
//
// Thread rule: one thread. The options must outlive the guard; the files that it protects are those that exist when it
// is made.
#ifndef ZEPASIGN_TOOLS_COMMANDS_SIGN_GUARD_H_
#define ZEPASIGN_TOOLS_COMMANDS_SIGN_GUARD_H_

#include <string>
#include <vector>

#include "tools/commands/batch_jobs.h"
#include "tools/files/place_record.h"
#include "tools/files/propertyfile.h"
#include "tools/terminal/filesystem.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {

// What is compared is the file that a path leads to, so that another spelling, a link or a second name of it does not
// help.
//
// Only with --out-dir, --pairs or -o can two signatures of a run have one place; their places are recorded. Otherwise,
// each file has its own place beside it.
class OutputGuard final {
 public:
  // OutputGuard: protects the property file, every regular file that one of its values names, directly or inside a
  // directory that another value names, the file with the encrypted password, and the files on the command line.
  OutputGuard(const JobOptions& options, const PropertyText& properties, const std::string& propertyFile,
              const std::string& encedFile);

  // refusal: why no signature may go to this place (UTF-8); empty when it may. Records the place.
  [[nodiscard]] std::string refusal(const SigningJob& job);

 private:
  // protect: adds a path if it leads to a regular file. protectNamed: adds what the values of the properties name.
  void protect(const std::string& path, const Message& reason);
  void protectNamed(const PropertyText& properties);
  // repetitionOf: the refusal if a signature of this run already goes to the same place, or if that cannot be known;
  // records the place.
  [[nodiscard]] std::string repetitionOf(const SigningJob& job);

  // Protected: a file, and the reason why it must not be replaced, for the message.
  struct Protected {
    FileStatus file;
    Message reason;
  };
  const JobOptions& options_;
  std::vector<Protected> protected_;
  // places_: the canonical paths of the signatures.
  PlaceRecord places_;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_SIGN_GUARD_H_
