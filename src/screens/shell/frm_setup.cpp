#include "screens/shell/frm_setup.h"

#include "ui/kit.h"
#include "ui/lookfile.h"

#include <QFile>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QTextStream>
#include <QVBoxLayout>

namespace {
// Where each field's value starts in its line, counted from 1: just after the key.
constexpr int startOf[12] = {14, 10, 10, 6, 5, 7, 5, 8, 8, 8, 5, 9};

// The number fields take their characters only; backspace is dropped as well, so a wrong digit
// goes with the delete key or by typing over a selection.
void numberRule(QLineEdit* field, const QString& extra) {
    new ui::KeyRule(field, [extra](QChar key, const QLineEdit&) {
        return (key >= u'0' && key <= u'9') || extra.contains(key);
    });
}
} // namespace

frm_setup::frm_setup(QWidget* parent) : ui::Screen(parent) {
    setWindowTitle(tr("Set Up"));
    auto* frame = new QGroupBox(tr("Organizational Info"), this);
    auto* grid = new QGridLayout(frame);
    const struct {
        QLineEdit** field;
        const char* name;
        QString caption;
        int limit;
    } rows[] = {
        {&txtnameoforg, "txtnameoforg", tr("Name of the organization"), 35},
        {&txtadd1, "txtadd1", tr("Address-1"), 25},
        {&txtadd2, "txtadd2", tr("Address-2"), 25},
        {&txtcity, "txtcity", tr("City"), 25},
        {&txtpin, "txtpin", tr("Pin Code"), 6},
        {&txtemail, "txtemail", tr("E-mail"), 25},
        {&txturl, "txturl", tr("Web Site"), 25},
        {&txtphone1, "txtphone1", tr("Phone-1"), 20},
        {&txtphone2, "txtphone2", tr("Phone-2"), 20},
        {&txtmobile, "txtmobile", tr("Mobile"), 10},
        {&txtfax, "txtfax", tr("Fax"), 20},
        {&txtceo, "txtceo", tr("CEO Name"), 35},
    };
    int r = 0;
    for (const auto& row : rows) {
        *row.field = ui::named(new QLineEdit(frame), row.name);
        ui::typingLimit(*row.field, row.limit);
        (*row.field)->setMinimumWidth(row.limit > 10 ? 260 : 90);
        auto* label = new QLabel(row.caption, frame);
        label->setBuddy(*row.field);
        grid->addWidget(label, r, 0);
        grid->addWidget(*row.field, r, 1, Qt::AlignLeft);
        ++r;
    }
    numberRule(txtpin, QStringLiteral(" "));
    for (QLineEdit* phone : {txtphone1, txtphone2, txtmobile, txtfax})
        numberRule(phone, QStringLiteral(" -+"));
    for (QLineEdit* f : fields())
        ui::selectAllOnFocus(f);

    CmdSave = ui::named(new QPushButton(tr("&Save"), this), "CmdSave");
    cmdCancel = ui::named(new QPushButton(tr("Ca&ncel"), this), "cmdCancel");
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(CmdSave);
    buttons->addWidget(cmdCancel);
    auto* box = new QVBoxLayout(this);
    box->addWidget(frame);
    box->addLayout(buttons);
    QList<QWidget*> order;
    for (QLineEdit* f : fields())
        order << f;
    ui::tabOrder(order << CmdSave << cmdCancel);

    connect(CmdSave, &QPushButton::clicked, this, ui::guarded([this] { CmdSave_clicked(); }));
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_clicked(); });
    ui::guard([this] { load(); });
}

QList<QLineEdit*> frm_setup::fields() const {
    return {txtnameoforg, txtadd1,   txtadd2,   txtcity,   txtpin, txtemail,
            txturl,       txtphone1, txtphone2, txtmobile, txtfax, txtceo};
}

// The lines are read by position: each field takes what stands after its key, whatever the key
// says, so the file must hold its lines in order. A file that ends early or a line too short
// for its key stops the load with a message; what was read by then stays on the screen.
void frm_setup::load() {
    look_.clear();
    for (qsizetype i = 0; i < look::lookKeys().size(); ++i)
        look_ << QString();
    QFile file(look::cfgPath());
    if (!file.exists())
        return;
    // The font lines the screen will write back; the colour values stay empty.
    for (int i = 5; i < 11; ++i)
        look_[i] = look::lookDefault(look::lookKeys()[i]);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        throw tw::Error(tr("Cannot read %1: %2").arg(file.fileName(), file.errorString()));
    QTextStream in(&file);
    const QList<QLineEdit*> all = fields();
    for (int i = 0; i < 12; ++i) {
        QString line;
        if (!in.readLineInto(&line))
            throw tw::Error(tr("Input past end of file: %1 has %2 lines, the organisation "
                               "record needs 12")
                                .arg(file.fileName())
                                .arg(i));
        if (line.size() < startOf[i] - 1)
            throw tw::Error(tr("Line %1 of %2 is shorter than its key \"%3\"")
                                .arg(i + 1)
                                .arg(file.fileName(), look::orgKeys()[i]));
        all[i]->setText(line.mid(startOf[i] - 1));
    }
}

void frm_setup::CmdSave_clicked() {
    if (txtnameoforg->text().trimmed().isEmpty())
        return ui::refuse(txtnameoforg, tr("Name of organization can not be blank"));
    if (ui::refuseBadEmail(txtemail))
        return;
    QStringList values;
    for (QLineEdit* f : fields())
        values << f->text().trimmed();
    try {
        look::writeCfg(look::allKeys(), values + look_);
    } catch (const tw::Error& e) {
        ui::MsgBox(e.text());
        return;
    }
    ui::MsgBox(tr("Saved to configuration file"), ui::Information, tr("Information"));
}

void frm_setup::cmdCancel_clicked() {
    close();
}
