#include "base/Logging.h"
#include "cli/Console.h"
#include "commands/Commands.h"
#include "process/Interruption.h"
#include "process/StandardDescriptors.h"

#include <csignal>
#include <iostream>

int main(int argc, char** argv) {
    vexa::tool::reserveStandardDescriptors();
    vexa::tool::endCleanlyWhenInterrupted();
    // A file that grows too large is an error like a full disk, not the end of the program.
    std::signal(SIGXFSZ, SIG_IGN);
    vexa::tool::Console console(std::cout, std::cerr);
    vexa::tool::receiveLog([&](const std::string& record) { console.printError(record); });
    return vexa::tool::runTool(argc, argv, console);
}
