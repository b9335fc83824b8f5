#include "core/attacks.h"
#include "core/zobrist.h"
#include "uci/command_line.h"

int main(int argc, char** argv) {
    // Filled once here, before the search thread exists; read-only afterwards.
    morvane::init_zobrist();
    morvane::init_attacks();
    return morvane::run_command_line(argc, argv);
}
