#include "cli.h"

#include "store/store.h"

#include <QDir>
#include <QFileInfo>

namespace cli {
namespace {

const char* usage = "Usage: tallywright-cli [--folder DIR] COMMAND\n"
                    "\n"
                    "Works on the Tallywright database (Tallywright.db) of an application\n"
                    "folder: by default the folder of this program.\n"
                    "\n"
                    "Commands:\n"
                    "  init        create the database with every table and the seed rows\n"
                    "              (an existing one is checked and left as it is)\n"
                    "\n"
                    "Options:\n"
                    "  --folder DIR  the application folder to work on\n"
                    "  --help        show this text\n"
                    "  --version     show the version\n";

int init(QTextStream& out, QTextStream& err) {
    const QString path = tw::AppFolder::databasePath();
    const bool existed = QFileInfo::exists(path);
    QString failure;
    tw::setMessageSink([&](const QString& text, const QString&) { failure = text; });
    tw::ConClass con;
    con.conopen();
    tw::setMessageSink({});
    if (!con.isOpen()) {
        err << "tallywright-cli: "
            << (failure.isEmpty() ? QStringLiteral("cannot open ") + path : failure) << Qt::endl;
        return 1;
    }
    con.conclose();
    out << (existed ? "Database ready: " : "Database created: ") << QDir::toNativeSeparators(path)
        << Qt::endl;
    return 0;
}

} // namespace

int run(const QStringList& args, QTextStream& out, QTextStream& err) {
    QStringList rest;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        if (a == QLatin1String("--help") || a == QLatin1String("-h")) {
            out << usage;
            return 0;
        }
        if (a == QLatin1String("--version")) {
            out << "tallywright-cli " << TW_VERSION << Qt::endl;
            return 0;
        }
        if (a == QLatin1String("--folder")) {
            if (i + 1 >= args.size()) {
                err << "tallywright-cli: --folder needs a folder" << Qt::endl;
                return 2;
            }
            const QString dir = args[++i];
            if (!QFileInfo(dir).isDir()) {
                err << "tallywright-cli: no such folder: " << dir << Qt::endl;
                return 2;
            }
            tw::AppFolder::set(dir);
            continue;
        }
        if (a.startsWith(QLatin1String("--"))) {
            err << "tallywright-cli: unknown option " << a << Qt::endl;
            return 2;
        }
        rest << a;
    }
    if (rest.isEmpty()) {
        err << usage;
        return 2;
    }
    const QString command = rest.takeFirst();
    try {
        if (command == QLatin1String("init") && rest.isEmpty())
            return init(out, err);
        if (command == QLatin1String("init")) {
            err << "tallywright-cli: init takes no arguments" << Qt::endl;
            return 2;
        }
    } catch (const tw::Error& e) {
        err << "tallywright-cli: " << e.text() << Qt::endl;
        return 1;
    }
    err << "tallywright-cli: unknown command " << command << Qt::endl;
    return 2;
}

} // namespace cli
