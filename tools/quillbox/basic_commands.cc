// version and guid: what the library is, and fresh identifiers.
#include <cstdio>
#include <string>

#include "commands.h"
#include "quillbox/platform.h"

namespace quillbox::tool {
namespace {
int g_exit_code = 0;

std::string Narrow(const OLECHAR* text) {
  std::string out;
  for (; text && *text; ++text) out.push_back(static_cast<char>(*text));
  return out;
}
}  // namespace

void SetExitCode(int code) { g_exit_code = code; }
int ExitCode() { return g_exit_code; }

void AddVersionCommand(CLI::App& app) {
  app.add_subcommand("version", "Print the library's version")->callback([] {
    std::printf("quillbox %s\n", QuillboxVersion());
  });
}

void AddGuidCommand(CLI::App& app) {
  auto* cmd = app.add_subcommand("guid", "Print new random GUIDs, braced and upper-case");
  static int count = 1;
  cmd->add_option("-n,--count", count, "How many")->check(CLI::Range(1, 100000));
  cmd->callback([] {
    for (int i = 0; i < count; ++i) {
      GUID g;
      OLECHAR text[CHARS_IN_GUID];
      if (FAILED(CoCreateGuid(&g)) || StringFromGUID2(g, text, CHARS_IN_GUID) == 0) {
        std::fprintf(stderr, "quillbox: could not make a GUID\n");
        SetExitCode(1);
        return;
      }
      std::printf("%s\n", Narrow(text).c_str());
    }
  });
}

}  // namespace quillbox::tool
