#include "store/history.h"

#include "store/store.h"

#include <QDate>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QSysInfo>
#include <QTimeZone>

#include <set>

#include <pwd.h>
#include <unistd.h>

namespace tw::history {
namespace {

const QString actorTable = QStringLiteral("history_actor");

// Where a recorded table keeps its project and its bill; a measurement line or a deduction is
// also marked when its bill was frozen at the time of the change.
struct Recorded {
    const char* name;
    const char* project;
    const char* bill;
    bool watched;
};
const Recorded recorded[] = {
    {"ContractMaster", "tw_contract_num", nullptr, false},
    {"Sch_master", "tw_contract_num", nullptr, false},
    {"BillMaster", "tw_contract_num", "tw_bill_num", true},
    {"Reinforcementmaster", "tw_contract_num", "tw_bill_num", false},
    {"Materials", nullptr, nullptr, false},
    {"CategoryList_Feet", nullptr, nullptr, false},
    {"CategoryList_Meter", nullptr, nullptr, false},
    {"absbl_dedns", "tw_cont_num", "tw_bill_num", true},
    {"billsraised", "tw_contract_num", "tw_bill_num", false},
    {"abstractbills", "tw_contract_num", "tw_bill_num", false},
    {"payment_rec", "tw_contract_num", "tw_bill_num", false},
};

const Recorded* recordOf(const QString& name) {
    for (const Recorded& r : recorded)
        if (name.compare(QLatin1String(r.name), Qt::CaseInsensitive) == 0)
            return &r;
    return nullptr;
}

bool isSchedule(const QString& name) {
    static const QRegularExpression re(QStringLiteral("^sch_[0-9]+$"),
                                       QRegularExpression::CaseInsensitiveOption);
    return re.match(name).hasMatch();
}

QString quoted(const QString& name) {
    return u'"' + QString(name).replace(u'"', QStringLiteral("\"\"")) + u'"';
}

QString& userName() {
    static QString name;
    return name;
}

} // namespace

bool numericType(const QString& declared) {
    static const QRegularExpression numeric(QStringLiteral("INT|REAL|FLOA|DOUB|NUM"),
                                            QRegularExpression::CaseInsensitiveOption);
    return numeric.match(declared).hasMatch();
}

namespace {

// A value as JSON text, built from SQLite's own innocuous functions: the connections of the
// program trust no function in a file's code that could harm, and the JSON functions are not
// marked harmless, so a trigger calling them would refuse every write of the program. A number
// is written as SQLite prints it; a text has its quotes, backslashes and line ends escaped. What
// a column of its type does not hold as such (a text in a number column, a blob, a text with
// another control character) is kept whole as {"hex": its bytes}: the statements stay short,
// and every connection parses them on opening the file.
QString jsonValue(const QString& v, const QString& type) {
    // Of the five types, integer, null and real sort together: a comparison, where a list after
    // IN would be made into a table for every row the trigger records.
    const QString plain =
        QStringLiteral("typeof(%1) BETWEEN 'integer' AND 'real', ifnull(%1, 'null')").arg(v);
    const QString hex = QStringLiteral("'{\"hex\":\"' || hex(%1) || '\"}'").arg(v);
    if (numericType(type))
        return QStringLiteral("iif(%1, %2)").arg(plain, hex);
    // Control characters 1 to 8, 11, 12 and 14 to 31, as GLOB ranges.
    return QStringLiteral("iif(%1, iif(typeof(%2) = 'blob' OR %2 GLOB char(42, 91, 1, 45, 8, 11, "
                          "12, 14, 45, 31, 93, 42), %3, '\"' || replace(replace(replace(replace("
                          "replace(%2, '\\', '\\\\'), '\"', '\\\"'), char(10), '\\n'), "
                          "char(13), '\\r'), char(9), '\\t') || '\"'))")
        .arg(plain, v, hex);
}

// Whether the value `v` of a column declared `type` is written by json_array() exactly as
// jsonValue() writes it: a number that is finite, a Null, or (in a column that is not numeric) a
// text with no control character but a tab or a line end. json_array() is many times quicker,
// but it may stand only in the program's own statements, not in the file's triggers.
QString plainForJson(const QString& v, const QString& type) {
    const QString number =
        QStringLiteral("typeof(%1) BETWEEN 'integer' AND 'real' AND ifnull(abs(%1) < 9e999, 1)")
            .arg(v);
    if (numericType(type))
        return u'(' + number + u')';
    return QStringLiteral("(%1 OR typeof(%2) = 'text' AND %2 NOT GLOB char(42, 91, 1, 45, 8, 11, "
                          "12, 14, 45, 31, 93, 42))")
        .arg(number, v);
}

// How a change to one recorded table is written into the history. Values are kept as JSON
// arrays in the table's column order, not objects with names: the history of a large file is
// then about its measurements' size again, not twice it.
class Recorder {
public:
    Recorder(const QString& name, const std::vector<schema::Column>& columns)
        : name_(name), r_(recordOf(name)), columns_(columns),
          spelled_(r_ ? QString::fromLatin1(r_->name) : name) {}

    const QString& spelled() const { return spelled_; }

    // The history columns' values for the row `row` (new or old): the text of a VALUES list of
    // a trigger, or of a SELECT over the table under that name.
    QString record(const QString& action, const QString& row, const QString& before,
                   const QString& after) const {
        return QStringLiteral("CAST(strftime('%s', 'now') AS INTEGER), (SELECT tw_who FROM "
                              "history_actor), (SELECT tw_computer FROM history_actor), '%1', "
                              "%2.rowid, '%3', %4, %5, %6, %7, %8")
            .arg(spelled_, row, action, project(row), bill(row), frozen(row), before, after);
    }
    QString values(const QString& row) const {
        QStringList v;
        for (const schema::Column& c : columns_)
            v << jsonValue(row + u'.' + quoted(c.name), c.type);
        return QStringLiteral("'[' || %1 || ']'").arg(v.join(QStringLiteral(" || ',' || ")));
    }

    // values(), by json_array() wherever that writes the same text; the values of the columns
    // `known` are not looked at again.
    QString quickValues(const QString& row, const QStringList& known) const {
        QStringList plain, all;
        for (const schema::Column& c : columns_) {
            const QString v = row + u'.' + quoted(c.name);
            if (!known.contains(c.name, Qt::CaseInsensitive))
                plain << plainForJson(v, c.type);
            all << v;
        }
        const QString quick = QStringLiteral("json_array(%1)").arg(all.join(QStringLiteral(", ")));
        return plain.isEmpty() ? quick
                               : QStringLiteral("CASE WHEN %1 THEN %2 ELSE %3 END")
                                     .arg(plain.join(QStringLiteral(" AND ")), quick, values(row));
    }

private:
    QString project(const QString& row) const {
        if (r_)
            return r_->project ? row + u'.' + quoted(QLatin1String(r_->project))
                               : QStringLiteral("null");
        // A project's own schedule has no project column: its name carries the project's key.
        return QStringLiteral("(select tw_contract_num from ContractMaster where tw_pkey = %1)")
            .arg(name_.mid(4));
    }
    QString bill(const QString& row) const {
        return r_ && r_->bill ? row + u'.' + quoted(QLatin1String(r_->bill))
                              : QStringLiteral("null");
    }
    QString frozen(const QString& row) const {
        return r_ && r_->watched
                   ? QStringLiteral("exists (select 1 from billsraised where tw_contract_num = %1 "
                                    "and tw_bill_num = %2 and tw_froze <> 0)")
                         .arg(project(row), bill(row))
                   : QStringLiteral("null");
    }

    QString name_;
    const Recorded* r_;
    std::vector<schema::Column> columns_;
    QString spelled_;
};

const QString historyColumns =
    QStringLiteral("tw_when, tw_who, tw_computer, tw_table, tw_row, tw_action, tw_project, "
                   "tw_bill, tw_frozen, tw_before, tw_after");

// The three triggers of one recorded table. A change that leaves every value as it was (case
// included) is no change.
std::map<QString, QString> tableTriggers(const QString& name,
                                         const std::vector<schema::Column>& columns) {
    const Recorder rec(name, columns);
    QStringList differs;
    for (const schema::Column& c : columns)
        differs << QStringLiteral("old.%1 is not new.%1 collate binary").arg(quoted(c.name));
    auto trigger = [&](const QString& action, const QString& event, const QString& when,
                       const QString& row, const QString& before, const QString& after) {
        const QString triggerName = QStringLiteral("history_%1_%2").arg(rec.spelled(), action);
        return std::pair{triggerName,
                         QStringLiteral("CREATE TRIGGER %1 AFTER %2 ON %3%4 BEGIN INSERT INTO "
                                        "history (%5) VALUES (%6); END")
                             .arg(quoted(triggerName), event, quoted(rec.spelled()), when,
                                  historyColumns, rec.record(action, row, before, after))};
    };
    std::map<QString, QString> out;
    out.insert(trigger(QStringLiteral("added"), QStringLiteral("INSERT"), QString(),
                       QStringLiteral("new"), QStringLiteral("null"),
                       rec.values(QStringLiteral("new"))));
    out.insert(trigger(QStringLiteral("changed"), QStringLiteral("UPDATE"),
                       QStringLiteral(" WHEN ") + differs.join(QStringLiteral(" OR ")),
                       QStringLiteral("new"), rec.values(QStringLiteral("old")),
                       rec.values(QStringLiteral("new"))));
    out.insert(trigger(QStringLiteral("removed"), QStringLiteral("DELETE"), QString(),
                       QStringLiteral("old"), rec.values(QStringLiteral("old")),
                       QStringLiteral("null")));
    return out;
}

void run(const QSqlDatabase& db, const QString& sql, const QVariantList& params = {}) {
    prepared(db, sql, params);
}

} // namespace

std::vector<schema::Column> columns() {
    const QString T = QStringLiteral("TEXT"), I = QStringLiteral("INTEGER");
    // The time as seconds since 1970 UTC: a number takes a third of the room of its text.
    return {{QStringLiteral("tw_when"), I},     {QStringLiteral("tw_who"), T},
            {QStringLiteral("tw_computer"), T}, {QStringLiteral("tw_table"), T},
            {QStringLiteral("tw_row"), I},      {QStringLiteral("tw_action"), T},
            {QStringLiteral("tw_project"), T},  {QStringLiteral("tw_bill"), T},
            {QStringLiteral("tw_frozen"), I},   {QStringLiteral("tw_before"), T},
            {QStringLiteral("tw_after"), T}};
}

std::vector<schema::Column> reportColumns() {
    std::vector<schema::Column> out;
    for (const char* name : {"tw_when", "tw_who", "tw_computer", "tw_table", "tw_row", "tw_action",
                             "tw_project", "tw_bill", "tw_frozen", "tw_figures"})
        out.push_back({QString::fromLatin1(name), QStringLiteral("TEXT")});
    return out;
}

bool cameWithHistory(const QString& name) {
    return name.compare(table, Qt::CaseInsensitive) == 0 ||
           name.compare(reportTable, Qt::CaseInsensitive) == 0;
}

const QStringList& recordedTables() {
    static const QStringList names = [] {
        QStringList n;
        for (const Recorded& r : recorded)
            n << QString::fromLatin1(r.name);
        return n;
    }();
    return names;
}

bool isRecorded(const QString& name) {
    return recordOf(name) || isSchedule(name);
}

void setUser(const QString& user) {
    userName() = user;
}

QString user() {
    if (!userName().isEmpty())
        return userName();
    if (const passwd* pw = ::getpwuid(::getuid()))
        return QString::fromLocal8Bit(pw->pw_name);
    return qEnvironmentVariable("USER");
}

QString computer() {
    return QSysInfo::machineHostName();
}

std::map<QString, QString> localObjects(const std::vector<schema::Table>& schedules) {
    std::map<QString, QString> out;
    out.emplace(actorTable,
                schema::createStatement(actorTable,
                                        {{QStringLiteral("tw_who"), QStringLiteral("TEXT")},
                                         {QStringLiteral("tw_computer"), QStringLiteral("TEXT")}}));
    for (const QString& action : {QStringLiteral("changed"), QStringLiteral("removed")}) {
        const QString name = QStringLiteral("history_kept_%1").arg(action);
        out.emplace(name, QStringLiteral("CREATE TRIGGER %1 BEFORE %2 ON history BEGIN SELECT "
                                         "RAISE(ABORT, 'The history of changes is kept as "
                                         "written: its rows cannot be changed or removed.'); END")
                              .arg(quoted(name), action == QLatin1String("changed")
                                                     ? QStringLiteral("UPDATE")
                                                     : QStringLiteral("DELETE")));
    }
    for (const QString& name : recordedTables())
        out.merge(tableTriggers(name, schema::programTable(name)->columns));
    for (const schema::Table& t : schedules)
        out.merge(tableTriggers(t.name, t.columns));
    return out;
}

QString ownerOf(const QString& object) {
    if (object == actorTable)
        return object;
    static const QRegularExpression re(QStringLiteral("^history_(.+)_(added|changed|removed)$"));
    const auto m = re.match(object);
    return !m.hasMatch()                            ? QString()
           : m.captured(1) == QLatin1String("kept") ? table
                                                    : m.captured(1);
}

void ensureLocal(QSqlDatabase db) {
    std::set<QString> present;
    std::vector<schema::Table> schedules;
    QSqlQuery objects = prepared(db, QStringLiteral("select type, name from sqlite_master"), {});
    std::vector<QString> scheduleNames;
    while (objects.next()) {
        const QString name = objects.value(1).toString();
        present.insert(name.toLower());
        if (objects.value(0).toString() == QLatin1String("table") && isSchedule(name))
            scheduleNames.push_back(name);
    }
    for (const QString& name : scheduleNames) {
        schema::Table t{name, {}};
        QSqlQuery cols =
            prepared(db, QStringLiteral("select name, type from pragma_table_info(?)"), {name});
        while (cols.next())
            t.columns.push_back({cols.value(0).toString(), cols.value(1).toString()});
        schedules.push_back(t);
    }
    for (const auto& [name, made] : {std::pair{table, columns()}, {reportTable, reportColumns()}})
        if (!present.count(name))
            run(db, schema::createStatement(name, made));
    for (const auto& [name, sql] : localObjects(schedules))
        if (!present.count(name.toLower()))
            run(db, sql);
}

std::vector<Entry> read(const ConClass& con, const Filter& filter) {
    QStringList where;
    QVariantList params;
    auto add = [&](const QString& condition, const QString& value) {
        if (value.isEmpty())
            return;
        where << condition;
        params << value;
    };
    add(QStringLiteral("tw_project = ?"), filter.project);
    add(QStringLiteral("tw_bill = ?"), filter.bill);
    add(QStringLiteral("tw_table = ?"), filter.table);
    const auto seconds = [](const QString& day, int after) {
        return day.isEmpty() ? QString()
                             : QString::number(QDate::fromString(day, Qt::ISODate)
                                                   .addDays(after)
                                                   .startOfDay(QTimeZone::utc())
                                                   .toSecsSinceEpoch());
    };
    add(QStringLiteral("tw_when >= ?"), seconds(filter.since, 0));
    add(QStringLiteral("tw_when < ?"), seconds(filter.until, 1));
    std::vector<Entry> out;
    for (const Row& r : con.keyed(table, where.join(QStringLiteral(" and ")), params)) {
        Entry e;
        e.id = r.id();
        e.when = QDateTime::fromSecsSinceEpoch(r.value(QStringLiteral("tw_when")).toLongLong(),
                                               QTimeZone::utc());
        e.who = r.text(QStringLiteral("tw_who"));
        e.computer = r.text(QStringLiteral("tw_computer"));
        e.table = r.text(QStringLiteral("tw_table"));
        e.row = r.value(QStringLiteral("tw_row")).toLongLong();
        e.action = r.text(QStringLiteral("tw_action"));
        e.project = r.text(QStringLiteral("tw_project"));
        e.bill = r.text(QStringLiteral("tw_bill"));
        e.frozen = r.value(QStringLiteral("tw_frozen")).toInt() != 0;
        e.before = r.text(QStringLiteral("tw_before"));
        e.after = r.text(QStringLiteral("tw_after"));
        out.push_back(std::move(e));
    }
    std::sort(out.begin(), out.end(), [](const Entry& a, const Entry& b) { return a.id > b.id; });
    return out;
}

namespace {

// One value of a JSON array of the history as text: a number as written, a text as it was, a
// value kept by its bytes decoded again.
QString valueText(const QJsonValue& v) {
    if (v.isNull() || v.isUndefined())
        return {};
    if (v.isObject())
        return QString::fromUtf8(
            QByteArray::fromHex(v.toObject().value(u"hex").toString().toLatin1()));
    if (v.isDouble())
        return QString::number(v.toDouble(), 'g', 15);
    return v.toString();
}

} // namespace

QString figures(const ConClass& con, const Entry& e) {
    const QJsonArray before = QJsonDocument::fromJson(e.before.toUtf8()).array();
    const QJsonArray after = QJsonDocument::fromJson(e.after.toUtf8()).array();
    const schema::Table* known = schema::programTable(e.table);
    QStringList names;
    if (known)
        for (const schema::Column& c : known->columns)
            names << c.name;
    else
        names = con.columns(e.table);
    QStringList out;
    const qsizetype n = std::max(before.size(), after.size());
    for (qsizetype i = 0; i < n; ++i) {
        const QString name = i < names.size() ? names[i] : QString::number(i + 1);
        const QString was = valueText(before.at(i)), is = valueText(after.at(i));
        if (e.action == QLatin1String("changed")) {
            if (before.at(i) != after.at(i))
                out << QStringLiteral("%1: %2 -> %3").arg(name, was, is);
        } else if (!(e.action == QLatin1String("added") ? is : was).isEmpty()) {
            out << QStringLiteral("%1=%2").arg(name, e.action == QLatin1String("added") ? is : was);
        }
    }
    return out.join(QStringLiteral("; "));
}

QStringList shown(const ConClass& con, const Entry& e) {
    return {e.when.toString(QStringLiteral("dd-MM-yyyy HH:mm:ss")),
            e.who.isEmpty() ? QStringLiteral("(another program)") : e.who,
            e.computer,
            e.table,
            QString::number(e.row),
            e.action,
            e.project,
            e.bill,
            e.frozen ? QStringLiteral("yes") : QString(),
            figures(con, e)};
}

FrozenChanges frozenChanges(const ConClass& con, const QString& project, const QString& bill) {
    // A line is one row of its table, however often it changed.
    const auto r = con.first(
        QStringLiteral("select count(*), max(latest) from (select max(tw_when) as latest from "
                       "history where tw_project = ? and tw_bill = ? and tw_frozen = 1 group by "
                       "tw_table, tw_row) as changed"),
        {project, bill});
    FrozenChanges out;
    out.lines = r ? r->value(0).toInt() : 0;
    if (out.lines > 0)
        out.last = QDateTime::fromSecsSinceEpoch(r->value(1).toLongLong(), QTimeZone::utc());
    return out;
}

namespace {

// Records one row of the table it is called for. Its arguments: the table's project and bill
// columns ('' when it has none, '#' for a project's schedule table, whose name holds the
// project's key), 'watched' for a bill's lines, and the table's name as the program spells it.
// Values are JSON arrays in column order, without the identity that stands in for the file's
// rowid; an update that changes no value (case included) is no change.
const QString recordBody = QStringLiteral(R"(
declare
  r json;
  project text;
  bill text;
  frozen bigint;
  before text;
  after text;
begin
  if tg_op = 'UPDATE' and row_to_json(new)::text = row_to_json(old)::text then
    return null;
  end if;
  if tg_op <> 'INSERT' then
    r := row_to_json(old);
    before := (select json_agg(e.value order by e.n)::text
                 from json_each(r) with ordinality as e(key, value, n) where e.key <> 'tw_row_id');
  end if;
  if tg_op <> 'DELETE' then
    r := row_to_json(new);
    after := (select json_agg(e.value order by e.n)::text
                from json_each(r) with ordinality as e(key, value, n) where e.key <> 'tw_row_id');
  end if;
  if tg_argv[0] = '#' then
    project := (select tw_contract_num from contractmaster
                 where tw_pkey = substr(tg_table_name, 5)::bigint limit 1);
  elsif tg_argv[0] <> '' then
    project := r->>tg_argv[0];
  end if;
  if tg_argv[1] <> '' then
    bill := r->>tg_argv[1];
  end if;
  if tg_argv[2] = 'watched' then
    frozen := case when exists (select 1 from billsraised where tw_contract_num = project
                                  and tw_bill_num = bill and tw_froze <> 0) then 1 else 0 end;
  end if;
  insert into history (tw_when, tw_who, tw_computer, tw_table, tw_row, tw_action, tw_project,
                       tw_bill, tw_frozen, tw_before, tw_after)
  values (extract(epoch from statement_timestamp())::bigint, session_user,
          current_setting('application_name'), tg_argv[3],
          coalesce(r->>'tw_row_id', r->>'tw_pkey', r->>'tw_recordkey')::bigint,
          case tg_op when 'INSERT' then 'added' when 'UPDATE' then 'changed' else 'removed' end,
          project, bill, frozen, before, after);
  return null;
end
)");

const QString keptBody = QStringLiteral(R"(
begin
  raise exception 'The history of changes is kept as written: its rows cannot be changed or removed.';
end
)");

// The trigger of a recorded table as the server prints it back, without its schema.
QString serverTrigger(const QString& table) {
    const Recorded* r = recordOf(table);
    const QString spelled = r ? QString::fromLatin1(r->name) : u'S' + table.mid(1);
    return QStringLiteral("CREATE TRIGGER history_%1 AFTER INSERT OR DELETE OR UPDATE ON %1 FOR "
                          "EACH ROW EXECUTE FUNCTION history_record('%2', '%3', '%4', '%5')")
        .arg(table.toLower(),
             r ? QString::fromLatin1(r->project ? r->project : "") : QStringLiteral("#"),
             QString::fromLatin1(r && r->bill ? r->bill : ""),
             r && r->watched ? QStringLiteral("watched") : QString(), spelled);
}

const QString keptRows = QStringLiteral(
    "CREATE TRIGGER history_kept BEFORE DELETE OR UPDATE ON history FOR EACH ROW EXECUTE FUNCTION "
    "history_kept()");
const QString keptTable = QStringLiteral(
    "CREATE TRIGGER history_kept_whole BEFORE TRUNCATE ON history FOR EACH STATEMENT EXECUTE "
    "FUNCTION history_kept()");

} // namespace

void ensureServer(const QSqlDatabase& db) {
    QSqlQuery schema = prepared(db, QStringLiteral("select quote_ident(current_schema())"), {});
    schema.next();
    const QString where = schema.value(0).toString();
    for (const auto& [name, body] : {std::pair{QStringLiteral("history_record"), recordBody},
                                     std::pair{QStringLiteral("history_kept"), keptBody}})
        run(db, QStringLiteral("create or replace function %1() returns trigger language plpgsql "
                               "security definer set search_path = %2 as $tw$%3$tw$")
                    .arg(name, where, body));
    // Nobody calls them but the triggers.
    run(db, QStringLiteral("revoke all on function history_record(), history_kept() from public"));
    QStringList tables;
    for (const QString& t : recordedTables())
        tables << t.toLower();
    QSqlQuery schedules = prepared(db,
                                   QStringLiteral("select relname from pg_class where relkind = "
                                                  "'r' and relnamespace = "
                                                  "current_schema()::regnamespace and relname ~ "
                                                  "'^sch_[0-9]+$'"),
                                   {});
    while (schedules.next())
        tables << schedules.value(0).toString();
    for (const QString& t : tables) {
        run(db, QStringLiteral("drop trigger if exists history_%1 on %1").arg(t));
        run(db, serverTrigger(t));
    }
    run(db, QStringLiteral("drop trigger if exists history_kept on history"));
    run(db, keptRows);
    run(db, QStringLiteral("drop trigger if exists history_kept_whole on history"));
    run(db, keptTable);
}

bool isServerObject(const QString& kind, const QString& name) {
    if (kind == QLatin1String("function"))
        return name == QLatin1String("history_record") || name == QLatin1String("history_kept");
    return kind == QLatin1String("trigger") && name.startsWith(QLatin1String("history_"));
}

QString serverObjectDiffers(const QString& kind, const QString& name, const QString& table,
                            const QString& definition) {
    QString expected;
    if (kind == QLatin1String("function"))
        expected = name == QLatin1String("history_record") ? recordBody : keptBody;
    else if (table == QLatin1String("history"))
        expected = name == QLatin1String("history_kept") ? keptRows : keptTable;
    else if (isRecorded(table) && name == QLatin1String("history_") + table)
        expected = serverTrigger(table);
    if (definition == expected && !expected.isEmpty())
        return {};
    return QStringLiteral("its %1 %2 is not as Tallywright makes it").arg(kind, name);
}

void nameWriter(const QSqlDatabase& db) {
    // The file's write lock first, as a write that touches no row takes it, waiting for another
    // writer: a transaction that read first could not wait for one.
    run(db, QStringLiteral("update main.history_actor set tw_who = tw_who where 0"));
    run(db, QStringLiteral("delete from temp.tw_writer"));
    run(db, QStringLiteral("insert into temp.tw_writer (tw_who, tw_computer) values (?, ?)"),
        {user(), computer()});
}

void clearWriter(const QSqlDatabase& db) {
    // Even a delete that finds no row would write the file.
    if (prepared(db, QStringLiteral("select 1 from main.history_actor"), {}).next())
        run(db, QStringLiteral("delete from main.history_actor"));
}

void watchLocal(const QSqlDatabase& db) {
    run(db, QStringLiteral("create temp table if not exists tw_writer (tw_who TEXT, tw_computer "
                           "TEXT)"));
    QStringList names;
    QSqlQuery tables = prepared(
        db, QStringLiteral("select name from main.sqlite_master where type = 'table'"), {});
    while (tables.next())
        if (isRecorded(tables.value(0).toString()))
            names << tables.value(0).toString();
    // Unqualified names in a temporary trigger are found in the connection's temporary tables
    // first, then in the file.
    for (const QString& name : names)
        for (const char* event : {"INSERT", "UPDATE", "DELETE"})
            run(db, QStringLiteral("create temp trigger if not exists %1 before %2 on %3 begin "
                                   "insert into %4 select tw_who, tw_computer from tw_writer "
                                   "where not exists (select 1 from %4); end")
                        .arg(quoted(QStringLiteral("tw_writer_%1_%2").arg(name, event)),
                             QLatin1String(event), quoted(name), actorTable));
}

QString addedRowsStatement(const QString& name, const QStringList& plain) {
    const schema::Table* t = recordOf(name) ? schema::programTable(name) : nullptr;
    if (!t)
        return {};
    const Recorder rec(name, t->columns);
    return QStringLiteral("INSERT INTO history (%1) SELECT %2 FROM main.%3 AS new WHERE new.rowid "
                          "> ? ORDER BY new.rowid")
        .arg(historyColumns,
             rec.record(QStringLiteral("added"), QStringLiteral("new"), QStringLiteral("null"),
                        rec.quickValues(QStringLiteral("new"), plain)),
             quoted(rec.spelled()));
}

QString claimActorStatement() {
    return QStringLiteral("insert into main.%1 select tw_who, tw_computer from temp.tw_writer "
                          "where not exists (select 1 from main.%1)")
        .arg(actorTable);
}

} // namespace tw::history
