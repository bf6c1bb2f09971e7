#include "Commands.h"
#include "Logging.h"

#include <csignal>
#include <iostream>

int main(int argc, char** argv) {
    // A file that grows too large is an error like a full disk, not the end of the program.
    std::signal(SIGXFSZ, SIG_IGN);
    vexa::tool::logToStandardError();
    return vexa::tool::runTool(argc, argv, {std::cout, std::cerr});
}
