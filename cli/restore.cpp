#include "command.h"

#include "store/backup.h"
#include "store/store.h"

#include <QDir>

namespace cli {
namespace {

// Puts a checked database file in place of the folder's own, keeping the one it replaces.
class Restore : public Command {
public:
    QString name() const override { return QStringLiteral("restore"); }
    QString synopsis() const override { return QStringLiteral("FILE"); }
    QString summary() const override {
        return QStringLiteral("check FILE and put it in place of the database, keeping\n"
                              "the database it replaces as a backup first; on a server,\n"
                              "load a backup (.dump) into the empty database");
    }
    int run(const QStringList& args, Context& ctx) override {
        if (args.size() != 1)
            throw UsageError(QStringLiteral("restore takes one FILE"));
        const QString kept = tw::backup::restore(args[0]);
        if (!kept.isEmpty())
            ctx.out << "Kept the replaced database as " << QDir::toNativeSeparators(kept)
                    << Qt::endl;
        ctx.out << "Restored " << QDir::toNativeSeparators(args[0]) << " to " << tw::Store::shown()
                << Qt::endl;
        return 0;
    }
};

} // namespace

std::unique_ptr<Command> makeRestore() {
    return std::make_unique<Restore>();
}

} // namespace cli
