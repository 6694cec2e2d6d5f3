#include "command.h"

#include "store/store.h"

#include <QDir>
#include <QFileInfo>

namespace cli {
namespace {

// Makes the database with every table and the seed rows, or checks the one there and brings an
// older file up to date. A file the program does not take is named and left as it is.
class Init : public Command {
public:
    QString name() const override { return QStringLiteral("init"); }
    QString synopsis() const override { return {}; }
    QString summary() const override {
        return QStringLiteral("create the database with every table and the seed rows\n"
                              "(an existing one is checked and left as it is); on a server,\n"
                              "in an empty database");
    }
    int run(const QStringList& args, Context& ctx) override {
        if (!args.isEmpty())
            throw UsageError(QStringLiteral("init takes no arguments"));
        if (const auto& server = tw::Store::server()) {
            const bool existed = tw::server::holdsTables(*server);
            tw::ConClass con(ctx.messages);
            con.conopen();
            if (!con.isOpen())
                return 1;
            ctx.out << (existed ? "Database ready: " : "Database created: ") << server->shown()
                    << Qt::endl;
            if (const QString note = tw::server::caseNote(con.db()); !note.isEmpty())
                ctx.err << "tallywright-cli: " << note << Qt::endl;
            return 0;
        }
        const QString path = tw::AppFolder::databasePath();
        const bool existed = QFileInfo::exists(path);
        tw::ConClass con(ctx.messages);
        con.conopen();
        if (!con.isOpen())
            return 1;
        con.conclose();
        ctx.out << (existed ? "Database ready: " : "Database created: ")
                << QDir::toNativeSeparators(path) << Qt::endl;
        return 0;
    }
};

} // namespace

std::unique_ptr<Command> makeInit() {
    return std::make_unique<Init>();
}

} // namespace cli
