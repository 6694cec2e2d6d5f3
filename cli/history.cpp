#include "command.h"

#include "core/reports/rows_file.h"
#include "store/history.h"
#include "store/store.h"
#include "values/values.h"

#include <QDate>
#include <QHash>

namespace cli {
namespace {

// Who changed what and when, newest first.
class HistoryCommand : public Command {
public:
    QString name() const override { return QStringLiteral("history"); }
    QString synopsis() const override {
        return QStringLiteral("[--project NUMBER] [--bill ID] [--table NAME] [--since DD-MM-YYYY] "
                              "[--until DD-MM-YYYY] [--csv]");
    }
    QString summary() const override {
        return QStringLiteral(
            "the changes to projects, schedules, measurements, steel, materials,\n"
            "  categories, deductions, bills and payments, newest first: when (UTC), who\n"
            "  (\"(another program)\" for a change made outside Tallywright), the computer,\n"
            "  the table and row, the action, the project and bill, whether the bill stood\n"
            "  frozen, and the figures before and after; tab-separated, or CSV with --csv");
    }

    int run(const QStringList& args, Context& ctx) override {
        const QStringList known{"--project", "--bill", "--table", "--since", "--until"};
        QHash<QString, QString> given;
        bool csv = false;
        for (qsizetype i = 0; i < args.size(); ++i) {
            const QString& option = args[i];
            if (option == QLatin1String("--csv") && !csv) {
                csv = true;
                continue;
            }
            if (!known.contains(option) || given.contains(option))
                throw UsageError(QStringLiteral("unknown argument %1").arg(option));
            if (i + 1 >= args.size())
                throw UsageError(QStringLiteral("%1 needs a value").arg(option));
            given.insert(option, args[++i]);
        }
        tw::history::Filter filter{given.value(QStringLiteral("--project")),
                                   given.value(QStringLiteral("--bill")),
                                   given.value(QStringLiteral("--table")),
                                   {},
                                   {}};
        for (auto [option, day] : {std::pair{QStringLiteral("--since"), &filter.since},
                                   std::pair{QStringLiteral("--until"), &filter.until}}) {
            if (!given.contains(option))
                continue;
            const QDate d = tw::dateFromText(given.value(option));
            if (!d.isValid())
                throw UsageError(QStringLiteral("%1 takes a date as DD-MM-YYYY, not %2")
                                     .arg(option, given.value(option)));
            *day = d.toString(Qt::ISODate);
        }
        tw::ConClass con(ctx.messages);
        con.conopen();
        if (!con.isOpen())
            return 1;
        const auto line = [&](QStringList fields) {
            if (csv)
                for (QString& f : fields)
                    f = tw::reports::csvField(f);
            else
                for (QString& f : fields)
                    f.replace(u'\t', u' ').replace(u'\n', u' ');
            ctx.out << fields.join(csv ? u',' : u'\t') << (csv ? "\r\n" : "\n");
        };
        line(tw::history::shownColumns);
        for (const tw::history::Entry& e : tw::history::read(con, filter))
            line(tw::history::shown(con, e));
        ctx.out.flush();
        return 0;
    }
};

} // namespace

std::unique_ptr<Command> makeHistory() {
    return std::make_unique<HistoryCommand>();
}

} // namespace cli
