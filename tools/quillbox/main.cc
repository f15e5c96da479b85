// quillbox: the command-line face of the library. Each subcommand lives in
// its own file and registers itself here.
#include <CLI/CLI.hpp>

#include <string>

#include "commands.h"
#include "quillbox/platform.h"

int main(int argc, char** argv) {
  CLI::App app{"quillbox: structured storage from the command line"};
  app.require_subcommand(1);
  app.set_version_flag("--version", std::string("quillbox ") + QuillboxVersion(), "Print the library's version");
  app.footer("Paths inside a document join names with '/' (\"\" or \"/\" is the root storage); see docs/tool.md.");
  quillbox::tool::AddVersionCommand(app);
  quillbox::tool::AddSelfCheckCommand(app);
  quillbox::tool::AddGuidCommand(app);
  quillbox::tool::AddEditCommands(app);
  quillbox::tool::AddTreeCommands(app);
  quillbox::tool::AddReadCommands(app);
  quillbox::tool::AddValuesCommand(app);
  quillbox::tool::AddStringCommand(app);
  quillbox::tool::AddPutCommand(app);
  quillbox::tool::AddTouchCommand(app);
  quillbox::tool::AddSampleCommand(app);
  // The commands' objects are released inside each command, before this
  // returns, as the library's apartment rules ask.
  CoInitialize(nullptr);
  int status = 0;
  try {
    app.parse(argc, argv);
    status = quillbox::tool::ExitCode();
  } catch (const CLI::ParseError& e) {
    status = app.exit(e);
  }
  CoUninitialize();
  return status;
}
