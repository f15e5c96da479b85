// Running another program from a test (interoperability tests): a shell
// command with a time limit, its exit status and what it printed.
#pragma once

#include <initializer_list>
#include <string>

namespace quillbox::testing {

// Runs command under sh with stderr joined to stdout, killed after
// timeout_seconds; gives its exit status (124 when it timed out, -1 when it
// could not run).
int RunShell(const std::string& command, std::string* output, int timeout_seconds = 300);

// text quoted for sh.
std::string QuoteForShell(const std::string& text);

// The first of the paths that is an executable file, or "".
std::string FindExecutable(std::initializer_list<const char*> paths);

}  // namespace quillbox::testing
