// RunShell: popen over coreutils' timeout, which ends the command's whole
// process group when the time is up.
#include "run_shell.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace quillbox::testing {

int RunShell(const std::string& command, std::string* output, int timeout_seconds) {
  output->clear();
  const std::string line = "timeout --kill-after=10 " + std::to_string(timeout_seconds) + " sh -c " +
                           QuoteForShell(command) + " 2>&1";
  FILE* pipe = popen(line.c_str(), "r");
  if (!pipe) return -1;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, pipe)) > 0) output->append(buf, n);
  const int status = pclose(pipe);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string QuoteForShell(const std::string& text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

std::string FindExecutable(std::initializer_list<const char*> paths) {
  for (const char* path : paths) {
    if (access(path, X_OK) == 0) return path;
  }
  return "";
}

}  // namespace quillbox::testing
