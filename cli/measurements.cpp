#include "command.h"

#include "core/measurements/import.h"
#include "store/store.h"

#include <QFileInfo>

namespace cli {

std::unique_ptr<Command> makeMeasurements();

namespace {

using namespace tw::measurements;

// Measurement lines of a bill from a spreadsheet, each saved as the measurement screen saves
// it; the file goes in whole or not at all.
class Measurements : public Command {
public:
    QString name() const override { return QStringLiteral("measurements"); }
    QString synopsis() const override {
        return QStringLiteral("import --project NUMBER --bill ID FILE");
    }
    QString summary() const override {
        return QStringLiteral("save the measurement lines of a file (.csv, .xlsx, .xls or "
                              ".ods;\none line a row, columns A to M) into a bill, all or none");
    }

    int run(const QStringList& args, Context& ctx) override {
        if (args.isEmpty() || args.front() != QLatin1String("import"))
            throw UsageError(QStringLiteral("measurements needs import"));
        QString number, bill, file;
        bool billGiven = false;
        for (qsizetype i = 1; i < args.size(); ++i) {
            const QString& a = args[i];
            if (a == QLatin1String("--project") || a == QLatin1String("--bill")) {
                if (i + 1 >= args.size())
                    throw UsageError(QStringLiteral("%1 needs a value").arg(a));
                if (a == QLatin1String("--bill")) {
                    bill = args[++i];
                    billGiven = true;
                } else {
                    number = args[++i];
                }
            } else if (!a.startsWith(QLatin1String("--")) && file.isEmpty()) {
                file = a;
            } else {
                throw UsageError(QStringLiteral("unknown argument %1").arg(a));
            }
        }
        if (number.isEmpty() || !billGiven || file.isEmpty())
            throw UsageError(
                QStringLiteral("measurements import needs --project NUMBER --bill ID FILE"));

        tw::ConClass con(ctx.messages);
        con.conopen();
        if (!con.isOpen())
            return 1;
        const auto project = projectByNumber(con, number);
        if (!project)
            throw tw::Error(QStringLiteral("No project has the number %1.").arg(number));
        if (!QFileInfo(file).isFile())
            throw tw::Error(QStringLiteral("No such file: %1").arg(file));
        try {
            const Imported done = importLines(con, *project, bill, readMeasurementFile(file));
            if (done.headingRow > 0)
                ctx.out << QStringLiteral("Row %1 holds column names and was skipped.")
                               .arg(done.headingRow)
                        << Qt::endl;
            ctx.out << QStringLiteral("%1 measurement lines saved in bill %2 of project %3.")
                           .arg(done.lines)
                           .arg(bill, number)
                    << Qt::endl;
            return 0;
        } catch (const tw::Error& e) {
            ctx.err << "tallywright-cli: " << e.text() << Qt::endl
                    << "tallywright-cli: nothing of " << file << " was saved." << Qt::endl;
            return 1;
        }
    }
};

} // namespace

std::unique_ptr<Command> makeMeasurements() {
    return std::make_unique<Measurements>();
}

} // namespace cli
