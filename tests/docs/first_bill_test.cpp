// The guide's first bill, typed into the screens as the guide tells it: every figure the guide
// shows is the one the program shows.

#include "guide.h"
#include "screens/measurements/frm_dims.h"
#include "screens/payments/frm_payment.h"
#include "screens/projects/frm_proj.h"
#include "screens/projects/frm_schentry.h"
#include "screens/reports/frm_reports.h"
#include "screens/reports/rptview.h"
#include "support/fixtures.h"
#include "values/values.h"

#include <QTest>

namespace {

using guide::fig;
using guide::in;
using twtest::pick;

QString cell(const QString& row, const char* cls) {
    const QStringList found = guide::texts(row, QString::fromLatin1(cls));
    EXPECT_EQ(found.size(), 1) << cls;
    return found.value(0);
}

// The `count` lines that follow the line reading `label` in a report as the viewer holds it,
// empty cells left out.
QStringList after(const QString& report, const QString& label, int count) {
    QStringList lines;
    for (const QString& l : report.split(u'\n'))
        if (!l.simplified().isEmpty())
            lines << l.simplified();
    const qsizetype at = lines.indexOf(label);
    EXPECT_GE(at, 0) << label.toStdString();
    return at < 0 ? QStringList() : lines.mid(at + 1, count);
}

// A printed amount, "1,40,318.36", as a number.
double money(const QString& printed) {
    return tw::strictNumber(QString(printed).remove(u',')).value_or(-1);
}

class FirstBill : public twtest::AppFolderTest {
protected:
    template <class S> std::unique_ptr<S> open() {
        auto screen = std::make_unique<S>();
        screen->show();
        return screen;
    }
};

TEST_F(FirstBill, TheGuidesStepsGiveTheGuidesFigures) {
    {
        const auto project = open<frm_proj>();
        project->cmbcontractno->setEditText(in("id"));
        project->txtcontractname->setText(in("name"));
        QTest::keyClicks(project->txttaxrate, in("tax"));
        pick(project->txtunitrate, in("units"));
        project->cmdcontractsave->click();
    }

    const QStringList items =
        guide::blocks(guide::html(), QStringLiteral("tr"), QStringLiteral("item"));
    ASSERT_EQ(items.size(), 2);
    {
        const auto schedule = open<frm_schentry>();
        for (const QString& item : items) {
            schedule->txt_schnum->setText(cell(item, "no"));
            schedule->RtItmDsc->setPlainText(cell(item, "desc"));
            pick(schedule->cmb_volarea, cell(item, "measure"));
            pick(schedule->cmb_unitnos, cell(item, "per"));
            EXPECT_EQ(schedule->unitlbl->text(), cell(item, "label"));
            QTest::keyClicks(schedule->txtschitemrate, cell(item, "rate"));
            schedule->cmd_save_sch->click();
        }
        EXPECT_EQ(schedule->schlist->topLevelItemCount(), 2);
    }

    const QStringList lines =
        guide::blocks(guide::html(), QStringLiteral("tr"), QStringLiteral("line"));
    ASSERT_EQ(lines.size(), 3);
    {
        const auto dims = open<frm_dims>();
        pick(dims->cmb_proj_name, in("name"));
        dims->cmb_bill_num->setEditText(in("bill"));
        const std::array<QLineEdit*, 4> whole{dims->txtdim1, dims->txtdim2, dims->txtdim3,
                                              dims->txtdim4};
        const std::array<QLineEdit*, 4> frac{dims->txtdim11, dims->txtdim22, dims->txtdim33,
                                             dims->txtdim44};
        for (const QString& line : lines) {
            const QString item = cell(line, "item");
            const auto found = dims->Lst_Schd->findItems(item, Qt::MatchExactly, 0);
            ASSERT_EQ(found.size(), 1) << item.toStdString();
            QTest::mouseClick(dims->Lst_Schd->viewport(), Qt::LeftButton, {},
                              dims->Lst_Schd->visualItemRect(found[0]).center());
            dims->txt_narration->setText(cell(line, "narration"));
            pick(dims->cmb_shape, cell(line, "shape"));
            pick(dims->cmbbillded, cell(line, "dedn"));
            // "12.50 m" is 12 in Metres and 50 in CMs; "3 m" leaves CMs empty.
            const QStringList typed = guide::texts(line, QStringLiteral("dim"));
            for (int d = 0; d < typed.size(); ++d) {
                const QStringList parts =
                    QString(typed[d]).remove(QStringLiteral(" m")).split(u'.');
                QTest::keyClicks(whole[d], parts[0]);
                QTest::keyClicks(frac[d], parts.value(1));
            }
            QTest::keyClicks(dims->txt_qty, cell(line, "qty"));
            dims->cmd_mes_save->click();
            ASSERT_TRUE(twtest::messages().shown.empty())
                << twtest::messages().shown[0].text.toStdString();
            const auto stored =
                db().find(QStringLiteral("BillMaster"), QStringLiteral("tw_item_narration=?"),
                          {cell(line, "narration")});
            ASSERT_TRUE(stored);
            EXPECT_EQ(tw::numberText(stored->value(QStringLiteral("tw_cal_Area"))),
                      tw::numberText(tw::strictNumber(cell(line, "fig")).value_or(-1)));
        }
    }

    {
        const auto reports = open<Frm_Reports>();
        auto run = [&](const char* type) {
            pick(reports->TypeofReport, QString::fromLatin1(type));
            pick(reports->CmbdetCnum, in("name"));
            pick(reports->CmbBillnum, in("bill"));
            reports->Command4->click();
            EXPECT_TRUE(twtest::waitUntil([&] { return !reports->running(); }));
            const QString text = reports->RptView->document()->toPlainText();
            reports->Cmdrepexit->click();
            return text;
        };
        const QString detailed = run("Detailed Bill");
        EXPECT_TRUE(after(detailed, QStringLiteral("Net quantity of item 1"), 1)
                        .value(0)
                        .startsWith(fig("net1") + u' '));

        twtest::messages().answers.push_back(tw::Answer::No); // not frozen yet
        const QString bill = run("Abstract Bill");
        for (const QString& item : items) {
            const QString no = cell(item, "no");
            EXPECT_EQ(after(bill, cell(item, "desc"), 4).mid(2),
                      (QStringList{fig("qty" + no), fig("amount" + no)}));
        }
        const std::pair<const char*, const char*> totals[] = {
            {"Gross amount of this bill", "gross"},
            {"Less deductions", "deductions"},
            {"Less tax deducted at source", "tds"},
            {"Net payable", "net"}};
        for (const auto& [label, name] : totals)
            EXPECT_EQ(after(bill, QString::fromLatin1(label), 1),
                      QStringList{"Rs. " + fig(QString::fromLatin1(name))});
        EXPECT_EQ(twtest::messages().texts(),
                  std::vector<QString>{"Do you wish to freeze this bill? "});
    }

    // The client pays the net payable and has deducted the tax the bill shows.
    EXPECT_EQ(tw::strictNumber(in("paid")), money(fig("net")));
    EXPECT_EQ(tw::strictNumber(in("tds-paid")), money(fig("tds")));
    const auto payment = open<frm_payment>();
    EXPECT_EQ(payment->txt_bl_amount->text(), fig("billamount"));
    const std::pair<QLineEdit*, const char*> typed[] = {
        {payment->txt_receiptno, "receipt"}, {payment->txt_amount, "paid"},
        {payment->txt_tds, "tds-paid"},      {payment->txt_recoveries, "recoveries"},
        {payment->txt_chkno, "cheque"},      {payment->txt_bank, "bank"},
        {payment->txt_branch, "branch"}};
    for (const auto& [field, name] : typed)
        QTest::keyClicks(field, in(QString::fromLatin1(name)));
    payment->cmb_typofpmnt->setEditText(in("paytype"));
    twtest::messages().clear();
    payment->cmd_save->click();
    EXPECT_EQ(twtest::messages().texts(), std::vector<QString>{});
    EXPECT_EQ(payment->pmntlist->topLevelItemCount(), 1);
    EXPECT_EQ(payment->txt_totamt->text(), fig("received"));
}

} // namespace
