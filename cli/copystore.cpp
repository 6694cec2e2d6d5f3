#include "command.h"

#include "store/copystore.h"
#include "store/store.h"

#include <QDir>

namespace cli {
namespace {

// Moves the books between the folder's file and a server database, verifying every table.
class CopyStore : public Command {
public:
    QString name() const override { return QStringLiteral("copy-store"); }
    QString synopsis() const override { return QStringLiteral("--from local|URL --to local|URL"); }
    QString summary() const override {
        return QStringLiteral("copy every table and row into an empty database, in one\n"
                              "transaction, and check each table's rows and checksum");
    }
    int run(const QStringList& args, Context& ctx) override {
        QString from, to;
        for (qsizetype i = 0; i < args.size(); ++i) {
            const bool hasValue = i + 1 < args.size();
            if (args[i] == QLatin1String("--from") && hasValue)
                from = args[++i];
            else if (args[i] == QLatin1String("--to") && hasValue)
                to = args[++i];
            else
                throw UsageError(
                    QStringLiteral("copy-store takes --from local|URL --to local|URL"));
        }
        if (from.isEmpty() || to.isEmpty())
            throw UsageError(QStringLiteral("copy-store takes --from local|URL --to local|URL"));
        const auto source = place(from);
        const auto target = place(to);
        for (const tw::CopiedTable& t : tw::copyStore(source, target))
            ctx.out << QStringLiteral("%1 %2 rows  checksum %3")
                           .arg(t.name, -28)
                           .arg(t.rows, 9)
                           .arg(t.checksum)
                    << Qt::endl;
        ctx.out << "Copied the books from " << shown(source) << " to " << shown(target) << Qt::endl;
        return 0;
    }

private:
    static std::optional<tw::ServerAddress> place(const QString& text) {
        if (text.trimmed().compare(QLatin1String("local"), Qt::CaseInsensitive) == 0)
            return std::nullopt;
        const auto address = tw::ServerAddress::parse(text);
        if (!address)
            throw UsageError(
                QStringLiteral(
                    "copy-store takes local or postgresql://HOST[:PORT]/DATABASE, not %1")
                    .arg(text));
        return tw::Store::withRole(*address);
    }
    static QString shown(const std::optional<tw::ServerAddress>& place) {
        return place ? place->shown() : QDir::toNativeSeparators(tw::AppFolder::databasePath());
    }
};

} // namespace

std::unique_ptr<Command> makeCopyStore() {
    return std::make_unique<CopyStore>();
}

} // namespace cli
