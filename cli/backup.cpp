#include "command.h"

#include "store/backup.h"
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
        return QStringLiteral("make a checked backup of the database now and print its path");
    }
    int run(const QStringList& args, Context& ctx) override {
        QString to;
        if (args.size() == 2 && args[0] == QLatin1String("--to"))
            to = args[1];
        else if (!args.isEmpty())
            throw UsageError(QStringLiteral("backup takes only --to FILE"));
        if (to.isEmpty())
            to = tw::backup::makeNow();
        else
            tw::backup::copyDatabase(tw::AppFolder::databasePath(), to);
        ctx.out << QDir::toNativeSeparators(to) << Qt::endl;
        return 0;
    }
};

} // namespace

std::unique_ptr<Command> makeBackup() {
    return std::make_unique<Backup>();
}

} // namespace cli
