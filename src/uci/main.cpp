#include "uci/command_line.h"

int main(int argc, char** argv) { return morvane::run_command_line(argc, argv); }
