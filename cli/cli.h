#pragma once
// tallywright-cli: the command-line companion, on the same core as the desktop program.

#include <QStringList>
#include <QTextStream>

namespace cli {

// Runs one command line (without the program name) and gives the exit code. Output goes to
// `out`, errors to `err`.
int run(const QStringList& args, QTextStream& out, QTextStream& err);

} // namespace cli
