#include "command.h"

#include "store/backup.h"

#include <QDir>

namespace cli {
namespace {

// Lists the automatic backups, newest first, with their date, size and check.
class Backups : public Command {
public:
    QString name() const override { return QStringLiteral("backups"); }
    QString synopsis() const override { return {}; }
    QString summary() const override {
        return QStringLiteral("list the backups with date, size and check result");
    }
    int run(const QStringList& args, Context& ctx) override {
        if (!args.isEmpty())
            throw UsageError(QStringLiteral("backups takes no arguments"));
        const auto all = tw::backup::list();
        if (all.empty())
            ctx.out << "No backups in " << QDir::toNativeSeparators(tw::backup::folder())
                    << Qt::endl;
        for (const auto& e : all)
            ctx.out << e.made.toString(QStringLiteral("dd-MM-yyyy HH:mm:ss")) << "  "
                    << QString::number(e.size).rightJustified(12) << "  " << e.check << "  "
                    << QDir::toNativeSeparators(e.path) << Qt::endl;
        return 0;
    }
};

} // namespace

std::unique_ptr<Command> makeBackups() {
    return std::make_unique<Backups>();
}

} // namespace cli
