#include "command.h"

#include "core/schedules/schedules.h"
#include "store/store.h"

namespace cli {

std::unique_ptr<Command> makeSchedule();

namespace {

using namespace tw::schedules;

// A project's own schedule table to and from a workbook, as the import/export screen does it.
class Schedule : public Command {
public:
    QString name() const override { return QStringLiteral("schedule"); }
    QString synopsis() const override {
        return QStringLiteral("export --project NUMBER [--out FILE] | import --project NUMBER "
                              "FILE");
    }
    QString summary() const override {
        return QStringLiteral("write a project's schedule table to a workbook (NUMBER.xlsx in "
                              "the application\nfolder unless --out), or read one (.xls, .xlsx "
                              "or .ods; Sheet1, columns A to F) into it");
    }

    int run(const QStringList& args, Context& ctx) override {
        if (args.isEmpty() ||
            (args.front() != QLatin1String("export") && args.front() != QLatin1String("import")))
            throw UsageError(QStringLiteral("schedule needs export or import"));
        const bool exporting = args.front() == QLatin1String("export");
        QString number, out, file;
        for (qsizetype i = 1; i < args.size(); ++i) {
            const QString& a = args[i];
            if (a == QLatin1String("--project") || (exporting && a == QLatin1String("--out"))) {
                if (i + 1 >= args.size())
                    throw UsageError(QStringLiteral("%1 needs a value").arg(a));
                (a == QLatin1String("--out") ? out : number) = args[++i];
            } else if (!exporting && !a.startsWith(QLatin1String("--")) && file.isEmpty()) {
                file = a;
            } else {
                throw UsageError(QStringLiteral("unknown argument %1").arg(a));
            }
        }
        if (number.isEmpty())
            throw UsageError(
                QStringLiteral("schedule %1 needs --project NUMBER").arg(args.front()));
        if (!exporting && file.isEmpty())
            throw UsageError(QStringLiteral("schedule import needs a FILE"));

        tw::ConClass con(ctx.messages);
        con.conopen();
        if (!con.isOpen())
            return 1;
        const auto project = findProject(con, number);
        if (!project)
            throw tw::Error(QStringLiteral("No project has the number %1.").arg(number));
        if (exporting) {
            const tw::Message done = exportedMessage(exportSchedules(con, *project, out));
            ctx.out << done.text << Qt::endl;
            return 0;
        }
        if (const auto refused = checkImport(true, file)) {
            ctx.messages.say(refused->text, refused->flags, refused->title);
            return 1;
        }
        try {
            ctx.out << importedMessage(importSchedules(con, *project, file)).text << Qt::endl;
            return 0;
        } catch (const ImportError& e) {
            const tw::Message m = failureMessage(e.kind());
            ctx.messages.say(m.text, m.flags, m.title);
            return 1;
        }
    }
};

} // namespace

std::unique_ptr<Command> makeSchedule() {
    return std::make_unique<Schedule>();
}

} // namespace cli
