// quillbox: the command-line face of the library. Each subcommand lives in
// its own file and registers itself here.
#include <CLI/CLI.hpp>

#include "commands.h"

int main(int argc, char** argv) {
  CLI::App app{"quillbox: structured storage from the command line"};
  app.require_subcommand(1);
  quillbox::tool::AddVersionCommand(app);
  quillbox::tool::AddSelfCheckCommand(app);
  quillbox::tool::AddGuidCommand(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return app.exit(e);
  }
  return quillbox::tool::ExitCode();
}
