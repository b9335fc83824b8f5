#include <ostream>

#include "uci/uci_settings.h"

namespace morvane {

UciSettings g_uciSettings;

void announce_config(std::ostream& out, const LoadedConfig& config) {
    if (config.path.empty())
        out << "info string aucun fichier " << DefaultConfigName
            << " trouve (repertoire courant, dossier de l'executable, dossier d'installation) :"
               " valeurs par defaut integrees"
            << std::endl;
    else
        out << "info string parametres charges depuis " << config.path << " (" << config.entries << " entrees)"
            << std::endl;
}

}  // namespace morvane
