#include "cli/Console.h"

#include "base/Text.h"
#include "cli/Table.h"

#include <iostream>
#include <unistd.h>

namespace vexa::tool {

Console::Console(std::ostream& out, std::ostream& err)
    : out_(out), err_(err), isTerminal_(&err == &std::cerr && ::isatty(STDERR_FILENO) != 0),
      isOutputTerminal_(&out == &std::cout && ::isatty(STDOUT_FILENO) != 0) {}

void Console::print(std::string_view text) {
    *results_ << text;
}

void Console::print(const Table& table) {
    *results_ << table.text();
}

void Console::printJson(const Json& json) {
    *results_ << jsonText(json);
}

void Console::printLine(const std::string& text) {
    *results_ << printable(text) << '\n';
}

void Console::printModel(const Bytes& content) {
    out_.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
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
