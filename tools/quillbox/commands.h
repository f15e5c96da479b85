// The subcommands of the quillbox tool and the exit code they leave.
#pragma once

#include <CLI/CLI.hpp>

namespace quillbox::tool {

void AddVersionCommand(CLI::App& app);
void AddSelfCheckCommand(CLI::App& app);
void AddGuidCommand(CLI::App& app);

// Document commands, through the library's object model.
void AddEditCommands(CLI::App& app);   // new, mkdir, rm, mv
void AddTreeCommands(CLI::App& app);   // tree, ls
void AddReadCommands(CLI::App& app);   // cat, hexdump
void AddValuesCommand(CLI::App& app);  // values
void AddStringCommand(CLI::App& app);  // string
void AddPutCommand(CLI::App& app);     // put
void AddTouchCommand(CLI::App& app);   // touch
void AddSampleCommand(CLI::App& app);  // sample

// Checks an option's text before an unsigned (or any) conversion, which
// would take "-3" as a huge number: what names the quantity in the message
// ("a byte count is not negative"), name shows in the help.
CLI::Validator NotNegative(const std::string& what, const std::string& name);

// Set by a command that fails; main returns it.
void SetExitCode(int code);
int ExitCode();

}  // namespace quillbox::tool
