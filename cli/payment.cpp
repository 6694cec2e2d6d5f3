#include "command.h"

#include "core/payments/payments.h"
#include "core/projects/projects.h"
#include "store/store.h"
#include "values/values.h"

#include <QDate>
#include <QHash>

namespace cli {
namespace {

using namespace tw::payments;

// The option that gives each field of the payments screen, to name it in a refusal.
const QHash<QString, QString>& optionOf() {
    static const QHash<QString, QString> options{
        {QStringLiteral("txt_receiptno"), QStringLiteral("--receipt")},
        {QStringLiteral("txt_amount"), QStringLiteral("--amount")},
        {QStringLiteral("txt_tds"), QStringLiteral("--tds")},
        {QStringLiteral("txt_recoveries"), QStringLiteral("--recoveries")},
        {QStringLiteral("cmb_typofpmnt"), QStringLiteral("--type")},
        {QStringLiteral("txt_bank"), QStringLiteral("--bank")},
        {QStringLiteral("txt_branch"), QStringLiteral("--branch")},
        {QStringLiteral("txt_chkno"), QStringLiteral("--cheque")}};
    return options;
}

// Payments against a raised bill, added and listed as the payments screen does it.
class PaymentCommand : public Command {
public:
    QString name() const override { return QStringLiteral("payment"); }
    QString synopsis() const override {
        return QStringLiteral("add|list --project NUMBER [--bill ID] ...");
    }
    QString summary() const override {
        return QStringLiteral(
            "add --bill ID --receipt NO --date DD-MM-YYYY --amount A [--tds T\n"
            "  --recoveries R --type TEXT --bank TEXT --branch TEXT --cheque NO\n"
            "  --cheque-date DD-MM-YYYY]: a payment received against a raised bill, with\n"
            "  the payments screen's checks and messages. The screen requires the amount,\n"
            "  TDS, recoveries, type, receipt, cheque, bank and branch of every payment,\n"
            "  cash too, and so does add: one left out is refused with the screen's\n"
            "  message (\"TDS Amount is blank!!\"), so give --tds 0 for none.\n"
            "  --cheque-date is today when not given, as on the screen.\n"
            "list [--bill ID]: a bill's payments (of every raised bill without --bill),\n"
            "  tab-separated as the screen lists them, and their total");
    }

    int run(const QStringList& args, Context& ctx) override {
        if (args.isEmpty() ||
            (args.front() != QLatin1String("add") && args.front() != QLatin1String("list")))
            throw UsageError(QStringLiteral("payment needs add or list"));
        const bool adding = args.front() == QLatin1String("add");
        const QStringList known =
            adding ? QStringList{"--project", "--bill",   "--receipt",    "--date",
                                 "--amount",  "--tds",    "--recoveries", "--type",
                                 "--bank",    "--branch", "--cheque",     "--cheque-date"}
                   : QStringList{"--project", "--bill"};
        QHash<QString, QString> given;
        for (qsizetype i = 1; i < args.size(); i += 2) {
            const QString& option = args[i];
            if (!known.contains(option) || given.contains(option))
                throw UsageError(QStringLiteral("unknown argument %1").arg(option));
            if (i + 1 >= args.size())
                throw UsageError(QStringLiteral("%1 needs a value").arg(option));
            given.insert(option, args[i + 1]);
        }
        const QStringList required =
            adding ? QStringList{"--project", "--bill", "--receipt", "--date", "--amount"}
                   : QStringList{"--project"};
        for (const QString& option : required)
            if (!given.contains(option))
                throw UsageError(QStringLiteral("payment %1 needs %2").arg(args.front(), option));
        if (adding)
            for (const char* option : {"--date", "--cheque-date"})
                given.insert(QString::fromLatin1(option), date(given, QString::fromLatin1(option)));

        tw::ConClass con(ctx.messages);
        con.conopen();
        if (!con.isOpen())
            return 1;
        const QString number = given.value(QStringLiteral("--project"));
        const auto project = tw::projects::findByNumber(con, number);
        if (!project)
            throw tw::Error(QStringLiteral("No project has the number %1.").arg(number));
        const QString contractNum = project->text(QStringLiteral("tw_contract_num"));
        return adding ? add(con, contractNum, given, ctx) : list(con, contractNum, given, ctx);
    }

private:
    // The bill as the screen's list holds it: one raised in the project, or the empty bill of a
    // project that has raised none.
    static QString bill(const tw::ConClass& con, const QString& contractNum, const QString& id) {
        if (id.isEmpty() && bills(con, contractNum).isEmpty())
            return QStringLiteral("");
        const auto found = raisedBill(con, contractNum, id);
        if (!found)
            throw tw::Error(
                QStringLiteral("Project %1 has raised no bill %2.").arg(contractNum, id));
        return *found;
    }

    // A date as the screen's date fields give it; a field left alone shows today.
    static QString date(const QHash<QString, QString>& given, const QString& option) {
        if (!given.contains(option))
            return tw::dateText(QDate::currentDate());
        const QDate d = tw::dateFromText(given.value(option));
        if (!d.isValid())
            throw UsageError(QStringLiteral("%1 takes a date as DD-MM-YYYY, not %2")
                                 .arg(option, given.value(option)));
        return tw::dateText(d);
    }

    static int add(const tw::ConClass& con, const QString& contractNum,
                   const QHash<QString, QString>& given, Context& ctx) {
        const Payment payment{contractNum,
                              bill(con, contractNum, given.value(QStringLiteral("--bill"))),
                              given.value(QStringLiteral("--receipt")),
                              given.value(QStringLiteral("--date")),
                              given.value(QStringLiteral("--amount")),
                              given.value(QStringLiteral("--tds")),
                              given.value(QStringLiteral("--recoveries")),
                              given.value(QStringLiteral("--type")),
                              given.value(QStringLiteral("--cheque")),
                              given.value(QStringLiteral("--cheque-date")),
                              given.value(QStringLiteral("--bank")),
                              given.value(QStringLiteral("--branch"))};
        if (const auto refused = save(con, payment)) {
            ctx.err << refused->title << ": " << refused->text << " ("
                    << optionOf().value(refused->field) << ')' << Qt::endl;
            return 1;
        }
        ctx.out << QStringLiteral("Payment %1 added to bill %2 of project %3.")
                       .arg(payment.receipt, payment.bill, contractNum)
                << Qt::endl;
        return 0;
    }

    static int list(const tw::ConClass& con, const QString& contractNum,
                    const QHash<QString, QString>& given, Context& ctx) {
        QStringList listed = given.contains(QStringLiteral("--bill"))
                                 ? QStringList{bill(con, contractNum, given.value("--bill"))}
                                 : bills(con, contractNum);
        if (listed.isEmpty())
            listed << QStringLiteral("");
        for (const QString& b : listed) {
            ctx.out << QStringLiteral("Bill %1\tBill Amount\t%2\n")
                           .arg(b, billAmount(con, contractNum, b))
                    << listColumns().join(u'\t') << '\n';
            const Listing payments = tw::payments::list(con, contractNum, b);
            for (const QStringList& row : payments.rows)
                ctx.out << row.join(u'\t') << '\n';
            ctx.out << "Total Payment / Receipt\t" << payments.total << '\n';
        }
        ctx.out.flush();
        return 0;
    }
};

} // namespace

std::unique_ptr<Command> makePayment() {
    return std::make_unique<PaymentCommand>();
}

} // namespace cli
