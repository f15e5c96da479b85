// The subcommands of the quillbox tool and the exit code they leave.
#pragma once

#include <CLI/CLI.hpp>

namespace quillbox::tool {

void AddVersionCommand(CLI::App& app);
void AddSelfCheckCommand(CLI::App& app);
void AddGuidCommand(CLI::App& app);

// Set by a command that fails; main returns it.
void SetExitCode(int code);
int ExitCode();

}  // namespace quillbox::tool
