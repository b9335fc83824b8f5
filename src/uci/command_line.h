// The program's command line: interactive UCI, or a batch test-suite run.
#pragma once

namespace morvane {

int run_command_line(int argc, char** argv);

}  // namespace morvane
