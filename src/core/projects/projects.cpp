#include "core/projects/projects.h"

#include "values/values.h"

#include <QCoreApplication>

namespace tw::projects {
namespace {

const QString Projects = QStringLiteral("ContractMaster");
const QString ById = QStringLiteral("tw_contract_num=?");

// The messages are the definition screen's, and are translated with it.
QString tr(const char* text) {
    return QCoreApplication::translate("frm_proj", text);
}

// A field of the project as it is written: trimmed, and one blank when empty, because readers
// all over the program append or trim a blank and never expect an empty text.
QVariant textValue(const QString& field) {
    const QString t = field.trimmed();
    return t.isEmpty() ? QVariant(QStringLiteral(" ")) : QVariant(t);
}

// The postal code and phone columns hold the digits as typed, or 0 when there are none.
QVariant digitsValue(const QString& field) {
    const QString t = field.trimmed();
    return t.isEmpty() ? QVariant(0) : QVariant(t);
}

// A stored text shown in its field: a Null and the blank written for an empty field both show
// as nothing.
QString shown(const Row& row, const char* column) {
    const QString c = QString::fromLatin1(column);
    return row.isNull(c) ? QString() : row.text(c).trimmed();
}

// Digits columns show nothing for 0, the "none" they were saved with.
QString shownDigits(const Row& row, const char* column) {
    const QString t = shown(row, column);
    return t == QLatin1String("0") ? QString() : t;
}

QString shownNumber(const Row& row, const char* column) {
    const QVariant v = row.value(QString::fromLatin1(column));
    if (v.isNull())
        return {};
    bool isNumber = false;
    const double d = v.toDouble(&isNumber);
    return isNumber ? doubleText(d) : v.toString().trimmed();
}

} // namespace

std::optional<Row> findByName(const ConClass& con, const QString& name) {
    return con.find(QStringLiteral("ContractMaster"), QStringLiteral("tw_contract_name=?"), {name});
}

QString numberOf(const ConClass& con, const QString& name) {
    const auto row = findByName(con, name);
    return row ? row->text(QStringLiteral("tw_contract_num")) : QString();
}

std::optional<Row> findByNumber(const ConClass& con, const QString& number) {
    return con.find(QStringLiteral("ContractMaster"), QStringLiteral("tw_contract_num=?"),
                    {number});
}

QStringList numbers(const ConClass& con) {
    return con.texts(Projects, QStringLiteral("tw_contract_num"));
}

std::optional<Fields> show(const ConClass& con, const QString& id) {
    const auto row = findByNumber(con, id);
    if (!row)
        return std::nullopt;
    Fields f;
    f.id = row->text(QStringLiteral("tw_contract_num"));
    f.name = shown(*row, "tw_contract_name");
    f.reference = shown(*row, "tw_client_ref");
    f.referenceDate.value = row->text(QStringLiteral("tw_client_ref_date"));
    f.startDate.value = row->text(QStringLiteral("tw_start_date"));
    f.endDate.value = row->text(QStringLiteral("tw_end_date"));
    f.taxRate = shownNumber(*row, "tw_tax_rate");
    // A project saved before it had a measure system reads as one in feet.
    f.units = row->isNull(QStringLiteral("tw_units")) ? QStringLiteral("Feet")
                                                      : row->text(QStringLiteral("tw_units"));
    f.clientName = shown(*row, "tw_Client_Name");
    f.contact = shown(*row, "tw_client_contact");
    f.address1 = shown(*row, "tw_Client_adline1");
    f.address2 = shown(*row, "tw_Client_adline2");
    f.city = shown(*row, "tw_Client_city");
    f.pin = shownDigits(*row, "tw_Client_Pin");
    f.phone1 = shownDigits(*row, "tw_Client_phone1");
    f.phone2 = shownDigits(*row, "tw_Client_phone2");
    f.mobile = shownDigits(*row, "tw_Client_Mobile");
    f.email = shown(*row, "tw_Client_email");
    f.url = shown(*row, "tw_Client_url");
    return f;
}

std::optional<Refusal> checkEmail(const QString& field, const QString& email) {
    const QString address = email.trimmed();
    if (address.isEmpty())
        return std::nullopt;
    if (!address.contains(u'@'))
        return Refusal{field, tr("Email id format is wrong, please retype the Email-id"),
                       Information, tr("Retype email id")};
    const QString upper = address.toUpper();
    for (const char* fragment : {"COM", "ORG", "NET", "GOV", "EDU", "MIL", "AC.", "CO."})
        if (upper.contains(QLatin1String(fragment)))
            return std::nullopt;
    return Refusal{field, tr("Please enter the correct domain"), Information,
                   tr("Enter correct domain")};
}

std::optional<Refusal> save(const ConClass& con, const Fields& p) {
    const QString info = tr("Information");
    const auto refusal = [&](const char* field, const QString& text, int flags = Information) {
        return Refusal{QString::fromLatin1(field), text, flags,
                       flags == Information ? info : defaultTitle()};
    };
    if (p.id.trimmed().isEmpty() || p.id.trimmed() == QLatin1String("Add New"))
        return refusal("cmbcontractno", tr("Please Enter Project Id"));
    if (p.name.trimmed().isEmpty())
        return refusal("txtcontractname", tr("Please Enter the Project Name"));
    const std::pair<const DateField*, std::pair<const char*, const char*>> dates[] = {
        {&p.referenceDate,
         {"txtclientrefdate", QT_TR_NOOP("Improper Date format for Reference Date")}},
        {&p.startDate, {"txtclientstartdate", QT_TR_NOOP("Improper Date format for Start Date")}},
        {&p.endDate, {"txtclientenddate", QT_TR_NOOP("Improper Date format for End Date")}}};
    // A date field showing text that is no date would save the date it held before.
    for (const auto& [date, check] : dates) {
        const QString text = date->shown.trimmed();
        if (!text.isEmpty() && !dateFromText(text).isValid())
            return refusal(check.first, tr(check.second));
    }
    if (auto bad = checkEmail(QStringLiteral("txtclientemail"), p.email))
        return bad;
    QVariant tax = 0;
    if (const QString t = p.taxRate.trimmed(); !t.isEmpty()) {
        const auto n = strictNumber(t);
        if (!n)
            return refusal("txttaxrate", tr("The tax rate \"%1\" is not a number.").arg(t),
                           Critical);
        tax = *n;
    }

    Values values{{QStringLiteral("tw_contract_name"), textValue(p.name)},
                  {QStringLiteral("tw_Client_Name"), textValue(p.clientName)},
                  {QStringLiteral("tw_Client_adline1"), textValue(p.address1)},
                  {QStringLiteral("tw_Client_adline2"), textValue(p.address2)},
                  {QStringLiteral("tw_Client_city"), textValue(p.city)},
                  {QStringLiteral("tw_client_ref_date"), textValue(p.referenceDate.value)},
                  {QStringLiteral("tw_start_date"), textValue(p.startDate.value)},
                  {QStringLiteral("tw_end_date"), textValue(p.endDate.value)},
                  {QStringLiteral("tw_Client_Pin"), digitsValue(p.pin)},
                  {QStringLiteral("tw_Client_phone1"), digitsValue(p.phone1)},
                  {QStringLiteral("tw_Client_phone2"), digitsValue(p.phone2)},
                  {QStringLiteral("tw_Client_Mobile"), digitsValue(p.mobile)},
                  {QStringLiteral("tw_Client_email"), textValue(p.email)},
                  {QStringLiteral("tw_Client_url"), textValue(p.url)},
                  {QStringLiteral("tw_client_contact"), textValue(p.contact)},
                  {QStringLiteral("tw_client_ref"), textValue(p.reference)},
                  {QStringLiteral("tw_tax_rate"), tax}};
    if (!p.units.isEmpty())
        values.emplace_back(QStringLiteral("tw_units"), p.units);
    // The Id is the project's key, compared without regard to case: "p1" changes the project
    // "P1", which keeps its Id, rather than making a second one beside it.
    Transaction tx(con);
    if (const auto found = con.find(Projects, ById, {p.id})) {
        con.update(Projects, found->id(), values);
    } else {
        values.insert(values.begin(), {QStringLiteral("tw_contract_num"), p.id});
        con.insert(Projects, values);
    }
    tx.commit();
    return std::nullopt;
}

} // namespace tw::projects
