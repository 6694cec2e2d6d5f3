#include "core/rates/reprice.h"

#include "support/core_fixtures.h"

#include <QStringList>

namespace {

using twtest::messages;

// One filled slot of a category row: its number (1 to 10), material, quantity and rate.
struct Slot {
    int n;
    QString material;
    QVariant qty;
    QVariant rate;
};

class RepriceTest : public twtest::AppFolderTest {
protected:
    void addCategory(const QString& table, const QString& name, const std::vector<Slot>& filled,
                     double rate = 999) {
        QStringList cols{"tw_category_name", "tw_rate"};
        QVariantList values{name, rate};
        for (const auto& s : filled) {
            cols << QString("tw_matl%1").arg(s.n) << QString("tw_matl%1_qty").arg(s.n)
                 << QString("tw_matl%1_rate").arg(s.n);
            values << s.material << s.qty << s.rate;
        }
        QStringList marks;
        for (qsizetype i = 0; i < values.size(); ++i)
            marks << "?";
        db().exec(
            QString("insert into %1 (%2) values (%3)").arg(table, cols.join(','), marks.join(',')),
            values);
    }
    QVariant value(const QString& table, const QString& name, const QString& column) {
        return db().find(table, "tw_category_name=?", {name})->value(column);
    }
};

TEST_F(RepriceTest, UnitRateIsTheSinglePrecisionSumOfTheSlotsThatCount) {
    const QString meter = "CategoryList_Meter";
    struct Case {
        const char* what;
        QString rate; // the price saved for Cement
        std::vector<Slot> filled;
        double unitRate;
        std::vector<int> priced; // filled that must now hold the saved price
    };
    std::vector<Case> cases{
        {"filled 1 to 7 and 9 count, 10 takes the price but not the sum",
         "300",
         {{1, "Cement", 2, 1},
          {4, "Sand", 1.5, 40},
          {7, "Cement", 1, 5},
          {9, "Cement", 1, 0},
          {10, "Cement", 5, 7}},
         600 + 60 + 300 + 300,
         {1, 7, 9, 10}},
        {"a material in no slot still rewrites the rate", "300", {{2, "Sand", 2, 12.5}}, 25, {}},
        {"zero quantity or rate adds nothing, but the price is copied",
         "300",
         {{1, "Cement", 0, 1}, {2, "Sand", 3, 0}},
         0,
         {1}},
        {"the name must match exactly, case included",
         "300",
         {{1, "cement ", 1, 10}, {2, "CEMENT", 1, 10}},
         20,
         {}},
        {"a quantity below 0.0001 counts whole",
         "100",
         {{1, "Cement", 0.00005, 1}, {2, "Sand", 2, 300}},
         double(600.005f),
         {1}},
        {"the total is single precision", "0.1", {{1, "Cement", 1, 0}}, double(0.1f), {1}},
    };
    // The file keeps a rate typed with two points as it was typed; a server takes only numbers
    // into its number columns.
    if (!onServer())
        cases.push_back({"two points in the rate count up to the second",
                         "12.5.1",
                         {{3, "Cement", 2, 1}},
                         25,
                         {3}});
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        db().exec("delete from CategoryList_Meter");
        addCategory(meter, "Item", c.filled);
        messages().clear();
        EXPECT_TRUE(tw::SaveMaterial(db(), twtest::scripted(), "Cement", c.rate, "Bag"));
        EXPECT_TRUE(messages().shown.empty());
        EXPECT_EQ(value(meter, "Item", "tw_rate").toDouble(), c.unitRate);
        for (int n : c.priced)
            EXPECT_EQ(value(meter, "Item", QString("tw_matl%1_rate").arg(n)).toString(), c.rate);
    }
    // The material itself is found by its description, not added twice.
    EXPECT_EQ(db().keyed("Materials").size(), 1u);
}

TEST_F(RepriceTest, EighthSlotStopsThePassKeepingWhatWasWrittenBeforeIt) {
    addCategory("CategoryList_Meter", "Before", {{1, "Cement", 2, 1}}, 5);
    addCategory("CategoryList_Meter", "Stops", {{1, "Cement", 1, 1}, {8, "Cement", 1, 1}}, 6);
    addCategory("CategoryList_Meter", "After", {{1, "Cement", 3, 1}}, 7);
    addCategory("CategoryList_Feet", "Feet", {{1, "Cement", 4, 1}}, 8);

    EXPECT_FALSE(tw::SaveMaterial(db(), twtest::scripted(), "Cement", "100", "Bag"));
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].flags & tw::Critical, tw::Critical);
    EXPECT_TRUE(messages().shown[0].text.contains("Stops"));

    EXPECT_EQ(db().find("Materials", "tw_mat_desc=?", {"Cement"})->number("tw_rate"), 100);
    EXPECT_EQ(value("CategoryList_Meter", "Before", "tw_rate").toDouble(), 200);
    for (const auto& [table, name, rate] : {std::tuple{"CategoryList_Meter", "Stops", 6},
                                            {"CategoryList_Meter", "After", 7},
                                            {"CategoryList_Feet", "Feet", 8}}) {
        EXPECT_EQ(value(table, name, "tw_rate").toDouble(), rate) << name;
        EXPECT_EQ(value(table, name, "tw_matl1_rate").toDouble(), 1) << name;
    }
}

TEST_F(RepriceTest, AnyOtherFailureLeavesMaterialAndBothListsAsTheyWere) {
    addCategory("CategoryList_Meter", "Meter", {{1, "Cement", 2, 1}}, 5);
    addCategory("CategoryList_Feet", "Refused", {{1, "Cement", 2, 1}}, 6);
    if (onServer()) {
        db().exec("create function refuse() returns trigger language plpgsql as "
                  "'begin raise exception ''refused''; end'");
        db().exec("create trigger refuse before update on CategoryList_Feet for each row "
                  "execute function refuse()");
    } else {
        db().exec("create trigger refuse before update on CategoryList_Feet "
                  "begin select raise(abort, 'refused'); end");
    }
    EXPECT_THROW(tw::SaveMaterial(db(), twtest::scripted(), "Cement", "100", "Bag"), tw::Error);
    EXPECT_TRUE(db().keyed("Materials").empty());
    EXPECT_EQ(value("CategoryList_Meter", "Meter", "tw_rate").toDouble(), 5);
    EXPECT_EQ(value("CategoryList_Meter", "Meter", "tw_matl1_rate").toDouble(), 1);
}

TEST_F(RepriceTest, QuotesAndNonLatinNamesAreStoredAndMatchedAsTyped) {
    const QString name = QString::fromUtf8("Bolt 6\" O'Neil — Ставка 鋼");
    addCategory("CategoryList_Feet", "It's", {{2, name, 2, 1}});
    ASSERT_TRUE(tw::SaveMaterial(db(), twtest::scripted(), name, "7", "Nos"));
    ASSERT_TRUE(tw::SaveMaterial(db(), twtest::scripted(), name, "8", "Nos"));
    EXPECT_EQ(db().keyed("Materials", "tw_mat_desc=?", {name}).size(), 1u);
    EXPECT_EQ(value("CategoryList_Feet", "It's", "tw_rate").toDouble(), 16);
}

} // namespace
