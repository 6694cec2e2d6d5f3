#include "store/schema.h"

#include "store/history.h"
#include "store/sqlitefile.h"
#include "store/store.h"
#include "values/values.h"

#include <QDir>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <set>

namespace tw::schema {
namespace {

// Declared types: text and date-text are TEXT; "digits" columns are
// TEXT because a 25-digit phone number does not fit a number; numbers are REAL; yes/no is an
// INTEGER 0 or 1; money held as currency is REAL with four decimals.
const QString T = QStringLiteral("TEXT");
const QString N = QStringLiteral("REAL");
const QString I = QStringLiteral("INTEGER");
const QString B = QStringLiteral("INTEGER"); // yes/no
const QString Any = QString();               // no declared type: values kept as given

std::vector<Column> cols(std::initializer_list<std::pair<const char*, QString>> list) {
    std::vector<Column> out;
    for (const auto& [name, type] : list)
        out.push_back({QString::fromLatin1(name), type});
    return out;
}

// The ten material slots of a category row: name, quantity and rate of each.
std::vector<Column> categoryColumns() {
    auto c = cols({{"tw_category_name", T},
                   {"tw_description", T},
                   {"tw_measure_type", T},
                   {"tw_unit", T},
                   {"tw_unit_lable", T},
                   {"tw_rate", N},
                   {"tw_deductions", N}});
    for (int i = 1; i <= 10; ++i) {
        c.push_back({QStringLiteral("tw_matl%1").arg(i), T});
        c.push_back({QStringLiteral("tw_matl%1_qty").arg(i), N});
        c.push_back({QStringLiteral("tw_matl%1_rate").arg(i), N});
    }
    return c;
}

std::vector<Column> abstractColumns(bool withProject) {
    std::vector<Column> c;
    if (withProject)
        c = cols({{"tw_contract_num", T}, {"tw_bill_num", T}});
    auto rest = cols({{"tw_schno", T},
                      {"tw_sch_desc", T},
                      {"tw_unit", T},
                      {"tw_unit_desc", T},
                      {"tw_rate", N},
                      {"tw_prev_qty", N},
                      {"tw_now_qty", N},
                      {"tw_tot_qty", N},
                      {"tw_prev_amt", N},
                      {"tw_now_amt", N},
                      {"tw_tot_amt", N},
                      {"tw_dedn", T},
                      {"tw_dedn_desc", T}});
    c.insert(c.end(), rest.begin(), rest.end());
    return c;
}

// The detailed estimate rows. Positions 21 to 24 and 28 to 32 are read by position, so the
// order below is part of the format.
std::vector<Column> estimationColumns() {
    return cols({{"tw_recordkey", I}, // 0: group number
                 {"tw_bill_num", T},
                 {"tw_sch_num", T},
                 {"tw_contract_num", T},
                 {"tw_item_desc", T},
                 {"tw_unit", T},
                 {"tw_itemrate", N},
                 {"tw_dim1", N},
                 {"tw_dim1_inches", I},
                 {"tw_dim2", N},
                 {"tw_dim2_inches", I},
                 {"tw_dim3", N},
                 {"tw_dim3_inches", I},
                 {"tw_dim4", N},
                 {"tw_dim4_inches", I},
                 {"tw_deduction", B},
                 {"tw_quantity", N},
                 {"tw_cal_Area", N},
                 {"tw_units", T},
                 {"Shape", T},
                 {"units_label", T},
                 {"test", T},   // 21
                 {"Damt", N},   // 22
                 {"ndamt", N},  // 23
                 {"netqty", N}, // 24: currency
                 {"tw_item_narration", T},
                 {"inr", I},
                 {"tw_item_narration_d", T},
                 {"net_amt", N}, // 28
                 // The shares hold a figure as printed ("75.") or the number 0, so the column
                 // keeps what it is given.
                 {"ewp_amt", Any}, // 29
                 {"wws_amt", Any}, // 30
                 {"ewp_pct", N},   // 31
                 {"wws_pct", N},   // 32
                 {"inr_d", I},
                 {"prev_bill_qty", N},
                 {"prev_bill_amt", N},
                 {"prev_bill_qty1", N}});
}

std::vector<Table> makeTables() {
    std::vector<Table> t;
    t.push_back({"ContractMaster", cols({{"tw_pkey", "INTEGER PRIMARY KEY AUTOINCREMENT"},
                                         {"tw_contract_num", T},
                                         {"tw_contract_name", T},
                                         {"tw_client_ref", T},
                                         {"tw_client_ref_date", T},
                                         {"tw_start_date", T},
                                         {"tw_end_date", T},
                                         {"tw_tax_rate", N},
                                         {"tw_units", T},
                                         {"tw_Client_Name", T},
                                         {"tw_client_contact", T},
                                         {"tw_Client_adline1", T},
                                         {"tw_Client_adline2", T},
                                         {"tw_Client_city", T},
                                         {"tw_Client_Pin", T},
                                         {"tw_Client_phone1", T},
                                         {"tw_Client_phone2", T},
                                         {"tw_Client_Mobile", T},
                                         {"tw_Client_email", T},
                                         {"tw_Client_url", T}})});
    t.push_back({"Sch_master", cols({{"tw_contract_num", T},
                                     {"tw_sch_num", T},
                                     {"tw_item_desc", T},
                                     {"tw_item_rate", N},
                                     {"tw_unit", T},
                                     {"tw_category_name", T},
                                     {"tw_unit_lable", T},
                                     {"tw_volarea", T},
                                     {"tw_deduction", N}})});
    t.push_back({"BillMaster", cols({{"tw_recordkey", "INTEGER PRIMARY KEY AUTOINCREMENT"},
                                     {"tw_contract_num", T},
                                     {"tw_bill_num", T},
                                     {"tw_sch_num", T},
                                     {"tw_item_narration", T},
                                     {"tw_dim1", N},
                                     {"tw_dim2", N},
                                     {"tw_dim3", N},
                                     {"tw_dim4", N},
                                     {"tw_dim1_inches", I},
                                     {"tw_dim2_inches", I},
                                     {"tw_dim3_inches", I},
                                     {"tw_dim4_inches", I},
                                     {"tw_cal_Area", N},
                                     {"tw_Shape", T},
                                     {"tw_deduction", B},
                                     {"tw_category_name", T},
                                     {"tw_quantity", N},
                                     {"tw_bill_amount", N}})});
    t.push_back({"Reinforcementmaster", cols({{"tw_contract_num", T},
                                              {"tw_bill_num", T},
                                              {"tw_narration", T},
                                              {"tw_diameter", T},
                                              {"tw_length_qty", N},
                                              {"tw_length_ft", N},
                                              {"tw_length_inches", N},
                                              {"tw_remarks", T}})});
    t.push_back({"Materials", cols({{"tw_mat_desc", T}, {"tw_rate", N}, {"tw_unitlbl", T}})});
    t.push_back({"CategoryList_Feet", categoryColumns()});
    t.push_back({"CategoryList_Meter", categoryColumns()});
    t.push_back({"costitems", cols({{"tw_cost_item", T}, {"tw_unit_rate", N}})});
    t.push_back({"payment_rec", cols({{"tw_contract_num", T},
                                      {"tw_bill_num", T},
                                      {"tw_recpt_num", T},
                                      {"tw_recpt_date", T},
                                      {"tw_netamt", N},
                                      {"tw_recamt", N},
                                      {"tw_tdsamt", N},
                                      {"tw_pay_type", T},
                                      {"tw_bank_name", T},
                                      {"tw_branch_name", T},
                                      {"tw_chkno", T},
                                      {"tw_chkdt", T}})});
    t.push_back({"billsraised", cols({{"tw_contract_num", T},
                                      {"tw_bill_num", T},
                                      {"tw_bill_dt", T},
                                      {"tw_bill_amount", N},
                                      {"tw_dedn_amount", N},
                                      {"tw_tds_amount", N},
                                      {"tw_froze", B}})});
    t.push_back({"abstractbills", abstractColumns(true)});
    t.push_back({"absbl_dedns", cols({{"tw_cont_num", T},
                                      {"tw_bill_num", T},
                                      {"tw_item_desc", T},
                                      {"tw_qty", N},
                                      {"tw_lbl", T},
                                      {"tw_rate", N},
                                      {"tw_amount", N}})});
    t.push_back({"abstractbillrep", abstractColumns(false)});
    t.push_back({"dummy_estimation", estimationColumns()});
    t.push_back({"prev_dummy_estimation", estimationColumns()});
    {
        auto c = cols({{"tw_bill_num", T},
                       {"tw_contract_num", T},
                       {"tw_bill_amount", N},
                       {"tw_gross_amount", N}, // 3
                       {"tw_total_dedn", N}}); // 4
        for (int i = 1; i <= 5; ++i) {
            c.push_back({QStringLiteral("tw_dedn%1_desc").arg(i), T});
            c.push_back({QStringLiteral("tw_dedn%1_pct").arg(i), N});
            c.push_back({QStringLiteral("tw_dedn%1_amt").arg(i), N});
        }
        t.push_back({"dummy_ded_det", c});
    }
    t.push_back({"dummy_sch_report", cols({{"tw_contract_num", T},
                                           {"tw_sch_num", T},
                                           {"tw_item_desc", T},
                                           {"tw_item_rate", N},
                                           {"tw_units", T},
                                           {"tw_unit_lable", T}})});
    t.push_back({"dummy_reinforcement_report", cols({{"tw_contract_num", T},
                                                     {"tw_bill_num", T},
                                                     {"tw_narration", T},
                                                     {"tw_diameter", T},
                                                     {"tw_length_ft", N},
                                                     {"tw_length_inches", N},
                                                     {"tw_length_qty", N},
                                                     {"tw_remarks", T},
                                                     {"tw_total_length", N},
                                                     {"tw_units", T},
                                                     {"tw_weight_per_unit", N}})});
    t.push_back({"billsraisedreport", cols({{"tw_contract_num", T},
                                            {"tw_contract_name", T},
                                            {"tw_bill_num", T},
                                            {"tw_bill_date", T},
                                            {"tw_netamt", N},
                                            {"tw_recamt", N},
                                            {"tw_tdsamt", N},
                                            {"tw_pmnt", I}})});
    t.push_back({"units", cols({{"units", T}})});
    t.push_back({"volarea", cols({{"tw_volarea", T}, {"tw_label", T}})});
    t.push_back({"unitlbls", cols({{"tw_unit_lbl", T}})});
    t.push_back({"shapes", cols({{"tw_shape", T},
                                 {"tw_dim1_label", T},
                                 {"tw_dim2_label", T},
                                 {"tw_dim3_label", T},
                                 {"tw_dim4_label", T},
                                 {"tw_bill_label", T}})});
    t.push_back({"diameter", cols({{"tw_diameter", T}})});
    t.push_back({"rnfweights", cols({{"tw_Diameter", T}, {"tw_mt_wt", N}, {"tw_ft_wt", N}})});
    t.push_back({history::reportTable, history::reportColumns()});
    // Last, so that a copy of the books carries it after every row it tells of.
    t.push_back({history::table, history::columns()});
    return t;
}

void run(QSqlDatabase db, const QString& sql, const QVariantList& params = {}) {
    prepared(db, sql, params);
}

void insertRows(QSqlDatabase db, const QString& table, int columns,
                const std::vector<QVariantList>& rows) {
    QStringList marks;
    for (int i = 0; i < columns; ++i)
        marks << QStringLiteral("?");
    const QString sql =
        QStringLiteral("insert into %1 values (%2)").arg(table, marks.join(QLatin1Char(',')));
    for (const auto& r : rows)
        run(db, sql, r);
}

// A label column left empty switches that dimension off on the measurement screen, so each
// row asks for exactly the dimensions its formula uses. The bill label is the unit printed
// beside the line; the reports put the system's word in front ("S ft", "Cu Mt").
void seedShapes(QSqlDatabase db) {
    const QVariant none = QString();
    auto row = [&](const char* shape, const char* d1, const char* d2, const char* d3,
                   const char* d4, const char* bill) {
        auto v = [&](const char* s) { return *s ? QVariant(QString::fromLatin1(s)) : none; };
        return QVariantList{QString::fromLatin1(shape), v(d1), v(d2), v(d3), v(d4),
                            QString::fromLatin1(bill)};
    };
    insertRows(db, QStringLiteral("shapes"), 6,
               {
                   row("rectangle_area", "Length", "Breadth", "", "", "Sq"),
                   row("rectangle_volume", "Length", "Breadth", "Depth", "", "Cu"),
                   row("cuboid_volume", "Length", "Breadth", "Height", "", "Cu"),
                   row("linear", "Length", "", "", "", "R"),
                   row("Count", "Number", "", "", "", "Nos"),
                   row("lumpsum", "Amount", "", "", "", "LS"),
                   row("triangle_area", "Side A", "Side B", "Side C", "", "Sq"),
                   row("trapezium_area", "Side A", "Side B", "Height", "", "Sq"),
                   row("trapezium_volume", "Side A", "Side B", "Height", "Depth", "Cu"),
                   row("parallelogram_area", "Base", "Height", "", "", "Sq"),
                   row("parallelogram_volume", "Base", "Height", "Depth", "", "Cu"),
                   row("rhombus_ (diamond)_area", "Diagonal 1", "Diagonal 2", "", "", "Sq"),
                   row("rhombus_ (diamond)_volume", "Diagonal 1", "Diagonal 2", "Height", "", "Cu"),
                   row("CIRCLE_AREA", "Diameter", "", "", "", "Sq"),
                   row("CIRCULAR_RING_AREA", "Outer Dia", "Inner Dia", "", "", "Sq"),
                   row("cylinder_lateral_area", "Diameter", "Height", "", "", "Sq"),
                   row("cylinder_volume", "Diameter", "Height", "", "", "Cu"),
                   row("cylindrical_ring_volume", "Outer Dia", "Inner Dia", "Height", "", "Cu"),
                   row("CONE_LATERAL_AREA", "Base Dia", "Slant Height", "", "", "Sq"),
                   row("cone_volume", "Base Dia", "Height", "", "", "Cu"),
                   row("sphere_area", "Diameter", "", "", "", "Sq"),
                   row("sphere_volume", "Diameter", "", "", "", "Cu"),
                   row("ellipse_area", "Major Axis", "Minor Axis", "", "", "Sq"),
                   row("ellipse_volume", "Major Axis", "Minor Axis", "Height", "", "Cu"),
                   row("hexagon_area", "Side", "", "", "", "Sq"),
                   row("hexagon_volume", "Side", "Height", "", "", "Cu"),
                   row("octagon_area", "Side", "", "", "", "Sq"),
                   row("octagon_volume", "Side", "Height", "", "", "Cu"),
                   row("regular_polygon_area", "", "", "", "", "Sq"),
                   row("regular_polygon_volume", "", "", "", "", "Cu"),
               });
}

} // namespace

void seed(QSqlDatabase db) {
    auto list = [&](const QString& table, const QStringList& words) {
        std::vector<QVariantList> rows;
        for (const auto& w : words)
            rows.push_back({w});
        insertRows(db, table, 1, rows);
    };
    // Rates are quoted per 1, 10, 100 ... units of an item.
    list(QStringLiteral("units"), {QStringLiteral("1"), QStringLiteral("10"), QStringLiteral("100"),
                                   QStringLiteral("1000")});
    insertRows(db, QStringLiteral("volarea"), 2,
               {{QStringLiteral("Area"), QStringLiteral("S ")},
                {QStringLiteral("Volume"), QStringLiteral("Cu ")},
                {QStringLiteral("Count"), QStringLiteral("Nos ")},
                {QStringLiteral("Linear"), QStringLiteral("R ")},
                {QStringLiteral("Set"), QStringLiteral("Sets")},
                {QStringLiteral("Lumpsum"), QStringLiteral("Lumpsum")}});
    list(QStringLiteral("unitlbls"),
         {QStringLiteral("Nos"), QStringLiteral("Kg"), QStringLiteral("Tonne"),
          QStringLiteral("Bag"), QStringLiteral("Litre"), QStringLiteral("Cu Mt"),
          QStringLiteral("Cu ft"), QStringLiteral("S Mt"), QStringLiteral("S ft"),
          QStringLiteral("R Mt"), QStringLiteral("R ft"), QStringLiteral("Day"),
          QStringLiteral("Trip"), QStringLiteral("Sets"), QStringLiteral("Lumpsum")});
    seedShapes(db);
    // Bar diameters in millimetres as stocked; the weight table is read with the leading
    // number of the text, so "8 mm" and "8" find the same row.
    const QList<int> dias{6, 8, 10, 12, 16, 20, 25, 28, 32, 36, 40};
    QStringList diaText;
    std::vector<QVariantList> weights;
    for (int d : dias) {
        // The list offers plain numbers: a line stores the numeric value of the size, and a line
        // taken back for editing must find its size already known, spelt the same way.
        diaText << QString::number(d);
        // Nominal mass of a round bar of steel at 7850 kg per cubic metre: d^2 / 162.2 kg
        // per metre, printed to three places as the bar tables give it.
        const double perMetre = roundHalfEven(double(d) * d / 162.2, 3);
        const double perFoot = roundHalfEven(perMetre * 0.3048, 3);
        weights.push_back({QStringLiteral("%1 mm").arg(d), perMetre, perFoot});
    }
    list(QStringLiteral("diameter"), diaText);
    insertRows(db, QStringLiteral("rnfweights"), 3, weights);
    // The deduction summary is only ever updated, so its one working row comes with the file.
    run(db, QStringLiteral("insert into dummy_ded_det (tw_bill_num) values (?)"),
        {QStringLiteral(" ")});
}

namespace {

// A column definition. Text compares without regard to case everywhere in the store, so every
// text column carries that collation: "a-1" finds "A-1" in any query, join or index.
QString definition(const QString& name, const QString& type) {
    QString def = QStringLiteral("\"%1\" %2").arg(name, type);
    if (type.compare(T, Qt::CaseInsensitive) == 0)
        def += QStringLiteral(" COLLATE NOCASE");
    return def;
}

} // namespace

QString createStatement(const QString& name, const std::vector<Column>& columns, bool temporary) {
    QStringList defs;
    for (const auto& c : columns)
        defs << definition(c.name, c.type);
    return QStringLiteral("create %1table \"%2\" (%3)")
        .arg(temporary ? QStringLiteral("temp ") : QString(), name, defs.join(u", "));
}

namespace {

void create(QSqlDatabase db) {
    for (const auto& table : tables())
        run(db, createStatement(table.name, table.columns));
    seed(db);
    history::ensureLocal(db);
}

// The program's indexes the file lacks.
std::vector<const Index*> missingIndexes(QSqlDatabase db) {
    std::vector<const Index*> missing;
    for (const Index& i : indexes()) {
        QSqlQuery q = prepared(db,
                               QStringLiteral("select 1 from sqlite_master where type='index' and "
                                              "name=? collate nocase"),
                               {i.name});
        if (!q.next())
            missing.push_back(&i);
    }
    return missing;
}

int scalar(QSqlDatabase db, const QString& sql) {
    QSqlQuery q = prepared(db, sql, {});
    return q.next() ? q.value(0).toInt() : 0;
}

// Files of the first format compared text by case. Each table, the per-project ones too, is
// made again with the same columns in the same order, its text columns folding case, and its
// rows copied with their identities.
void foldTextColumns(QSqlDatabase db) {
    const auto ident = [](QString n) {
        return u'"' + n.replace(u'"', QStringLiteral("\"\"")) + u'"';
    };
    QStringList names;
    QSqlQuery list = prepared(db,
                              QStringLiteral("select name from sqlite_master where type='table' "
                                             "and name not like 'sqlite\\_%' escape '\\'"),
                              {});
    while (list.next())
        names << list.value(0).toString();
    for (const QString& name : names) {
        // A table of the program takes its columns' current types; a per-project table keeps
        // the types it was made with.
        const auto known = std::find_if(tables().begin(), tables().end(), [&](const Table& t) {
            return t.name.compare(name, Qt::CaseInsensitive) == 0;
        });
        QStringList defs, columns;
        QSqlQuery info =
            prepared(db, QStringLiteral("select name, type from pragma_table_info(?)"), {name});
        for (std::size_t i = 0; info.next(); ++i) {
            const QString column = info.value(0).toString();
            const bool same = known != tables().end() && i < known->columns.size() &&
                              known->columns[i].name.compare(column, Qt::CaseInsensitive) == 0;
            defs << definition(column, same ? known->columns[i].type : info.value(1).toString());
            columns << ident(column);
        }
        const QString tmp = ident(QStringLiteral("tw_fold_") + name);
        run(db, QStringLiteral("create table %1 (%2)").arg(tmp, defs.join(u", ")));
        run(db, QStringLiteral("insert into %1 (rowid, %2) select rowid, %2 from %3")
                    .arg(tmp, columns.join(u", "), ident(name)));
        run(db, QStringLiteral("drop table %1").arg(ident(name)));
        run(db, QStringLiteral("alter table %1 rename to %2").arg(tmp, ident(name)));
    }
}

} // namespace

const std::vector<Table>& tables() {
    static const std::vector<Table> all = makeTables();
    return all;
}

const std::vector<Index>& indexes() {
    // A project's lines in the order they were entered, without sorting them; a bill's lines.
    static const std::vector<Index> all{
        {QStringLiteral("tw_billmaster_project"),
         QStringLiteral("BillMaster"),
         {QStringLiteral("tw_contract_num")}},
        {QStringLiteral("tw_billmaster_bill"),
         QStringLiteral("BillMaster"),
         {QStringLiteral("tw_contract_num"), QStringLiteral("tw_bill_num")}},
        {QStringLiteral("tw_sch_master_item"),
         QStringLiteral("Sch_master"),
         {QStringLiteral("tw_contract_num"), QStringLiteral("tw_sch_num")}},
        {QStringLiteral("tw_reinforcementmaster_bill"),
         QStringLiteral("Reinforcementmaster"),
         {QStringLiteral("tw_contract_num"), QStringLiteral("tw_bill_num")}},
        // Whether a bill is frozen, asked by the history for every measurement and deduction
        // line it records.
        {QStringLiteral("tw_billsraised_bill"),
         QStringLiteral("billsraised"),
         {QStringLiteral("tw_contract_num"), QStringLiteral("tw_bill_num")}},
    };
    return all;
}

QString indexStatement(const Index& index) {
    QStringList columns;
    for (const QString& c : index.columns)
        columns << u'"' + c + u'"';
    return QStringLiteral("CREATE INDEX \"%1\" ON \"%2\" (%3)")
        .arg(index.name, index.table, columns.join(QStringLiteral(", ")));
}

const Table* programTable(const QString& name) {
    for (const Table& t : tables())
        if (t.name.compare(name, Qt::CaseInsensitive) == 0)
            return &t;
    return nullptr;
}

bool isProjectTable(const QString& name) {
    static const QRegularExpression re(QStringLiteral("^(sch_|bl_|rnf_)?[0-9]+$"),
                                       QRegularExpression::CaseInsensitiveOption);
    return re.match(name).hasMatch();
}

QString newerVersion(const QString& path, int version) {
    return QStringLiteral("The database %1 was written by a newer version of Tallywright (format "
                          "%2; this program reads up to %3).")
        .arg(QDir::toNativeSeparators(path))
        .arg(version)
        .arg(currentVersion);
}

namespace {

// Columns as the program made them in an older format: the names in their order, with no
// default, no NOT NULL and nothing computed (a default would change what a saved line means).
bool olderColumnsMatch(const sqlite::Handle& h, const QString& name, const Table& t) {
    const auto cols = h.rows(
        QStringLiteral("select name, hidden, \"notnull\", dflt_value from pragma_table_xinfo(?)"),
        {name});
    if (cols.size() != t.columns.size())
        return false;
    for (std::size_t i = 0; i < cols.size(); ++i)
        if (cols[i][0].compare(t.columns[i].name, Qt::CaseInsensitive) != 0 ||
            cols[i][1] != QLatin1String("0") || cols[i][2] != QLatin1String("0") ||
            !cols[i][3].isNull())
            return false;
    return true;
}

// A plain table: not virtual or strict, with a rowid (rows are found by it) and no computed
// column.
bool plainTable(const sqlite::Handle& h, const QString& name) {
    const auto kind = h.rows(QStringLiteral("select type, wr, strict from pragma_table_list "
                                            "where schema='main' and name=?"),
                             {name});
    const auto computed =
        h.rows(QStringLiteral("select 1 from pragma_table_xinfo(?) where hidden<>0"), {name});
    return kind.size() == 1 && kind[0] == QStringList{"table", "0", "0"} && computed.empty();
}

// What in the file the program does not make, or empty when there is nothing.
QString foreignObject(const sqlite::Handle& h, const std::vector<QStringList>& objects,
                      int version) {
    std::set<const Table*> found;
    // The history's triggers stand on the recorded tables, a project's schedule table's on its
    // columns as the file has them.
    std::vector<Table> schedules;
    for (const QStringList& o : objects)
        if (o[0] == QLatin1String("table") && isProjectTable(o[1]) &&
            o[1].startsWith(QLatin1String("sch_"), Qt::CaseInsensitive)) {
            Table t{o[1], {}};
            for (const QStringList& c :
                 h.rows(QStringLiteral("select name, type from pragma_table_info(?)"), {o[1]}))
                t.columns.push_back({c[0], c[1]});
            schedules.push_back(t);
        }
    const auto historyObjects =
        version >= 3 ? history::localObjects(schedules) : std::map<QString, QString>();
    auto allowedTable = [](const QString& name) {
        return programTable(name) || isProjectTable(name) ||
               name == QLatin1String("sqlite_sequence");
    };
    for (const QStringList& o : objects) {
        const QString &type = o[0], &name = o[1], &table = o[2], &sql = o[3];
        if (type == QLatin1String("index")) {
            // An index SQLite made for a table's key or unique column has no statement.
            if (sql.isNull() && allowedTable(table))
                continue;
            const auto ours = std::find_if(indexes().begin(), indexes().end(), [&](const Index& i) {
                return i.name.compare(name, Qt::CaseInsensitive) == 0 &&
                       sql.compare(indexStatement(i), Qt::CaseInsensitive) == 0;
            });
            if (ours != indexes().end())
                continue;
            return QStringLiteral("it holds an index %1").arg(name);
        }
        if (const auto kept = historyObjects.find(name); kept != historyObjects.end()) {
            if (sql.compare(kept->second, Qt::CaseInsensitive) != 0)
                return QStringLiteral("its %1 %2 is not as Tallywright makes it").arg(type, name);
            continue;
        }
        if (type != QLatin1String("table"))
            return QStringLiteral("it holds a %1 %2").arg(type, name);
        if (name == QLatin1String("sqlite_sequence"))
            continue;
        if (const Table* t = programTable(name)) {
            const bool same =
                version == currentVersion
                    ? sql.compare(createStatement(name, t->columns), Qt::CaseInsensitive) == 0
                    : olderColumnsMatch(h, name, *t);
            if (!same)
                return QStringLiteral("its table %1 is not as Tallywright makes it").arg(name);
            found.insert(t);
        } else if (!isProjectTable(name)) {
            return QStringLiteral("it holds a table %1").arg(name);
        } else if (!plainTable(h, name)) {
            return QStringLiteral("its table %1 is not as Tallywright makes it").arg(name);
        }
    }
    for (const Table& t : tables())
        if (!found.count(&t) && (version >= 3 || !history::cameWithHistory(t.name)))
            return QStringLiteral("it has no table %1").arg(t.name);
    return {};
}

} // namespace

void inspect(const QString& path, bool emptyIsNew) {
    sqlite::Handle h;
    h.inspect(path);
    inspect(h, emptyIsNew);
}

void inspect(const sqlite::Handle& h, bool emptyIsNew) {
    const int version = h.scalar(QStringLiteral("pragma user_version")).toInt();
    if (version > currentVersion)
        throw Error(newerVersion(h.path(), version));
    const auto objects =
        h.rows(QStringLiteral("select type, name, tbl_name, sql from sqlite_master"));
    const QString file = QDir::toNativeSeparators(h.path());
    if (version == 0) {
        if (objects.empty() && emptyIsNew)
            return;
        throw Error(QStringLiteral("The file %1 is not a Tallywright database.").arg(file));
    }
    const QString why = foreignObject(h, objects, version);
    if (!why.isEmpty())
        throw Error(
            QStringLiteral("The file %1 is not a Tallywright database: %2.").arg(file, why));
}

void ensure(QSqlDatabase db) {
    const int version = scalar(db, QStringLiteral("pragma user_version"));
    if (version > currentVersion)
        throw Error(newerVersion(db.databaseName(), version));
    if (version == currentVersion && missingIndexes(db).empty()) {
        // A schedule table made by another program gets its triggers now.
        history::ensureLocal(db);
        return;
    }
    if (!db.transaction())
        throw Error(db.lastError().text());
    try {
        if (version == 0)
            create(db);
        else if (version < 2) {
            foldTextColumns(db);
            run(db, QStringLiteral("update diameter set tw_diameter = substr(tw_diameter, 1, "
                                   "length(tw_diameter) - 3) where tw_diameter like '% mm'"));
        }
        history::ensureLocal(db);
        // A file made before the program kept these indexes gets them.
        for (const Index* i : missingIndexes(db))
            run(db, indexStatement(*i));
        if (version != currentVersion)
            run(db, QStringLiteral("pragma user_version = %1").arg(currentVersion));
    } catch (...) {
        db.rollback();
        throw;
    }
    if (!db.commit())
        throw Error(db.lastError().text());
}

} // namespace tw::schema
