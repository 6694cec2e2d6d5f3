#include "cli.h"

#include "command.h"
#include "store/store.h"

#include <QFileInfo>

#include <optional>

namespace cli {
namespace {

std::vector<std::unique_ptr<Command>> commands() {
    std::vector<std::unique_ptr<Command>> all;
    all.push_back(makeInit());
    all.push_back(makeDemo());
    all.push_back(makeBackup());
    all.push_back(makeBackups());
    all.push_back(makeRestore());
    all.push_back(makeReport());
    all.push_back(makeSchedule());
    all.push_back(makeCopyStore());
    all.push_back(makePayment());
    all.push_back(makeMeasurements());
    all.push_back(makeHistory());
    return all;
}

QString usage(const std::vector<std::unique_ptr<Command>>& all) {
    QString text = QStringLiteral(
        "Usage: tallywright-cli [--folder DIR] [--server URL] COMMAND\n"
        "\n"
        "Works on the Tallywright database (Tallywright.db) of an "
        "application\nfolder: by default the folder of this program, or for an installed copy\n"
        "~/.local/share/Tallywright; or on the server database that the folder's\n"
        "twk.cfg or --server names.\n"
        "\nCommands:\n");
    for (const auto& c : all) {
        const QString head = (c->name() + u' ' + c->synopsis()).trimmed();
        const QStringList lines = c->summary().split(u'\n');
        // A long synopsis stands on a line of its own, so the summaries stay in one column.
        qsizetype first = 0;
        if (head.size() > 20)
            text += QStringLiteral("  %1\n").arg(head);
        else
            text += QStringLiteral("  %1  %2\n").arg(head, -20).arg(lines[first++]);
        for (qsizetype i = first; i < lines.size(); ++i)
            text += QStringLiteral("  %1  %2\n").arg(QString(), -20).arg(lines[i]);
    }
    text +=
        QStringLiteral("\nOptions:\n"
                       "  --folder DIR  the application folder to work on\n"
                       "  --server URL  the books on a server: postgresql://HOST[:PORT]/DATABASE\n"
                       "                (the role and password in the URL, or PGUSER and\n"
                       "                PGPASSWORD, or ~/.pgpass), or local for the folder's file\n"
                       "  --help        show this text\n"
                       "  --version     show the version\n");
    return text;
}

// Messages of the core go to stderr with their titles; questions take their first button.
class StreamMessenger : public tw::Messenger {
public:
    explicit StreamMessenger(QTextStream& err) : err_(err) {}

protected:
    tw::Answer show(const tw::Message& m) override {
        err_ << m.title << ": " << m.text << Qt::endl;
        return tw::buttonsOf(m.flags) == tw::YesNo ? tw::Answer::Yes : tw::Answer::Ok;
    }

private:
    QTextStream& err_;
};

} // namespace

// The store a command line chose stays its own: the next command line (in the same process, as
// in tests) starts from the store there was before.
class StoreOfThisRun {
public:
    StoreOfThisRun() : kept_(tw::Store::server()) {}
    ~StoreOfThisRun() { tw::Store::use(kept_); }
    StoreOfThisRun(const StoreOfThisRun&) = delete;
    StoreOfThisRun& operator=(const StoreOfThisRun&) = delete;

private:
    std::optional<tw::ServerAddress> kept_;
};

// Chooses the store: --server when given, else the server twk.cfg names, else the store there
// is (the folder's file).
void chooseStore(const std::optional<QString>& server) {
    if (server && server->trimmed().compare(QLatin1String("local"), Qt::CaseInsensitive) == 0) {
        tw::Store::use(std::nullopt);
        return;
    }
    if (server) {
        const auto address = tw::ServerAddress::parse(*server);
        if (!address)
            throw UsageError(QStringLiteral("--server takes local or "
                                            "postgresql://HOST[:PORT]/DATABASE, not %1")
                                 .arg(*server));
        tw::Store::use(tw::Store::withRole(*address));
    } else if (auto configured = tw::Store::configured()) {
        tw::Store::use(tw::Store::withRole(*configured));
    }
}

int run(const QStringList& args, QTextStream& out, QTextStream& err) {
    const auto all = commands();
    const StoreOfThisRun keep;
    std::optional<QString> server;
    qsizetype i = 0;
    // Options stand before the command; what follows the command is its own.
    for (; i < args.size(); ++i) {
        const QString& a = args[i];
        if (a == QLatin1String("--help") || a == QLatin1String("-h")) {
            out << usage(all);
            return 0;
        }
        if (a == QLatin1String("--version")) {
            // The product's mark, a rising wall of three courses, as a terminal can draw it.
            out << "      ===      tallywright-cli " << TW_VERSION << '\n'
                << "    =======    The books of a building contractor, to the paisa.\n"
                << "  ===========" << Qt::endl;
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
        if (a == QLatin1String("--server")) {
            if (i + 1 >= args.size()) {
                err << "tallywright-cli: --server needs postgresql://HOST[:PORT]/DATABASE or local"
                    << Qt::endl;
                return 2;
            }
            server = args[++i];
            continue;
        }
        if (a.startsWith(QLatin1String("--"))) {
            err << "tallywright-cli: unknown option " << a << Qt::endl;
            return 2;
        }
        break;
    }
    if (i >= args.size()) {
        err << usage(all);
        return 2;
    }
    const QString name = args[i];
    const QStringList commandArgs = args.mid(i + 1);
    for (const auto& c : all) {
        if (c->name() != name)
            continue;
        StreamMessenger messages(err);
        Context ctx{out, err, messages};
        try {
            chooseStore(server);
            return c->run(commandArgs, ctx);
        } catch (const UsageError& e) {
            err << "tallywright-cli: " << e.text() << Qt::endl;
            return 2;
        } catch (const tw::Error& e) {
            err << "tallywright-cli: " << e.text() << Qt::endl;
            return 1;
        }
    }
    err << "tallywright-cli: unknown command " << name << Qt::endl;
    return 2;
}

} // namespace cli
