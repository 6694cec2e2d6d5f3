#include "store/schema.h"
#include "store/store.h"
#include "support/fixtures.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>

using twtest::AppFolderTest;

namespace {

QStringList columnsOf(const tw::ConClass& con, const QString& table) {
    QStringList names;
    for (const auto& r : con.rows(QStringLiteral("select name from pragma_table_info(?)"), {table}))
        names << r.text(0);
    return names;
}

int count(const tw::ConClass& con, const QString& table) {
    return con.first(QStringLiteral("select count(*) from \"%1\"").arg(table))->value(0).toInt();
}

} // namespace

class StoreTest : public AppFolderTest {};

TEST_F(StoreTest, NewDatabaseHasEveryTableWithItsColumnsInOrder) {
    EXPECT_TRUE(QFile::exists(folder() + QStringLiteral("/Tallywright.db")));
    for (const auto& table : tw::schema::tables()) {
        QStringList expected;
        for (const auto& c : table.columns)
            expected << c.name;
        EXPECT_EQ(columnsOf(db(), table.name), expected) << table.name.toStdString();
    }
    // Columns that other code reads by position.
    const auto est = columnsOf(db(), QStringLiteral("dummy_estimation"));
    EXPECT_EQ(est.count(QStringLiteral("tw_itemrate")), 1);
    EXPECT_EQ(est.indexOf(QStringLiteral("tw_itemrate")), 6);
    const std::pair<int, const char*> at[] = {
        {0, "tw_recordkey"}, {21, "test"},    {22, "Damt"},    {23, "ndamt"},   {24, "netqty"},
        {28, "net_amt"},     {29, "ewp_amt"}, {30, "wws_amt"}, {31, "ewp_pct"}, {32, "wws_pct"}};
    for (const auto& [pos, name] : at)
        EXPECT_EQ(est.value(pos), QString::fromLatin1(name)) << pos;
    const auto cat = columnsOf(db(), QStringLiteral("CategoryList_Meter"));
    EXPECT_EQ(cat.indexOf(QStringLiteral("tw_matl1")), 7);
    EXPECT_EQ(cat.indexOf(QStringLiteral("tw_matl10_rate")), 36);
    EXPECT_EQ(columnsOf(db(), QStringLiteral("Sch_master")).value(5),
              QStringLiteral("tw_category_name"));
    EXPECT_EQ(columnsOf(db(), QStringLiteral("BillMaster")).value(3), QStringLiteral("tw_sch_num"));
    EXPECT_EQ(columnsOf(db(), QStringLiteral("ContractMaster")).value(0),
              QStringLiteral("tw_pkey"));
}

TEST_F(StoreTest, SeedRows) {
    // The six types of measure with the front part of their unit labels.
    std::map<QString, QString> labels;
    for (const auto& r : db().rows(QStringLiteral("select tw_volarea, tw_label from volarea")))
        labels[r.text(0)] = r.text(1);
    EXPECT_EQ(labels.size(), 6u);
    EXPECT_EQ(labels[QStringLiteral("Area")], QStringLiteral("S "));
    EXPECT_EQ(labels[QStringLiteral("Volume")], QStringLiteral("Cu "));
    EXPECT_EQ(labels[QStringLiteral("Count")], QStringLiteral("Nos "));
    EXPECT_EQ(labels[QStringLiteral("Linear")], QStringLiteral("R "));
    EXPECT_TRUE(labels.count(QStringLiteral("Set")) && labels.count(QStringLiteral("Lumpsum")));

    EXPECT_GT(count(db(), QStringLiteral("units")), 0);
    EXPECT_GT(count(db(), QStringLiteral("unitlbls")), 0);
    EXPECT_EQ(count(db(), QStringLiteral("dummy_ded_det")), 1);

    // One row a formula name; each asks for exactly the dimensions its formula uses.
    const std::map<QString, int> dims{{"CIRCLE_AREA", 1},
                                      {"CIRCULAR_RING_AREA", 2},
                                      {"CONE_LATERAL_AREA", 2},
                                      {"cone_volume", 2},
                                      {"Count", 1},
                                      {"cuboid_volume", 3},
                                      {"cylinder_lateral_area", 2},
                                      {"cylinder_volume", 2},
                                      {"cylindrical_ring_volume", 3},
                                      {"ellipse_area", 2},
                                      {"ellipse_volume", 3},
                                      {"hexagon_area", 1},
                                      {"hexagon_volume", 2},
                                      {"linear", 1},
                                      {"lumpsum", 1},
                                      {"octagon_area", 1},
                                      {"octagon_volume", 2},
                                      {"parallelogram_area", 2},
                                      {"parallelogram_volume", 3},
                                      {"rectangle_area", 2},
                                      {"rectangle_volume", 3},
                                      {"regular_polygon_area", 0},
                                      {"regular_polygon_volume", 0},
                                      {"rhombus_ (diamond)_area", 2},
                                      {"rhombus_ (diamond)_volume", 3},
                                      {"sphere_area", 1},
                                      {"sphere_volume", 1},
                                      {"trapezium_area", 3},
                                      {"trapezium_volume", 4},
                                      {"triangle_area", 3}};
    const auto shapes = db().rows(QStringLiteral("select * from shapes"));
    ASSERT_EQ(shapes.size(), dims.size());
    for (const auto& r : shapes) {
        const QString name = r.text(QStringLiteral("tw_shape"));
        ASSERT_TRUE(dims.count(name)) << name.toStdString();
        int asked = 0;
        for (int i = 1; i <= 4; ++i) {
            const bool has = !r.text(i).isEmpty();
            // The dimensions asked for come first: no gap before a later one.
            EXPECT_EQ(has, i <= dims.at(name)) << name.toStdString() << " dim " << i;
            asked += has;
        }
        EXPECT_FALSE(r.text(QStringLiteral("tw_bill_label")).isEmpty());
    }

    // Bar weights: d^2/162.2 kg a metre, looked up by the leading number of the text.
    const auto w = db().first(
        QStringLiteral("select tw_mt_wt, tw_ft_wt from rnfweights where tw_Diameter like '12%'"));
    ASSERT_TRUE(w);
    EXPECT_DOUBLE_EQ(w->number(QStringLiteral("tw_mt_wt")), 0.888);
    EXPECT_DOUBLE_EQ(w->number(QStringLiteral("tw_ft_wt")), 0.271);
    EXPECT_EQ(count(db(), QStringLiteral("diameter")), count(db(), QStringLiteral("rnfweights")));
}

TEST_F(StoreTest, ReopeningChangesNothing) {
    db().insert(QStringLiteral("units"), {{QStringLiteral("units"), QStringLiteral("50")}});
    const int before = count(db(), QStringLiteral("units"));
    tw::ConClass again;
    again.conopen();
    again.conopen(); // opening twice leaves one open connection
    ASSERT_TRUE(again.isOpen());
    EXPECT_EQ(count(again, QStringLiteral("units")), before);
    EXPECT_EQ(count(again, QStringLiteral("shapes")), 30);
    EXPECT_EQ(again.first(QStringLiteral("pragma user_version"))->value(0).toInt(),
              tw::schema::currentVersion);
}

TEST_F(StoreTest, NewerFormatIsRefusedWithAMessage) {
    db().exec(QStringLiteral("pragma user_version = %1").arg(tw::schema::currentVersion + 1));
    db().conclose();
    tw::ConClass con;
    con.conopen();
    EXPECT_FALSE(con.isOpen());
    ASSERT_EQ(twtest::messages().shown.size(), 1u);
    EXPECT_TRUE(twtest::messages().shown[0].text.contains(QStringLiteral("newer version")));
    EXPECT_EQ(twtest::messages().shown[0].title, QStringLiteral("Tallywright"));
}

TEST_F(StoreTest, AForeignFileIsNotTakenForADatabase) {
    db().conclose();
    QFile::remove(folder() + QStringLiteral("/Tallywright.db"));
    {
        auto other =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("foreign"));
        other.setDatabaseName(folder() + QStringLiteral("/Tallywright.db"));
        ASSERT_TRUE(other.open());
        QSqlQuery(other).exec(QStringLiteral("create table notes (x)"));
        other.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("foreign"));
    tw::ConClass con;
    con.conopen();
    EXPECT_FALSE(con.isOpen());
    EXPECT_EQ(twtest::messages().shown.size(), 1u);
}

TEST_F(StoreTest, QuotesAndOddCharactersAreStoredAndFoundAsTyped) {
    const QString num = QStringLiteral("P'01 \"x\"; drop table units; --");
    const QString name = QStringLiteral("O'Brien's \\ block");
    db().insert(QStringLiteral("ContractMaster"), {{QStringLiteral("tw_contract_num"), num},
                                                   {QStringLiteral("tw_contract_name"), name}});
    const auto r =
        db().first(QStringLiteral("select * from contractmaster where TW_CONTRACT_NUM=?"), {num});
    ASSERT_TRUE(r);
    EXPECT_EQ(r->text(QStringLiteral("tw_Contract_Name")), name);
    EXPECT_GT(count(db(), QStringLiteral("units")), 0);
    const QString key = tw::FindTableName(db(), QStringLiteral("  ") + num);
    EXPECT_EQ(key, r->text(0));
    EXPECT_EQ(tw::FindContractNo(db(), key), num);
    EXPECT_EQ(tw::FindTableName(db(), QStringLiteral("nobody")), QString());
    EXPECT_EQ(tw::FindTableName(db(), QStringLiteral(" ") + num, false), QString());
}

TEST_F(StoreTest, RowsTellNullFromEmptyAndUpdateByRowid) {
    const qint64 id = db().insert(QStringLiteral("Sch_master"),
                                  {{QStringLiteral("tw_contract_num"), QStringLiteral("A")},
                                   {QStringLiteral("tw_sch_num"), QStringLiteral("")}});
    auto r = db().first(QStringLiteral("select * from sch_master where rowid=?"), {id});
    EXPECT_FALSE(r->isNull(QStringLiteral("tw_sch_num")));
    EXPECT_TRUE(r->isNull(QStringLiteral("tw_unit_lable")));
    EXPECT_TRUE(r->nullable(QStringLiteral("tw_item_rate")).isNull());
    EXPECT_THROW(r->value(QStringLiteral("no_such_column")), tw::Error);
    db().update(QStringLiteral("Sch_master"), id, {{QStringLiteral("tw_item_rate"), 12.5}});
    r = db().first(QStringLiteral("select * from sch_master where rowid=?"), {id});
    EXPECT_EQ(r->nullable(QStringLiteral("tw_item_rate")), tw::Nullable(12.5));
    db().remove(QStringLiteral("Sch_master"), id);
    EXPECT_EQ(count(db(), QStringLiteral("Sch_master")), 0);
    EXPECT_THROW(db().exec(QStringLiteral("select * from no_table")), tw::Error);
}

TEST_F(StoreTest, TransactionRollsBackUnlessCommitted) {
    {
        tw::Transaction t(db());
        db().insert(QStringLiteral("units"), {{QStringLiteral("units"), QStringLiteral("7")}});
    }
    EXPECT_EQ(count(db(), QStringLiteral("units")), 4);
    {
        tw::Transaction t(db());
        db().insert(QStringLiteral("units"), {{QStringLiteral("units"), QStringLiteral("7")}});
        t.commit();
    }
    EXPECT_EQ(count(db(), QStringLiteral("units")), 5);
}

TEST_F(StoreTest, ContractNoListsProjectsInStoreOrder) {
    for (const char* n : {"B-2", "A-1"})
        db().insert(QStringLiteral("ContractMaster"),
                    {{QStringLiteral("tw_contract_num"), QString::fromLatin1(n)}});
    QStringList list{QStringLiteral("stale")};
    db().contractno(list, QString());
    EXPECT_EQ(list, (QStringList{"Add New", "B-2", "A-1"}));
    db().contractno(list, QStringLiteral("x"));
    EXPECT_EQ(list, (QStringList{"B-2", "A-1"}));
}

TEST_F(StoreTest, MissingProjectTableIsMadeOnlyForTheThreeFamilies) {
    tw::Tallywrightmod::tablename = QStringLiteral("17");
    EXPECT_FALSE(tw::reporttableerror(QString(), QString()));
    EXPECT_TRUE(tw::Tallywrightmod::con().isOpen());
    EXPECT_FALSE(
        tw::reporttableerror(QStringLiteral("1"), QStringLiteral("no such table: prev_dummy_x")));
    EXPECT_EQ(tw::Tallywrightmod::errdesc, QStringLiteral("no such table: prev_dummy_x"));
    EXPECT_TRUE(tw::reporttableerror(QStringLiteral("1"),
                                     QStringLiteral("no such table: BL_17 Unable to execute")));
    // The table made is the bare key, with the columns of the reinforcement table.
    EXPECT_EQ(columnsOf(db(), QStringLiteral("17")),
              columnsOf(db(), QStringLiteral("Reinforcementmaster")));
    EXPECT_TRUE(columnsOf(db(), QStringLiteral("Bl_17")).isEmpty());
}

struct CfgCase {
    const char* line;
    QStringList values;
};

TEST(LoginConfig, FreeFormatInput) {
    const CfgCase cases[] = {
        {R"(server,admin,secret)", {"server", "admin", "secret"}},
        {R"("server", "admin" , "se,cret")", {"server", "admin", "se,cret"}},
        {R"( srv ,  Admin  ,  pass word )", {"srv", "Admin", "pass word"}},
        {R"("  lead",x,"")", {"  lead", "x", ""}},
        {R"(a,,c)", {"a", "", "c"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(tw::splitFreeFormat(QString::fromLatin1(c.line)), c.values) << c.line;
}

TEST(LoginConfig, RoundTripAndOwnerOnly) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("twk.cfg"));
    EXPECT_FALSE(tw::readLoginConfig(path));
    tw::writeLoginConfig(
        path, {QStringLiteral("srv"), QStringLiteral("Admin"), QStringLiteral(" s3,cret")});
    const auto cfg = tw::readLoginConfig(path);
    ASSERT_TRUE(cfg);
    EXPECT_EQ(cfg->userid, QStringLiteral("Admin"));
    EXPECT_EQ(cfg->password, QStringLiteral(" s3,cret"));
    EXPECT_EQ(QFile::permissions(path) & (QFileDevice::ReadGroup | QFileDevice::ReadOther), 0);
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("only,two\n");
    f.close();
    EXPECT_THROW(tw::readLoginConfig(path), tw::Error);
}
