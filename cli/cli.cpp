#include "cli.h"

#include "command.h"
#include "store/store.h"

#include <QFileInfo>

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
    all.push_back(makePayment());
    all.push_back(makeMeasurements());
    return all;
}

QString usage(const std::vector<std::unique_ptr<Command>>& all) {
    QString text = QStringLiteral(
        "Usage: tallywright-cli [--folder DIR] COMMAND\n"
        "\n"
        "Works on the Tallywright database (Tallywright.db) of an "
        "application\nfolder: by default the folder of this program, or for an installed copy\n"
        "~/.local/share/Tallywright.\n"
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
    text += QStringLiteral("\nOptions:\n"
                           "  --folder DIR  the application folder to work on\n"
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

int run(const QStringList& args, QTextStream& out, QTextStream& err) {
    const auto all = commands();
    QStringList rest;
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
