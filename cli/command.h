#pragma once
// One class a command of tallywright-cli. A command reads its own arguments, does its work on
// the core and gives the exit code: 0 done, 1 failed (the reason on stderr), 2 used wrongly.

#include "store/messages.h"

#include <QString>
#include <QStringList>
#include <QTextStream>

#include <memory>
#include <stdexcept>
#include <vector>

namespace cli {

// What a command works with: its output, its errors, and the messenger that core code run by
// the command shows its messages through (to `err`, with their titles).
struct Context {
    QTextStream& out;
    QTextStream& err;
    tw::Messenger& messages;
};

// A command line the command cannot take; its text is shown before the usage.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const QString& text) : std::runtime_error(text.toStdString()) {}
    QString text() const { return QString::fromStdString(what()); }
};

class Command {
public:
    virtual ~Command() = default;
    virtual QString name() const = 0;
    // The usage line after the command's name, and one line on what it does.
    virtual QString synopsis() const = 0;
    virtual QString summary() const = 0;
    // `args` are those after the command's name. Throws UsageError or tw::Error.
    virtual int run(const QStringList& args, Context& ctx) = 0;
};

// Every command, in the order the usage lists them. Each is made in its own file.
std::unique_ptr<Command> makeInit();
std::unique_ptr<Command> makeDemo();
std::unique_ptr<Command> makeBackup();
std::unique_ptr<Command> makeBackups();
std::unique_ptr<Command> makeRestore();
std::unique_ptr<Command> makeReport();
std::unique_ptr<Command> makeSchedule();
std::unique_ptr<Command> makeCopyStore();
std::unique_ptr<Command> makePayment();
std::unique_ptr<Command> makeMeasurements();
std::unique_ptr<Command> makeHistory();

} // namespace cli
