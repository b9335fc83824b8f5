#include <iostream>

#include "movegen/movegen.h"
#include "uci/commands.h"
#include "uci/uci_loop.h"

namespace morvane {

void cmd_go(Board& board, std::istringstream& rest) {
    if (g_searching.load(std::memory_order_relaxed)) {
        std::cerr << "info string recherche deja en cours, commande go ignoree" << std::endl;
        return;
    }
    std::string token;
    while (rest >> token) {
        if (token == "perft" && rest >> token) {
            cmd_go_perft(board, std::stoi(token));
            return;
        }
    }
}

void stop_and_join_search() {
    if (!g_searching.load(std::memory_order_relaxed)) return;
    if (g_searchThread.joinable()) g_searchThread.join();
}

}  // namespace morvane
