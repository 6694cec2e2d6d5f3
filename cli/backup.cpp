#include "command.h"

#include "store/backup.h"
#include "store/files.h"
#include "store/store.h"

#include <QDir>

namespace cli {
namespace {

// Makes a checked backup of the database now: into backups/ (and the retention rule runs), or
// into the file named by --to.
class Backup : public Command {
public:
    QString name() const override { return QStringLiteral("backup"); }
    QString synopsis() const override { return QStringLiteral("[--to FILE]"); }
    QString summary() const override {
        return QStringLiteral("make a checked backup of the database now and print its path\n"
                              "(of a server database: its own dump, made with pg_dump)");
    }
    int run(const QStringList& args, Context& ctx) override {
        QString to;
        if (args.size() == 2 && args[0] == QLatin1String("--to"))
            to = args[1];
        else if (!args.isEmpty())
            throw UsageError(QStringLiteral("backup takes only --to FILE"));
        if (to.isEmpty()) {
            to = tw::backup::makeNow();
        } else if (const auto& server = tw::Store::server()) {
            tw::AtomicFile dump(to, tw::AtomicFile::Kind::OwnerOnly);
            tw::backup::dumpDatabase(*server, dump);
            dump.commit();
        } else {
            tw::backup::copyDatabase(tw::AppFolder::databasePath(), to);
        }
        ctx.out << QDir::toNativeSeparators(to) << Qt::endl;
        return 0;
    }
};

} // namespace

std::unique_ptr<Command> makeBackup() {
    return std::make_unique<Backup>();
}

} // namespace cli
