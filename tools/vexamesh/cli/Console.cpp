#include "cli/Console.h"

#include "base/Text.h"
#include "cli/Table.h"

#include <iostream>
#include <unistd.h>

namespace vexa::tool {

Console::Console(std::ostream& out, std::ostream& err)
    : out_(out), err_(err), isTerminal_(&err == &std::cerr && ::isatty(STDERR_FILENO) != 0) {}

void Console::print(std::string_view text) {
    out_ << text;
}

void Console::print(const Table& table) {
    out_ << table.text();
}

void Console::printJson(const Json& json) {
    out_ << jsonText(json);
}

void Console::printLine(const std::string& text) {
    out_ << printable(text) << '\n';
}

void Console::printError(const std::string& text) {
    err_ << "vexamesh: " << printable(text) << '\n';
}

void Console::drawBar(std::string_view bar) {
    err_ << '\r' << bar << "\x1b[K" << std::flush;
}

bool Console::flush() {
    return static_cast<bool>(out_.flush());
}

} // namespace vexa::tool
