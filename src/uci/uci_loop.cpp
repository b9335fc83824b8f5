#include "uci/uci_loop.h"

#include <iostream>
#include <sstream>

#include "config/config_locate.h"
#include "search/tt.h"
#include "tablebase/syzygy.h"
#include "uci/commands.h"
#include "uci/uci_settings.h"

namespace morvane {

std::atomic<bool> g_searching{false};
std::thread g_searchThread;

namespace {

bool searching() { return g_searching.load(std::memory_order_acquire); }

// The search works on the loop's own board, so anything that would change
// or read it mid-search is refused.
bool refuse_while_searching(const char* what) {
    if (!searching()) return false;
    std::cerr << "info string recherche en cours, " << what << std::endl;
    return true;
}

bool dispatch(Board& board, const std::string& command, std::istringstream& tokens);

}  // namespace

bool execute_uci_command(Board& board, const std::string& line) {
    std::istringstream tokens(line);
    std::string command;
    tokens >> command;
    // One bad command must never end a game: report it and read the next.
    try {
        return dispatch(board, command, tokens);
    } catch (const std::exception& e) {
        std::cerr << "info string EXCEPTION pendant " << command << ": " << e.what() << std::endl;
    } catch (...) {
        std::cerr << "info string EXCEPTION inconnue pendant " << command << std::endl;
    }
    return true;
}

namespace {

bool dispatch(Board& board, const std::string& command, std::istringstream& tokens) {
    if (command == "uci") {
        std::cout << "id name Morvane VORL 0.47\nid author Tallivern\n";
        print_options(std::cout);
        std::cout << "uciok" << std::endl;
        announce_config(std::cout, g_uciSettings.config);
    } else if (command == "isready") {
        std::cout << "readyok" << std::endl;
    } else if (command == "stop") {
        stop_and_join_search();
    } else if (command == "ponderhit") {
        cmd_ponderhit();
    } else if (command == "go") {
        cmd_go(board, tokens);
    } else if (command == "position") {
        if (!refuse_while_searching("position ignoree")) cmd_position(board, tokens);
    } else if (command == "ucinewgame") {
        if (!refuse_while_searching("ucinewgame ignoree")) {
            board.set_fen(StartFen);
            tt_clear();
            g_uciSettings.announcePending = true;
        }
    } else if (command == "setoption") {
        if (!refuse_while_searching("setoption ignoree")) cmd_setoption(tokens);
    } else if (command == "d" || command == "print") {
        if (!refuse_while_searching("affichage differe")) print_board(board, std::cout);
    } else if (command == "quit") {
        stop_and_join_search();
        return false;
    }
    return true;
}

}  // namespace

void uci_loop(std::istream& in) {
    Board board;
    // A GUI may start the engine in any folder: the file shipped beside the
    // executable, or installed with it, is found too.
    g_uciSettings.config = load_first_config(config_candidates(executable_dir()), g_config);
    syzygy_init("");  // the embedded tables, through the cache
    std::string line;
    while (std::getline(in, line))
        if (!execute_uci_command(board, line)) break;
    // End of input is a GUI gone away: like "quit", a running search stops
    // and still prints its answer.
    stop_and_join_search();
}

void uci_loop() { uci_loop(std::cin); }

}  // namespace morvane
