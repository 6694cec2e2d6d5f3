#include "command.h"

#include "core/reports/report_run.h"
#include "core/reports/rows_file.h"
#include "core/reports/running_bill.h"
#include "render/paged.h"
#include "render/render.h"
#include "store/store.h"

#include <QDir>
#include <QFileInfo>

#include <utility>

namespace cli {
namespace {

using tw::reports::ReportType;

QString commandNames() {
    QStringList names;
    for (const ReportType& t : tw::reports::catalogue())
        names << t.command;
    return names.join(QStringLiteral(", "));
}

// Fills the working table of a report exactly as the report screen does, in working tables of
// the run's own, then renders its layout to a PDF or HTML file, or writes the rows the layout
// reads to a CSV or XLSX file.
class Report : public Command {
public:
    QString name() const override { return QStringLiteral("report"); }
    QString synopsis() const override {
        return QStringLiteral("TYPE --project NAME [options] --out FILE");
    }
    QString summary() const override {
        QStringList types = commandNames().split(QStringLiteral(", "));
        QString lines;
        for (qsizetype i = 0; i < types.size(); i += 4)
            lines += QStringLiteral("\n  ") + types.mid(i, 4).join(QStringLiteral(", "));
        return QStringLiteral("make a report as the report screen does, into FILE.pdf or "
                              "FILE.html,\nor its rows into FILE.csv or FILE.xlsx;\noptions: "
                              "--bill ID, --ewp N, --wws N, --from DD-MM-YYYY --to DD-MM-YYYY\n"
                              "TYPE one of:") +
               lines;
    }

    int run(const QStringList& args, Context& ctx) override {
        if (args.isEmpty() || args.front().startsWith(QLatin1String("--")))
            throw UsageError(QStringLiteral("report needs a TYPE: one of %1").arg(commandNames()));
        const ReportType* type = tw::reports::findByCommand(args.front());
        if (!type)
            throw UsageError(QStringLiteral("unknown report type %1 (one of %2)")
                                 .arg(args.front(), commandNames()));

        tw::reports::ReportRun run;
        QString out;
        for (qsizetype i = 1; i < args.size(); i += 2) {
            const QString& option = args[i];
            if (i + 1 >= args.size())
                throw UsageError(QStringLiteral("%1 needs a value").arg(option));
            const QString& value = args[i + 1];
            if (option == QLatin1String("--project"))
                run.projectName = value;
            else if (option == QLatin1String("--bill"))
                run.bill = value;
            else if (option == QLatin1String("--ewp"))
                run.ewp = value;
            else if (option == QLatin1String("--wws"))
                run.wws = value;
            else if (option == QLatin1String("--from"))
                run.fromDate = date(option, value);
            else if (option == QLatin1String("--to"))
                run.toDate = date(option, value);
            else if (option == QLatin1String("--out"))
                out = value;
            else
                throw UsageError(QStringLiteral("unknown option %1").arg(option));
        }
        run.forPeriod = run.fromDate.isValid() || run.toDate.isValid();
        const bool byPeriod = type->period && run.forPeriod;
        if (byPeriod && !(run.fromDate.isValid() && run.toDate.isValid()))
            throw UsageError(QStringLiteral("%1 needs both --from and --to").arg(type->command));
        if (run.projectName.isEmpty() && !byPeriod)
            throw UsageError(QStringLiteral("report needs --project NAME"));
        if (type->needsBill() && run.bill.isEmpty())
            throw UsageError(QStringLiteral("%1 needs --bill ID").arg(type->command));
        const QString kind = QFileInfo(out).suffix().toLower();
        if (!QStringList{"pdf", "html", "csv", "xlsx"}.contains(kind))
            throw UsageError(QStringLiteral("report needs --out FILE.pdf, FILE.html, FILE.csv or "
                                            "FILE.xlsx"));

        tw::reports::RunTables rows(*type, ctx.messages);
        if (!rows.isOpen())
            return 1;
        const tw::ConClass& con = rows.con();
        if (!run.projectName.isEmpty())
            checkChoice(*type, run, con);
        tw::reports::readProject(run, con);
        tw::reports::readReportOrgName(run);
        // A frozen bill is reprinted from its copy, as the report screen's bill opening finds;
        // nothing here ever freezes one.
        if (type->runningBill)
            tw::reports::LoadDeductions(run, con);
        if (!tw::reports::fill(*type, run, con, ctx.messages))
            return 1;
        const QString where = QDir::toNativeSeparators(out);
        if (kind == QLatin1String("csv") || kind == QLatin1String("xlsx")) {
            const auto read = tw::reports::layoutRows(
                type->workingTable, tw::reports::parameters(*type, run), run, con);
            tw::reports::writeRows(read, out);
            ctx.out << "Written: " << where << " (" << read.rows.size()
                    << (read.rows.size() == 1 ? " row)" : " rows)") << Qt::endl;
            return 0;
        }
        QString text = tw::reports::renderHtml(*type, run, con);
        if (kind == QLatin1String("html")) {
            tw::reports::writeText(text, out);
            ctx.out << "Written: " << where << Qt::endl;
        } else {
            // The text goes once it is read: a long report's pages need it no more.
            const auto doc = tw::reports::makeDocument(std::exchange(text, {}), &ctx.messages);
            const int pages = tw::reports::writePdf(*doc, out);
            ctx.out << "Written: " << where << " (" << pages << (pages == 1 ? " page)" : " pages)")
                    << Qt::endl;
        }
        return 0;
    }

private:
    static QDate date(const QString& option, const QString& value) {
        const QDate d = tw::dateFromText(value);
        if (!d.isValid())
            throw UsageError(
                QStringLiteral("%1 takes a date as DD-MM-YYYY, not %2").arg(option, value));
        return d;
    }

    // The screen offers only projects it lists and bills measured in them; the command line
    // says so when a name is not one of them.
    static void checkChoice(const ReportType& type, const tw::reports::ReportRun& run,
                            const tw::ConClass& con) {
        const auto project = con.first(
            QStringLiteral("select tw_contract_num from contractmaster where tw_contract_name=?"),
            {run.projectName});
        if (!project)
            throw tw::Error(QStringLiteral("No project is named %1.").arg(run.projectName));
        if (!type.needsBill())
            return;
        // The table is one the catalogue names, never text a user typed.
        if (!con.first(QStringLiteral("select 1 from %1 where tw_contract_num=? and tw_bill_num=?")
                           .arg(type.billsFrom),
                       {project->text(0), run.bill}))
            throw tw::Error(
                QStringLiteral("Project %1 has no bill %2.").arg(run.projectName, run.bill));
    }
};

} // namespace

std::unique_ptr<Command> makeReport() {
    return std::make_unique<Report>();
}

} // namespace cli
