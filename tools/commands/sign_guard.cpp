#include "tools/commands/sign_guard.h"

#include "base/platform.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {

OutputGuard::OutputGuard(const JobOptions& options, const PropertyText& properties, const std::string& propertyFile,
                         const std::string& encedFile)
    : options_(options) {
  protect(propertyFile, "it is the property file"_m);
  protect(encedFile, "it holds the encrypted password"_m);
  protect(options.filesFrom, "it is the list of files"_m);
  protectNamed(properties);
  for (const std::string& file : options.files) protect(file, "it is to be signed"_m);
}

void OutputGuard::protect(const std::string& path, const Message& reason) {
  const FileStatus file = statusOf(path);
  if (file.isRegular()) protected_.push_back({file, reason});
}

// What a value means is not asked: a text that is no path leads to no file.
void OutputGuard::protectNamed(const PropertyText& properties) {
  std::vector<std::string> directories = {""};
  for (const PropertyText::Pair& pair : properties.pairs()) {
    if (isDirectory(pair.value)) directories.push_back(pair.value + platform::kDirectorySeparator);
  }
  for (const PropertyText::Pair& pair : properties.pairs()) {
    for (const std::string& directory : directories) protect(directory + pair.value, "the property file names it"_m);
  }
}

std::string OutputGuard::refusal(const SigningJob& job) {
  const std::string place = fromTerminal(job.output);
  const FileStatus file = statusOf(job.output);
  for (const Protected& each : protected_) {
    if (each.file.isSameFile(file)) return tr("{0} would be lost: {1}"_m, {place, tr(each.reason)});
  }
  if (statusOf(job.input).isSameFile(file)) return tr("{0} would be lost: {1}"_m, {place, tr("it is to be signed"_m)});
  if (std::string repetition = repetitionOf(job); !repetition.empty()) return repetition;
  // The rest of a list is not known yet, and the link may lead to one of its files.
  const bool leadsAway = !options_.isPlanned() && isLink(job.output) && file.isRegular();
  if (leadsAway && !isSignatureFile(job.output, options_.form))
    return tr("{0} links to a file that is not a signature"_m, {place});
  return {};
}

std::string OutputGuard::repetitionOf(const SigningJob& job) {
  const bool canRepeat = options_.pairs || !options_.outputDirectory.empty() || !options_.output.empty();
  if (!canRepeat || isStandardOutput(job.output)) return {};
  const PlaceRecord::Answer answer = places_.add(canonicalPath(job.output));
  if (answer == PlaceRecord::Answer::kNew) return {};
  const std::string place = fromTerminal(job.output);
  return answer == PlaceRecord::Answer::kKnown
             ? tr("{0}: two signatures would be written to this file"_m, {place})
             : tr("{0}: not signed, since no temporary file can be written (TMPDIR)"_m, {place});
}

}  // namespace zepasign::tools
